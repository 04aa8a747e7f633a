// Private copies of engines: where the library is looked for, what is said when it can't be had, and that no copy
// outlives its project.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <regex>
#include <set>

#include "coupling/guid.h"
#include "coupling/outside.h"
#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/library.h"
#include "support/child.h"
#include "support/engines.h"
#include "support/model.h"

namespace fs = std::filesystem;

static const std::string Engines = TARNVELDE_ENGINE_FOLDER;

/// Two SWMM nodes and a plant node that have no record of anything.
static const std::string Nodes3 = "[OUTFALLS]\nO\n[SWMM_INPS]\nA a.inp NO\nB b.inp NO\n[VORN_INPS]\nP p.sti NO\n";
static const std::string OneSwmm = "[OUTFALLS]\nO\n[SWMM_INPS]\nA a.inp NO\n";
static const std::string OneVorn = "[OUTFALLS]\nO\n[VORN_INPS]\nP p.sti NO\n";

static void addModels(CoupledProject& p) {
    p.model("a.inp", getPassingModel(4)).model("b.inp", getPassingModel(4)).model("p.sti", getPassingPlant(4));
}

TEST(LibraryCopy, EachNodeHasItsOwnUntilTheClose) {
    CoupledProject p(Nodes3);
    addModels(p);
    ASSERT_EQ(p.open(), 0) << p.getReport();
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\.dll");
    EXPECT_EQ(p.getCopies().size(), 3u);
    for (const std::string& name : p.getCopies()) {
        EXPECT_TRUE(std::regex_match(name, form)) << name;
    }
    EXPECT_EQ(testModel().swmmNodes[0].outside.libraryCopy.rfind(p.copies, 0), 0u);
    EXPECT_NE(testModel().swmmNodes[0].outside.libraryCopy, testModel().swmmNodes[1].outside.libraryCopy);
    EXPECT_NE(testModel().swmmNodes[0].entries.swmm_open.function, testModel().swmmNodes[1].entries.swmm_open.function);
    tarnvelde_close();
    EXPECT_TRUE(p.getCopies().empty());
}

TEST(LibraryCopy, IsTheLibraryByteForByte) {
    CoupledProject p(OneVorn);
    addModels(p);
    ASSERT_EQ(p.open(), 0);
    EXPECT_EQ(readFile(testModel().vornNodes[0].outside.libraryCopy), readFile(Engines + "libvorn.so"));
}

TEST(LibraryCopy, GoesAlsoAfterAFailedOpenAndInMidRun) {
    CoupledProject wrong(Nodes3 + "[PIPES]\nwrong line\n");
    addModels(wrong);
    EXPECT_EQ(wrong.open(), 200);
    EXPECT_EQ(wrong.getCopies().size(), 3u);
    tarnvelde_close();
    EXPECT_TRUE(wrong.getCopies().empty());

    CoupledProject running(Nodes3);
    addModels(running);
    running.start();
    running.step();
    tarnvelde_close();
    EXPECT_TRUE(running.getCopies().empty());

    CoupledProject replaced(Nodes3);
    addModels(replaced);
    replaced.start();
    ASSERT_EQ(replaced.open(), 0);  // releases the project before
    EXPECT_EQ(replaced.getCopies().size(), 3u);
}

TEST(LibraryCopy, GoesIfItCantBeLoaded) {
    CoupledProject p(OneVorn);
    addModels(p);
    const std::string engines = p.path + "engines/";
    fs::create_directory(engines);
    p.folder.write("engines/vorn.dll", "no library");
    tarnvelde_initVornDll(engines.c_str(), p.copies.c_str());
    p.open();
    EXPECT_EQ(p.getCopies().size(), 1u);
    EXPECT_EQ(testModel().vornNodes[0].outside.library, nullptr);
    tarnvelde_close();
    EXPECT_TRUE(p.getCopies().empty());
}

TEST(LibraryCopy, IsInNoMemoryBehindTheClose) {
    CoupledProject p(Nodes3);
    addModels(p);
    std::vector<std::string> names;
    const auto countMapped = [&] {
        const std::string maps = readFile("/proc/self/maps");
        return std::count_if(names.begin(), names.end(),
                             [&](const std::string& name) { return maps.find(name) != std::string::npos; });
    };
    p.start();
    names = p.getCopies();
    EXPECT_EQ(countMapped(), 3);
    tarnvelde_close();
    EXPECT_EQ(countMapped(), 0);
}

