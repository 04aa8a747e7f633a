// Hosts that call anything at any time: 100,000 calls of all functions in random order, with good and bad names, codes
// and values, on a project with objects of all kinds. What is asked of the library is to survive it without a leak,
// which the sanitizers watch.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "support/allkinds.h"

namespace {

class RandomHost {
public:
    explicit RandomHost(unsigned seed) : random(seed) {
        broken.folder.write("a.inp", "not a model\n");
        unsetenv("TARNVELDE_ENGINE_LOG");
        tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, project.copies.c_str());
        tarnvelde_initVornDll(TARNVELDE_ENGINE_FOLDER, project.copies.c_str());
        listCalls();
    }

    /// Most calls are of the exchange; now and then the life cycle moves.
    void call() {
        const int dice = pick(400);
        if (dice < 8) {
            callLifeCycle(dice);
        } else if (dice < 48) {
            // A refused call of the life cycle blocks all steps, until a project is opened anew.
            if (tarnvelde_step(pick(10) ? &number : nullptr) != 0 && pick(2)) {
                restart(project);
            }
        } else {
            calls[static_cast<size_t>(pick(static_cast<int>(calls.size())))]();
        }
    }

private:
    AllKinds project;
    CoupledProject broken{AllKindsText + "[PIPES]\nwrong\n", ALL_KINDS_STEPS};
    std::mt19937 random;
    std::vector<std::function<void()>> calls;
    double number = 0.0;
    int32_t whole = 0;
    char text[2048] = "";

