#include "host.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

// --- calls ---------------------------------------------------------------------------------------------------------

void Host::writeBits(double value) {
    unsigned long long bits;
    static_assert(sizeof bits == sizeof value);
    std::memcpy(&bits, &value, sizeof bits);
    std::fprintf(calls, " %016llx", bits);
}

void Host::writeArgument(const char* text) {
    if (text) {
        std::fprintf(calls, " \"%s\"", text);
    } else {
        std::fputs(" null", calls);
    }
}

void Host::writeArgument(double* value) {
    if (value) {
        writeBits(*value);
    } else {
        std::fputs(" null", calls);
    }
}

void Host::writeArgument(int32_t* value) {
    if (value) {
        writeArgument(*value);
    } else {
        std::fputs(" null", calls);
    }
}

void host_say(Host& host, const std::string& text) {
    std::fprintf(host.calls, "-- %s\n", text.c_str());
}

// --- looking at objects --------------------------------------------------------------------------------------------

namespace {

struct Class {
    const char* section;
    int32_t code;
    int32_t results;  ///< without the concentrations
};

constexpr Class CLASSES[] = {{"[SUBCATCHS]", TARNVELDE_SUBCATCHMENT, TARNVELDE_RESULT_SUBCATCHMENT_QUALITY},
                             {"[JUNCTIONS]", TARNVELDE_JUNCTION, TARNVELDE_RESULT_JUNCTION_QUALITY},
                             {"[TANKS]", TARNVELDE_TANK, TARNVELDE_RESULT_TANK_QUALITY},
                             {"[OUTFALLS]", TARNVELDE_OUTFALL, TARNVELDE_RESULT_OUTFALL_QUALITY},
                             {"[SPLITTERS]", TARNVELDE_SPLITTER, TARNVELDE_RESULT_SPLITTER_QUALITY},
                             {"[REACTORS]", TARNVELDE_REACTOR, TARNVELDE_RESULT_REACTOR_QUALITY},
                             {"[LID_MONOS]", TARNVELDE_LID_MONOMER, TARNVELDE_RESULT_LID_MONOMER_SURFACE_QUALITY + 1},
                             {"[PIPES]", TARNVELDE_PIPE, TARNVELDE_RESULT_PIPE_QUALITY},
                             {"[PUMPS]", TARNVELDE_PUMP, TARNVELDE_RESULT_PUMP_QUALITY},
                             {"[CONNECTIONS]", TARNVELDE_CONNECTION, TARNVELDE_RESULT_CONNECTION_QUALITY},
                             {"[CONDUITS]", TARNVELDE_CONDUIT, TARNVELDE_RESULT_CONDUIT_QUALITY},
                             {"[WEIRS]", TARNVELDE_WEIR, TARNVELDE_RESULT_WEIR_QUALITY},
                             {"[ORIFICES]", TARNVELDE_ORIFICE, TARNVELDE_RESULT_ORIFICE_QUALITY}};

const Class* findClass(const std::string& section) {
    for (const Class& candidate : CLASSES) {
        if (section == candidate.section) {
            return &candidate;
        }
    }
    return nullptr;
}

/// Objects that a project file names, in its order.
void findObjects(Host& host, const std::string& file) {
    host.objects.clear();
    host.pollutants = 0;
    std::ifstream stream(file, std::ios::binary);
    std::string section;
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word.empty() || word[0] == '/') {
            continue;
        }
        if (word[0] == '[') {
            section = word;
        } else if (section == "[POLLUTANTS]") {
            ++host.pollutants;
        } else if (const Class* found = findClass(section)) {
            host.objects.push_back({found->code, word});
        }
    }
}

}  // namespace

void host_look(Host& host) {
    for (const Object& object : host.objects) {
        const int32_t count = CLASSES[object.code - 1].results + host.pollutants;
        for (int32_t k = 0; k < count; ++k) {
            double value = MARK;
            CALL(getResult, object.code, object.id.c_str(), k, &value);
        }
        if (object.code >= TARNVELDE_PIPE) {
            double setting = MARK;
            CALL(getSetting, object.id.c_str(), &setting);
        }
    }
}

// --- runs ----------------------------------------------------------------------------------------------------------

int32_t host_stepToEnd(Host& host, int32_t limit) {
    int32_t code = 0;
    double days = 1.0;
    for (int32_t k = 0; k < limit && code == 0 && days > 0.0; ++k) {
        code = CALL(step, &days);
        // The first steps, and then fewer and fewer.
        if (k < 3 || (k & (k + 1)) == 0 || k == 90) {
            host_look(host);
        }
    }
    return code;
}

static void finish(Host& host) {
    double runoff = MARK, flow = MARK, quality = MARK;
    CALL(report);
    CALL(end);
    CALL(getMassBalErr, &runoff, &flow, &quality);
    CALL(close);
}

void host_runInSteps(Host& host, const std::string& files, int32_t saveMode) {
    findObjects(host, "model.inp");
    double start = MARK, end = MARK, step = MARK;
    int32_t code = CALL(open, "model.inp", (files + ".rpt").c_str(), (files + ".bin").c_str());
    CALL(getDateTime, &start, &end);
    CALL(getRoutingStep, &step);
    code = CALL(start, saveMode);
    if (code == 0) {
        host_stepToEnd(host);
    }
    finish(host);
}

void script_runBoth(Host& host) {
    CALL(run, "model.inp", "model.rpt", "model.bin");
    host_runInSteps(host, "stepped", TARNVELDE_SAVE_DATABASE);
}

void script_runCoupled(Host& host) {
    CALL(initSwmmDll, "engines/", "copies/");
    CALL(initVornDll, "engines/", "copies/");
    host_runInSteps(host, "stepped", TARNVELDE_SAVE_DATABASE);
    host_runInSteps(host, "model", TARNVELDE_SAVE_BINARY);
}

void script_tryOut(Host& host) {
    findObjects(host, "model.inp");
    CALL(initSwmmDll, "engines/", "copies/");
    CALL(initVornDll, "engines/", "copies/");
    CALL(open, "model.inp", "model.rpt", "model.bin");
    for (const Object& object : host.objects) {
        CALL(findObject,
             object.code == TARNVELDE_SUBCATCHMENT ? 0
             : object.code < TARNVELDE_PIPE        ? 1
                                                   : 2,
             object.id.c_str());
    }
    if (CALL(start, TARNVELDE_SAVE_BINARY) == 0) {
        host_stepToEnd(host, 400);
    }
    finish(host);
}