TEST(LibraryCopy, ThatFindsNoRoomLeavesNothing) {
    // A plant tells it; the silence of a SWMM node ends in the checks, the last of which is that of the units.
    const std::pair<std::string, int32_t> projects[] = {{OneVorn, 601}, {OneSwmm, 183}};
    for (const auto& [text, code] : projects) {
        CoupledProject p(text);
        addModels(p);
        const int status = process_fork([&, expected = code] {
            process_limitFileSize(8192);
            const bool isTold = p.open() == expected;
            const bool isClear = p.getCopies().empty();
            tarnvelde_close();
            return isTold && isClear ? 0 : 1;
        });
        EXPECT_EQ(status, 0) << code;
        EXPECT_TRUE(p.getCopies().empty()) << code;
    }
}

TEST(LibraryCopy, TakesTheNextNameWhereAFileIsThere) {
    // All names of some milliseconds of the clock are taken; the copy is asked for in their midst.
    static constexpr uint32_t TAKEN = 4000, SECOND = 1000000;
    TempFolder folder;
    const uint32_t first = (clock_getMicroseconds() + SECOND / 2) % SECOND;
    std::set<std::string> taken;
    for (uint32_t k = 0; k < TAKEN; ++k) {
        char guid[GUID_SIZE];
        guid_write((first + k) % SECOND, guid);
        taken.insert(std::string(guid) + ".dll");
        folder.write(std::string(guid) + ".dll", "taken");
    }
    static constexpr OutsideKind Kind = {"vorn.dll", "libvorn.so", 0, 0, 0, 0, 0, 0, 0};
    OutsideNode outside{};
    while ((clock_getMicroseconds() + SECOND - first) % SECOND >= TAKEN / 2) {
    }
    outside_loadLibrary(testModel(), outside, Kind, Engines, folder.path.string() + "/");
    ASSERT_NE(outside.library, nullptr);
    const std::string name = fs::path(outside.libraryCopy).filename().string();
    EXPECT_EQ(taken.count(name), 0u) << name;
    EXPECT_EQ(readFile(folder.file(name)), readFile(Engines + "libvorn.so"));
    for (const std::string& other : taken) {
        ASSERT_EQ(readFile(folder.file(other)), "taken");
    }
    library_release(outside.library);
}

TEST(LibraryCopy, OfAKilledRunStaysUnderItsName) {
    CoupledProject p(Nodes3);
    addModels(p);
    const pid_t child = fork();
    if (child == 0) {
        p.open();
        raise(SIGKILL);
    }
    int state = 0;
    waitpid(child, &state, 0);
    EXPECT_TRUE(WIFSIGNALED(state));
    EXPECT_EQ(p.getCopies().size(), 3u);
    p.start();  // and is in nobody's way
    EXPECT_EQ(p.getCopies().size(), 6u);
    tarnvelde_close();
    EXPECT_EQ(p.getCopies().size(), 3u);
}

TEST(LibraryCopy, StandsBesideTheLibraryWithoutAFolder) {
    CoupledProject p(OneSwmm);
    addModels(p);
    const std::string engines = p.path + "engines/";
    fs::create_directory(engines);
    fs::copy_file(Engines + "libswmm5ex.so", engines + "libswmm5ex.so");
    tarnvelde_initSwmmDll(engines.c_str(), nullptr);
    ASSERT_EQ(p.open(), 0) << p.getReport();
    EXPECT_EQ(testModel().swmmNodes[0].outside.libraryCopy.rfind(engines, 0), 0u);
    tarnvelde_close();
    EXPECT_EQ(std::distance(fs::directory_iterator(engines), fs::directory_iterator()), 1);
}

TEST(LibraryCopy, TakesTheFolderAsItStands) {
    // Without a separator at its end the folder is the beginning of the name, and must exist all the same.
    CoupledProject p(OneSwmm);
    addModels(p);
    const std::string prefix = p.path + "copies";
    tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, prefix.c_str());
    ASSERT_EQ(p.open(), 0) << p.getReport();
    EXPECT_TRUE(p.getCopies().empty());
    EXPECT_EQ(testModel().swmmNodes[0].outside.libraryCopy.rfind(prefix, 0), 0u);
    EXPECT_EQ(testModel().swmmNodes[0].outside.libraryCopy.size(), prefix.size() + 36 + 4);
}