    int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }

    const char* id() {
        static const std::string LongName(4000, 'x');
        static const char* const names[] = {"G",  "S",  "GRASS", "J",  "T",  "O",  "SP", "SW", "R",  "M",
                                            "V",  "O2", "OS",    "P",  "PU", "C",  "D",  "W",  "OR", "CM",
                                            "CR", "CS", "CV",    "IN", "R",  "RG", "B",  "X",  "",   "nobody"};
        const int place = pick(32);
        return place == 30 ? nullptr : place == 31 ? LongName.c_str() : names[place];
    }

    int32_t code() {
        const int place = pick(20);
        return place == 0   ? std::numeric_limits<int32_t>::min()
               : place == 1 ? std::numeric_limits<int32_t>::max()
                            : static_cast<int32_t>(pick(18)) - 2;
    }

    double value() {
        static const double values[] = {0.0,    -0.0, 1.0,      0.5,       2.0, -1.0, 3.7, 100.0, 1e-300, 1e300,
                                        -1e300, 1e10, INFINITY, -INFINITY, NAN, 0.02, 4.0, 60.0,  1350.0, 5e-324};
        const int place = pick(24);
        return place < 20 ? values[place] : static_cast<double>(random()) / 1e9;
    }

    double* out() { return pick(20) ? &number : nullptr; }
    int32_t* outWhole() { return pick(20) ? &whole : nullptr; }

    /// A node for the functions of SWMM nodes.
    const char* node() { return pick(2) ? "SW" : id(); }

    void callLifeCycle(int dice) {
        Project& file = pick(8) ? project : broken;
        switch (dice) {
            case 0: tarnvelde_start(pick(4)); break;
            case 1: tarnvelde_end(); break;
            case 2: pick(3) ? 0 : tarnvelde_report(); break;
            case 3: pick(4) ? 0 : tarnvelde_close(); break;
            case 4: pick(4) ? 0 : file.open(); break;
            case 5: pick(40) ? 0 : file.run(); break;
            case 6:
                pick(8) ? 0 : tarnvelde_open(pick(2) ? "/nowhere/at/all" : nullptr, file.report.c_str(), nullptr);
                break;
            default: restart(file); break;
        }
        if (pick(20) == 0) {
            moveEngines();
        }
    }

    /// Where the engines are looked for from the next open call on. Mostly they are there: else a project of outside
    /// models is never opened again.
    void moveEngines() {
        const std::string file = std::string(TARNVELDE_ENGINE_FOLDER) + "libvorn.so";
        const std::string longPath(4000, 'p');
        const char* const paths[] = {nullptr, "", "/nowhere/at/all/", ".", "%s%n", file.c_str(), longPath.c_str()};
        const char* const folders[] = {nullptr, "", "/nowhere/at/all/", "%s%n", longPath.c_str()};
        const bool isBad = pick(4) == 0;
        const char* path = isBad && pick(2) ? paths[pick(7)] : TARNVELDE_ENGINE_FOLDER;
        const char* folder = isBad ? folders[pick(5)] : project.copies.c_str();
        if (pick(2)) {
            tarnvelde_initSwmmDll(path, folder);
        } else {
            tarnvelde_initVornDll(path, folder);
        }
    }

    /// Else most calls would meet a closed project.
    static void restart(Project& file) {
        if (file.open() == 0) {
            tarnvelde_start(1);
        }
    }

    void listCalls() {
        listDirectCalls();
        listLookUps();
        listSwmmCalls();
    }

    void listDirectCalls() {
        calls.insert(
            calls.end(),
            {[this] { tarnvelde_setExtInflow(id(), value()); }, [this] { tarnvelde_setExtLoad(id(), id(), value()); },
             [this] { tarnvelde_setExtLoad("J", "", value()); }, [this] { tarnvelde_setSplittedValue(id(), value()); },
             [this] { tarnvelde_setPumpFlow(id(), value()); },
             [this] { tarnvelde_setReactorEmptyingValue(id(), value()); },
             [this] { tarnvelde_setWeirParams(id(), code(), value()); },
             [this] { tarnvelde_setSetting(id(), value()); }, [this] { tarnvelde_setTankDepth(id(), value()); },
             [this] { tarnvelde_setLinkFlow(id(), value()); },
             [this] {
                 const CodedObject& object = CODED_OBJECTS[pick(13)];
                 tarnvelde_setParam(object.code, object.id, code(), value());
             },
             [this] { tarnvelde_setParam(code(), id(), code(), value()); }});
    }

    void listLookUps() {
        calls.insert(
            calls.end(),
            {[this] { tarnvelde_getSetting(id(), out()); }, [this] { tarnvelde_getNodeType(id(), outWhole()); },
             [this] { tarnvelde_getLinkType(id(), outWhole()); }, [this] { tarnvelde_isInEvent(id()); },
             [this] { tarnvelde_getDateTime(out(), out()); }, [this] { tarnvelde_getRoutingStep(out()); },
             [this] { tarnvelde_getMassBalErr(out(), out(), out()); }, [this] { tarnvelde_findObject(code(), id()); },
             [this] {
                 const CodedObject& object = CODED_OBJECTS[pick(13)];
                 tarnvelde_getParam(object.code, object.id, code(), out());
             },
             [this] {
                 const CodedObject& object = CODED_OBJECTS[pick(13)];
                 tarnvelde_getResult(object.code, object.id, code(), out());
             },
             [this] { tarnvelde_getParam(code(), id(), code(), out()); },
             [this] { tarnvelde_getResult(code(), id(), code(), out()); }});
    }

    void listSwmmCalls() {
        calls.insert(calls.end(), {[this] { tarnvelde_setSwmmRainfall(node(), id(), value()); },
                                   [this] { tarnvelde_getSwmmResult(node(), code(), id(), code(), out()); },
                                   [this] { tarnvelde_getSwmmObjCount(node(), code()); },
                                   [this] { tarnvelde_getSwmmObjID(node(), code(), code(), pick(9) ? text : nullptr); },
                                   [this] { tarnvelde_getSwmmObjIndex(node(), code(), id()); },
                                   [this] { tarnvelde_getSwmmCurrentSetting(node(), id(), out()); },
                                   [this] { tarnvelde_getSwmmParam(node(), code(), id(), code(), out()); },
                                   [this] { tarnvelde_setSwmmParam(node(), code(), id(), code(), value()); },
                                   [this] { tarnvelde_getSwmmNodeParam(node(), code(), id(), code(), out()); },
                                   [this] { tarnvelde_setSwmmNodeParam(node(), code(), id(), code(), value()); },
                                   [this] { tarnvelde_getSwmmLinkParam(node(), code(), id(), code(), out()); },
                                   [this] { tarnvelde_setSwmmLinkParam(node(), code(), id(), code(), value()); },
                                   [this] { tarnvelde_setSwmmNodeDepth(node(), id(), value()); },
                                   [this] { tarnvelde_setSwmmLinkDepth(node(), id(), value()); },
                                   [this] { tarnvelde_setSwmmLinkFlow(node(), id(), value()); },
                                   [this] { tarnvelde_setSwmmExtInflow(node(), id(), value()); },
                                   [this] { tarnvelde_setSwmmSetting(node(), id(), value()); },
                                   [this] { tarnvelde_setSwmmExtLoad(node(), id(), id(), value()); }});
    }
};

}  // namespace

TEST(ExchangeRandom, HundredThousandCallsInAnyOrderDoNoHarm) {
    testing::internal::CaptureStdout();
    {
        RandomHost host(20210301);
        for (int k = 0; k < 100000; ++k) {
            host.call();
        }
    }
    EXPECT_EQ(tarnvelde_close(), 0);
    testing::internal::GetCapturedStdout();
    double seconds = 77.0;
    EXPECT_EQ(tarnvelde_getRoutingStep(&seconds), -1);
}
