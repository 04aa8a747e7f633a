// tarnvelde_scaling: what opening, starting, stepping, saving the state and closing cost for each object, and how much
// memory it takes, for sizes that double. Prints tables in markdown; behind each figure stands its ratio to that of the
// size before. What grows with the number of objects alone has ratios of 1.
//
// Each size is measured in a process of its own, so that the greatest memory is that of this size; times are processor
// times, the least of the repetitions.

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "bare/conduits.h"
#include "bare/land.h"
#include "bare/reactors.h"
#include "bare/tanks.h"
#include "bare/units.h"
#include "tarnvelde_model.h"
#include "towns/text.h"
#include "towns/town.h"

namespace {

constexpr int FIGURES = 6;
constexpr const char* NAMES[FIGURES] = {"open", "start", "step", "save", "close", "memory"};
constexpr int STEPS = 60;
constexpr int64_t POLLUTANTS = 2;

struct Figures {
    double values[FIGURES];  ///< ns for each object, of a step; bytes for each object
    bool isGood;
};

// --- projects ------------------------------------------------------------------------------------------------------

std::string makeLand(int64_t count) {
    return bareLand_makeProject(bareLand_create(count, POLLUTANTS, BareWeather::WET));
}

std::string makeUnits(int64_t count) {
    return bareUnits_makeProject(bareUnits_create(BareUnit::CELL, count, POLLUTANTS, BareWeather::WET));
}

std::string makeTanks(int64_t count) {
    return bareTanks_makeProject(bareTanks_create(count, POLLUTANTS, BareWeather::WET), BareWeather::WET);
}

std::string makeConduits(int64_t count) {
    return bareConduits_makeProject(bareConduits_create(BareSection::CIRCULAR, count, POLLUTANTS, BareWeather::WET),
                                    BareWeather::WET);
}

std::string makeReactors(int64_t count) {
    return bareReactors_makeProject(bareReactors_create(count, POLLUTANTS, BareWeather::WET), BareWeather::WET);
}

std::string makePipes(int64_t count) {
    TownText out;
    out << bare_makeHead(BareWeather::WET, POLLUTANTS, 0.0) << "[JUNCTIONS]\n";
    for (int64_t k = 0; k < count; ++k) {
        out << "J" << k << "\n";
    }
    out << BARE_OUTFALL << "[PIPES]\n";
    for (int64_t k = 0; k < count; ++k) {
        out << "L" << k << " J" << k << " ";
        if (k + 1 + k % 7 < count) {
            out << "J" << k + 1 + k % 7;
        } else {
            out << "OUT";
        }
        out << " NO " << 120 + 60 * (k % 3) << " " << 1 + k % 3 << " 0.2 0\n";
    }
    out << bare_makeFlows(BareWeather::WET, "J", count, POLLUTANTS);
    return std::move(out.text);
}

/// Rules of two conditions on as many tanks as stand for a tenth of them.
std::string makeRules(int64_t count) {
    const BareTanks tanks = bareTanks_create(std::max<int64_t>(1, count / 10), 0, BareWeather::WET);
    TownText out;
    out << bareTanks_makeProject(tanks, BareWeather::WET) << "[CONTROL_RULES]\n";
    for (int64_t k = 0; k < count; ++k) {
        const int64_t tank = k % tanks.count;
        out << "RULE R" << k << "\nIF TANK T" << tank << " DEPTH > " << TownDecimal{5 + k % 20, 1} << "\nAND TANK T"
            << tank << " INFLOW > 0.01\nTHEN WEIR W" << tank << " SETTING = 1\nELSE WEIR W" << tank
            << " SETTING = 0.5\nPRIORITY " << k % 5 << "\n";
    }
    return std::move(out.text);
}

/// Entries of an inflow series, a minute apart.
std::string makeSeries(int64_t count) {
    TownText out;
    out << bare_makeHead(BareWeather::DRY, 0, 0.0);
    for (int64_t k = 0; k < count; ++k) {
        if (k % 12 == 0) {
            out << (k > 0 ? "\n" : "") << "WAVE 2024/06/01";
        }
        out << " " << k / 60 << (k % 60 < 10 ? ":0" : ":") << k % 60 << " " << TownDecimal{100 + k % 37, 3};
    }
    out << "\n[JUNCTIONS]\nJ\n"
        << BARE_OUTFALL << "[PIPES]\nL J OUT NO 120 1 0.2 0\n[INFLOWS]\n"
        << "J FLOW FLOW 0 WAVE 1\n";
    return std::move(out.text);
}

std::string makeTown(int64_t count) {
    TownOptions options;
    options.subcatchments = count;
    return town_makeText(options);
}

struct Class {
    const char* name;
    std::string (*make)(int64_t count);
};

constexpr Class CLASSES[] = {{"subcatchments", makeLand}, {"junctions with a pipe", makePipes},
                             {"LID units", makeUnits},    {"tanks with three outlets", makeTanks},
                             {"conduits", makeConduits},  {"reactors", makeReactors},
                             {"rules", makeRules},        {"entries of a series", makeSeries},
                             {"whole towns", makeTown}};

// --- measuring -----------------------------------------------------------------------------------------------------

double getTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double getMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

/// Gives back what making the project has left, and lets the greatest memory begin with what there is now.
void forgetMemory() {
    malloc_trim(0);
    if (FILE* file = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", file);
        std::fclose(file);
    }
}

Figures measureRun(const std::string& project) {
    Figures figures{};
    tv_model* model = nullptr;
    forgetMemory();
    const double memory = getMemory();
    double begin = getTime();
    const auto take = [&](int figure) {
        const double end = getTime();
        figures.values[figure] = end - begin;
        begin = end;
    };
    bool isGood = tv_create(&model) == 0 && tv_openText(model, project.data(), project.size(), nullptr, nullptr) == 0;
    take(0);
    isGood = isGood && tv_start(model, nullptr, nullptr) == 0;
    take(1);
    for (int k = 0; k < STEPS; ++k) {
        isGood = isGood && tv_step(model) == 0;
    }
    take(2);
    figures.values[2] /= STEPS;
    figures.values[5] = getMemory() - memory;
    size_t size = 0;
    isGood = isGood && tv_getStateSize(model, &size) == 0;
    std::vector<char> state(size);
    begin = getTime();
    isGood = isGood && tv_saveState(model, state.data(), state.size(), &size) == 0;
    take(3);
    tv_free(model);
    take(4);
    figures.isGood = isGood;
    return figures;
}

/// In a process of its own.
Figures measureApart(const Class& kind, int64_t count) {
    int ends[2];
    Figures figures{};
    std::fflush(stdout);
    if (pipe(ends) != 0) {
        return figures;
    }
    const pid_t child = fork();
    if (child == 0) {
        measureRun(kind.make(10));  // what only a first run costs
        const std::string project = kind.make(count);
        Figures own = measureRun(project);
        const bool isWritten = write(ends[1], &own, sizeof own) == sizeof own;
        _exit(isWritten ? 0 : 1);
    }
    close(ends[1]);
    const bool isRead = child > 0 && read(ends[0], &figures, sizeof figures) == sizeof figures;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    figures.isGood = figures.isGood && isRead;
    for (double& value : figures.values) {
        value /= static_cast<double>(count);
    }
    return figures;
}

Figures measureBest(const Class& kind, int64_t count, int repetitions) {
    Figures best = measureApart(kind, count);
    for (int k = 1; k < repetitions; ++k) {
        const Figures next = measureApart(kind, count);
        best.isGood = best.isGood && next.isGood;
        for (int figure = 0; figure < FIGURES; ++figure) {
            best.values[figure] = std::min(best.values[figure], next.values[figure]);
        }
    }
    return best;
}

bool measureClass(const Class& kind, int64_t first, int64_t last, int repetitions) {
    Figures before{};
    for (int64_t count = first; count <= last; count *= 2) {
        const Figures figures = measureBest(kind, count, repetitions);
        if (!figures.isGood) {
            std::fprintf(stderr, "tarnvelde_scaling: %lld %s don't run\n", static_cast<long long>(count), kind.name);
            return false;
        }
        std::printf("| %s | %lld |", kind.name, static_cast<long long>(count));
        for (int figure = 0; figure < FIGURES; ++figure) {
            std::printf(" %.*f", figures.values[figure] < 9.95 ? 2 : 0, figures.values[figure]);
            if (count > first) {
                std::printf(" (%.2f)", figures.values[figure] / before.values[figure]);
            }
            std::printf(" |");
        }
        std::printf("\n");
        before = figures;
    }
    return true;
}

}  // namespace

int main(int count, char** words) {
    const int64_t first = count > 1 ? std::atoll(words[1]) : 1000;
    const int64_t last = count > 2 ? std::atoll(words[2]) : 16000;
    const int repetitions = count > 3 ? std::atoi(words[3]) : 5;
    if (first < 1 || last < first || repetitions < 1) {
        std::fputs("tarnvelde_scaling [FIRST [LAST [REPETITIONS]]]: sizes 1000 to 16000, each 5 times\n", stderr);
        return 2;
    }
    std::printf("| Objects | N |");
    for (int figure = 0; figure < FIGURES; ++figure) {
        std::printf(" %s%s |", NAMES[figure], figure < 5 ? ", ns" : ", bytes");
    }
    std::printf("\n|---|--:|--:|--:|--:|--:|--:|--:|\n");
    for (const Class& kind : CLASSES) {
        if (!measureClass(kind, first, last, repetitions)) {
            return 1;
        }
    }
    return 0;
}