TEST(LibraryCopy, MayHaveALongPath) {
    CoupledProject p(OneSwmm);
    addModels(p);
    std::string folder = p.path;
    for (int k = 0; k < 5; ++k) {
        folder += std::string(100, 'd') + "/";
    }
    fs::create_directories(folder);
    tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, folder.c_str());
    ASSERT_EQ(p.open(), 0) << p.getReport();
    EXPECT_GT(testModel().swmmNodes[0].outside.libraryCopy.size(), 500u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST(LibraryCopy, ComesBackAnewForManyProjects) {
    CoupledProject p(Nodes3);
    addModels(p);
    for (int k = 0; k < 50; ++k) {
        ASSERT_EQ(p.open(), 0);
        ASSERT_EQ(tarnvelde_start(0), 0);
        ASSERT_EQ(stepToEnd(), 0);
        ASSERT_EQ(tarnvelde_end(), 0);
        tarnvelde_close();
        ASSERT_TRUE(p.getCopies().empty());
    }
}

// --- where the library is ------------------------------------------------------------------------------------------

TEST(LibraryPath, OfAFileStandsForItsFolder) {
    CoupledProject p(OneSwmm);
    addModels(p);
    const std::string file = Engines + "libvorn.so";  // any file there will do
    tarnvelde_initSwmmDll(file.c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 0) << p.getReport();
}

TEST(LibraryPath, OfAFolderWithoutSeparatorLosesItsLastPart) {
    CoupledProject p(OneSwmm);
    addModels(p);
    fs::create_directory(p.path + "engines");
    fs::copy_file(Engines + "libswmm5ex.so", p.path + "engines/libswmm5ex.so");
    tarnvelde_initSwmmDll((p.path + "engines").c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 243);
    EXPECT_EQ(p.getErrors(),
              std::vector<std::string>{"ERROR 243: swmm dll \"" + p.path + "swmm5ex.dll\" does not exist."});
}

TEST(LibraryPath, MissingOrEmptyIsTheFolderOfTheProgram) {
    const std::string program = files_getProgramPath();
    const std::string folder = program.substr(0, program.rfind('/') + 1);
    for (const std::string& path : {std::string(), std::string("/no/such/folder/")}) {
        CoupledProject p(OneVorn);
        addModels(p);
        tarnvelde_initVornDll(path.c_str(), p.copies.c_str());
        const bool isBeside = fs::exists(folder + "vorn.dll") || fs::exists(folder + "libvorn.so");
        EXPECT_EQ(p.open(), isBeside ? 0 : 920);
        if (!isBeside) {
            EXPECT_EQ(p.getErrors(),
                      std::vector<std::string>{"ERROR 920: vorn dll \"" + folder + "vorn.dll\" does not exist."});
        }
    }
}

TEST(LibraryPath, OfAPlantIsForgottenByAWholeRun) {
    // Such a run looks beside the program, whatever the host has told; so far only the place of a plant's engine.
    const std::string program = files_getProgramPath();
    const std::string folder = program.substr(0, program.rfind('/') + 1);
    const bool isBeside = fs::exists(folder + "vorn.dll") || fs::exists(folder + "libvorn.so");
    CoupledProject p(OneVorn);
    addModels(p);
    fs::create_directory(p.path + "engines");
    p.folder.write("engines/vorn.dll", "no library");
    tarnvelde_initVornDll((p.path + "engines/").c_str(), "nowhere/");
    EXPECT_EQ(p.run(), isBeside ? 0 : 920) << p.getReport();

    CoupledProject q(OneSwmm);
    addModels(q);
    EXPECT_EQ(q.run(), 0) << q.getReport();
    EXPECT_TRUE(q.getCopies().empty());
}

TEST(LibraryPath, WithoutAFolderIsTheCurrentOne) {
    CoupledProject p(OneVorn);
    addModels(p);
    fs::copy_file(Engines + "libvorn.so", p.path + "vorn.dll");
    const fs::path before = fs::current_path();
    fs::current_path(p.path);
    tarnvelde_initVornDll("vorn.dll", "");
    const int32_t code = p.open();
    const std::string copy = testModel().vornNodes[0].outside.libraryCopy;
    EXPECT_NE(testModel().vornNodes[0].outside.library, nullptr);
    tarnvelde_close();
    fs::current_path(before);
    EXPECT_EQ(code, 0) << p.getReport();
    EXPECT_EQ(copy.size(), 40u);
    EXPECT_FALSE(fs::exists(p.path + copy));
}

TEST(LibraryPath, BackslashEndsAFolderToo) {
    CoupledProject p(OneVorn);
    addModels(p);
    const std::string name = p.path + "engines\\";
    fs::copy_file(Engines + "libvorn.so", name + "vorn.dll");
    p.folder.write("engines\\", "");
    tarnvelde_initVornDll(name.c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 0) << p.getReport();
}

TEST(LibraryPath, TheNameWithDllComesFirst) {
    CoupledProject p(OneSwmm);
    addModels(p);
    fs::create_directory(p.path + "engines");
    fs::copy_file(Engines + "libswmm5ex.so", p.path + "engines/libswmm5ex.so");
    p.folder.write("engines/swmm5ex.dll", "no library");
    tarnvelde_initSwmmDll((p.path + "engines/").c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 183);
}

// --- messages ------------------------------------------------------------------------------------------------------

TEST(LibraryMessages, EachNodeTellsItsMissingLibrary) {
    CoupledProject p(Nodes3 + "[PIPES]\nwrong line\n");
    addModels(p);
    fs::create_directory(p.path + "empty");
    const std::string folder = p.path + "empty/";
    tarnvelde_initSwmmDll(folder.c_str(), p.copies.c_str());
    tarnvelde_initVornDll(folder.c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 920);  // the last of them; the lines of the file are not read any more
    EXPECT_EQ(p.getErrors(),
              (std::vector<std::string>{"ERROR 243: swmm dll \"" + folder + "swmm5ex.dll\" does not exist.",
                                        "ERROR 243: swmm dll \"" + folder + "swmm5ex.dll\" does not exist.",
                                        "ERROR 920: vorn dll \"" + folder + "vorn.dll\" does not exist."}));
    EXPECT_TRUE(p.takeCalls().empty());
}

TEST(LibraryMessages, MissingTemporaryFolder) {
    CoupledProject p(Nodes3);
    addModels(p);
    tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, "no/such%s");
    tarnvelde_initVornDll(TARNVELDE_ENGINE_FOLDER, "nowhere/");
    EXPECT_EQ(p.open(), 921);
    EXPECT_EQ(p.getErrors(),
              (std::vector<std::string>{"ERROR 247: temporary folder \"no/such%s\" for swmm dll does not exist.",
                                        "ERROR 247: temporary folder \"no/such%s\" for swmm dll does not exist.",
                                        "ERROR 921: temporary folder \"nowhere/\" for vorn dll does not exist."}));
}

