// See network.h.

#include "network.h"

#include <stdlib.h>

#include <cstdio>
#include <ctime>
#include <filesystem>

#include "tarnvelde.h"

static constexpr int32_t DAYS = 365;

double bench_getDuration() {
    return DAYS * 86400000.0;
}

BenchNetwork bench_makeNetwork(int64_t size) {
    const size_t count = static_cast<size_t>(size);
    BenchNetwork network{std::vector<int32_t>(count), std::vector<uint8_t>(count, 1)};
    uint64_t state = 88172645463325252u;  // xorshift
    for (size_t k = 0; k < count; ++k) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        const size_t down = k + 1 + (state >> 33) % 8;
        network.down[k] = static_cast<int32_t>(down < count ? down : count);
        if (down < count) {
            network.isHead[down] = 0;
        }
    }
    return network;
}

static std::string getName(const BenchNetwork& network, size_t node) {
    return node < network.down.size() ? "J" + std::to_string(node) : "OUT";
}

/// The size of the file in bytes.
static int64_t writeNetwork(const BenchNetwork& network, int32_t pollutants, int32_t reportStep,
                            const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    if (!file) {
        return 0;
    }
    const size_t count = network.down.size();
    std::fprintf(file,
                 "[GENERAL]\nSTART_DATE 2021/01/01\nEND_DATE 2022/01/01\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:05:00\n"
                 "REPORT_STEP %d:%02d:00\nREPORT_AVERAGE NO\n[POLLUTANTS]\n",
                 reportStep / 3600, reportStep % 3600 / 60);
    for (int32_t p = 0; p < pollutants; ++p) {
        std::fprintf(file, "P%d 0\n", p);
    }
    std::fprintf(file, "[JUNCTIONS]\n");
    for (size_t k = 0; k < count; ++k) {
        std::fprintf(file, "J%zu\n", k);
    }
    std::fprintf(file, "[OUTFALLS]\nOUT\n[PIPES]\n");
    for (size_t k = 0; k < count; ++k) {
        const int64_t pipe = static_cast<int64_t>(k);
        std::fprintf(file, "L%zu J%zu %s NO %d %d %g 0\n", k, k,
                     getName(network, static_cast<size_t>(network.down[k])).c_str(), bench_getPipeK(pipe),
                     bench_getPipeReaches(pipe), PIPE_X);
    }
    std::fprintf(file, "[DWFS]\n");
    for (size_t k = 0; k < count; ++k) {
        if (network.isHead[k]) {
            std::fprintf(file, "J%zu FLOW %g \"\"\n", k, HEAD_FLOW);
            for (int32_t p = 0; p < pollutants; ++p) {
                std::fprintf(file, "J%zu P%d %g \"\"\n", k, p, HEAD_CONCENTRATION);
            }
        }
    }
    const int64_t size = std::ftell(file);
    std::fclose(file);
    return size;
}

BenchProject bench_makeProject(const BenchNetwork& network, int32_t pollutants, int32_t reportStep) {
    BenchProject project{(std::filesystem::temp_directory_path() / "tarnvelde-bench-XXXXXX").string(), 0};
    if (mkdtemp(project.folder.data())) {
        project.size = writeNetwork(network, pollutants, reportStep, project.folder + "/network.inp");
    }
    return project;
}

bool bench_openProject(const BenchProject& project) {
    const std::string base = project.folder + "/network";
    return tarnvelde_open((base + ".inp").c_str(), (base + ".rpt").c_str(), (base + ".bin").c_str()) == 0;
}

void bench_closeProject(const BenchProject& project) {
    tarnvelde_end();
    tarnvelde_close();
    std::filesystem::remove_all(project.folder);
}

double bench_getProcessorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