TEST(LibraryMessages, AFailedCopyIsToldForPlantsOnly) {
    CoupledProject p(Nodes3);
    addModels(p);
    fs::create_directories(p.path + "engines/swmm5ex.dll");  // there, but no file
    fs::create_directories(p.path + "engines/vorn.dll");
    const std::string folder = p.path + "engines/";
    tarnvelde_initSwmmDll(folder.c_str(), p.copies.c_str());
    tarnvelde_initVornDll(folder.c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 601);
    EXPECT_EQ(p.getErrors(), std::vector<std::string>{"ERROR 601: cannot copy file."});
    EXPECT_TRUE(p.getCopies().empty());
}

TEST(LibraryMessages, NothingIsLoadedAfterAnErrorOfTheFirstPass) {
    CoupledProject p(Nodes3 + "[OUTFALLS]\nO\n");
    addModels(p);
    tarnvelde_initSwmmDll(TARNVELDE_ENGINE_FOLDER, "nowhere/");
    EXPECT_EQ(p.open(), 200);
    EXPECT_EQ(p.getErrors(),
              std::vector<std::string>{"ERROR 207: duplicate ID name O at line 16 of [OUTFALLS] section:"});
    EXPECT_TRUE(p.getCopies().empty());
}

// --- missing functions ---------------------------------------------------------------------------------------------

/// What the validation says of a node without an engine, from the model that can't be opened on.
static const std::vector<std::string> SilentSwmm = {
    "ERROR 233: cannot open swmm input file for swmm node A.",
    "ERROR 235: cannot get simulation start and end date/time from swmm project for swmm node A.",
    "ERROR 175: simulation start date/time of system is inconsistent with that of swmm node A.",
    "ERROR 177: simulation end date/time of system is inconsistent with that of swmm node A.",
    "ERROR183: unit system of swmm node A must be SI.",
    "ERROR 237: cannot find swmm node IN.",
    "ERROR 237: cannot find swmm node OUT.",
    "ERROR 241: Pollutant TSS does not exist in swmm input file."};

static const std::vector<std::string> SilentVorn = {
    "ERROR 924: cannot open vorn input file for vorn node P.",
    "ERROR 925: cannot get simulation start and end date/time from vorn project for vorn node P.",
    "ERROR 926: simulation start date/time of system is inconsistent with that of vorn node P.",
    "ERROR 927: simulation end date/time of system is inconsistent with that of vorn node P.",
    "ERROR 931: the solution type of VORN node P must be unsteady-state.",
    "ERROR 928: cannot find vorn influent I.",
    "ERROR 929: cannot find vorn effluent E."};

static const std::string SwmmWithRecords =
    "[OUTFALLS]\nO\n[CONNECTIONS]\nC A O NO 0\n[POLLUTANTS]\nTSS 0\n[SWMM_INPS]\nA a.inp NO\nINFLOW IN C\nOUTFLOW OUT "
    "C\n";
static const std::string VornWithRecords =
    "[OUTFALLS]\nO\n[CONNECTIONS]\nC P O NO 0\n[VORN_INPS]\nP p.sti NO\nINFLUENT I C CV\nEFFLUENT E C CE\n"
    "[CONVERTERS]\nCE VORN_EFFLUENT\nCV COD CONSTANT 0 0\nCV NH4 CONSTANT 0 0\nCV NO3 CONSTANT 0 0\n"
    "CV TP CONSTANT 0 0\nCV TSS CONSTANT 0 0\nCV ALK CONSTANT 0 0\n";

TEST(MissingEngine, ShowsInTheChecksThatNeedIt) {
    CoupledProject p(SwmmWithRecords);
    addModels(p);
    fs::create_directories(p.path + "engines/swmm5ex.dll");
    tarnvelde_initSwmmDll((p.path + "engines/").c_str(), p.copies.c_str());
    EXPECT_EQ(p.open(), 241);
    EXPECT_EQ(p.getErrors(), SilentSwmm);

    CoupledProject q(VornWithRecords);
    addModels(q);
    fs::create_directory(q.path + "engines");
    q.folder.write("engines/vorn.dll", "no library");
    tarnvelde_initVornDll((q.path + "engines/").c_str(), q.copies.c_str());
    EXPECT_EQ(q.open(), 929);
    EXPECT_EQ(q.getErrors(), SilentVorn);
}

/// A library in which a function has another name.
static void writeWithout(const std::string& source, const std::string& target, const std::string& entry) {
    std::string bytes = readFile(source);
    const std::string name = '\0' + entry + '\0';
    for (size_t at = 0; (at = bytes.find(name, at)) != std::string::npos;) {
        bytes[at + 1] = 'X';
    }
    std::ofstream(target, std::ios::binary) << bytes;
}

/// The names of a list of entry points, in its order.
static const std::vector<std::string> SwmmNames = {
#define SWMM_ENTRY(name, result, arguments, standIn) #name,
#include "coupling/swmmentries.def"
#undef SWMM_ENTRY
};
static const std::vector<std::string> VornNames = {
#define VORN_ENTRY(name, result, arguments, standIn) #name,
#include "coupling/vornentries.def"
#undef VORN_ENTRY
};

TEST(MissingFunction, EndsTheLookUpAndIsStoodInForWithAllBehindIt) {
    ASSERT_EQ(SwmmNames.size(), 35u);
    // What each check calls, by its place in the order of the look-ups: the check fails if that function, or one before
    // it, isn't there.
    const size_t places[] = {1, 19, 19, 19, 21, 16, 16, 18};
    for (size_t missing = 0; missing < SwmmNames.size(); ++missing) {
        CoupledProject p(SwmmWithRecords);
        p.model("a.inp", getPassingModel(4, "substances TSS\n"));
        fs::create_directory(p.path + "engines");
        writeWithout(Engines + "libswmm5ex.so", p.path + "engines/swmm5ex.dll", SwmmNames[missing]);
        tarnvelde_initSwmmDll((p.path + "engines/").c_str(), p.copies.c_str());
        p.open();
        std::vector<std::string> expected;
        for (size_t k = 0; k < SilentSwmm.size(); ++k) {
            if (places[k] >= missing) {
                expected.push_back(SilentSwmm[k]);
            }
        }
        EXPECT_EQ(p.getErrors(), expected) << SwmmNames[missing];
        EXPECT_TRUE(p.getCopies().empty());
    }
}

TEST(MissingFunction, OfAPlant) {
    ASSERT_EQ(VornNames.size(), 13u);
    const size_t places[] = {1, 9, 9, 9, 12, 11, 11};
    for (size_t missing = 0; missing < VornNames.size(); ++missing) {
        CoupledProject p(VornWithRecords);
        addModels(p);
        fs::create_directory(p.path + "engines");
        writeWithout(Engines + "libvorn.so", p.path + "engines/libvorn.so", VornNames[missing]);
        tarnvelde_initVornDll((p.path + "engines/").c_str(), p.copies.c_str());
        p.open();
        std::vector<std::string> expected;
        for (size_t k = 0; k < SilentVorn.size(); ++k) {
            if (places[k] >= missing) {
                expected.push_back(SilentVorn[k]);
            }
        }
        EXPECT_EQ(p.getErrors(), expected) << VornNames[missing];
    }
}

TEST(MissingFunction, BehindThoseOfARunLeavesTheRunAlone) {
    // A run needs none of the functions from the count of objects on, which only pass on what a host asks for. They
    // are stood in for: the host's calls fail, and store nothing.
    CoupledProject p(OneSwmm);
    addModels(p);
    fs::create_directory(p.path + "engines");
    writeWithout(Engines + "libswmm5ex.so", p.path + "engines/swmm5ex.dll", "swmm_getObjCount");
    tarnvelde_initSwmmDll((p.path + "engines/").c_str(), p.copies.c_str());
    p.start();
    p.takeCalls();
    p.step(4);
    EXPECT_EQ(p.takeCalls("a swmm_step").size(), 5u);  // two in the first step, then one
    char text[1025] = "untouched";
    EXPECT_EQ(tarnvelde_getSwmmObjCount("A", 1), -1);
    EXPECT_EQ(tarnvelde_getSwmmObjID("A", 1, 0, text), -1);
    EXPECT_STREQ(text, "untouched");
    EXPECT_EQ(tarnvelde_setSwmmNodeDepth("A", "IN", 1.0), -1);
}

TEST(StandIns, OfTheRunDoNothing) {
    const SwmmEntries swmm;
    double value = 7.0;
    int index = 7;
    EXPECT_EQ(swmm.swmm_start(1), 1);
    EXPECT_EQ(swmm.swmm_step(&value), -1);
    EXPECT_EQ(swmm.swmm_getResult(1, "A", 4, &value), -1);
    EXPECT_EQ(swmm.swmm_isPollut("A", &index), -1);
    EXPECT_EQ(swmm.swmm_isLink("A"), -1);
    EXPECT_EQ(swmm.swmm_getRoutingStep(), 0.0);
    EXPECT_EQ(swmm.swmm_setExtInflow("A", 1.0), -1);
    EXPECT_EQ(swmm.swmm_setLinkFlow("A", 1.0), -1);
    const VornEntries vorn;
    EXPECT_EQ(vorn.vorn_start(1), 1);
    EXPECT_EQ(vorn.vorn_step(&value), -1);
    EXPECT_EQ(vorn.vorn_getExtOutflow("A", 0, &value), -1);
    EXPECT_EQ(value, 7.0);
    EXPECT_EQ(index, 7);
}
