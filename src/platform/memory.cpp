// Memory as the machine sees it. Linux promises more memory than there is and ends the process that touches
// it; a project file that asks for the impossible (a pipe of a thousand million reaches) must meet a refusal instead.

#include "platform/memory.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#if defined(_WIN32)
#include <windows.h>

bool memory_isAvailable(size_t bytes, size_t) {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return !GlobalMemoryStatusEx(&status) || bytes <= status.ullAvailPhys;
}

void memory_useLargePages(void*, size_t) {}

#else

#include <sys/mman.h>
#include <unistd.h>

static constexpr uint64_t UNLIMITED = UINT64_MAX;

static uint64_t readNumber(const char* path) {
    uint64_t number = UNLIMITED;
    if (std::FILE* file = std::fopen(path, "r")) {
        if (std::fscanf(file, "%" SCNu64, &number) != 1) {
            number = UNLIMITED;  // "max"
        }
        std::fclose(file);
    }
    return number;
}

static uint64_t readMachine() {
    uint64_t kilobytes = UNLIMITED;
    if (std::FILE* file = std::fopen("/proc/meminfo", "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, file)) {
            if (std::sscanf(line, "MemAvailable: %" SCNu64, &kilobytes) == 1) {
                break;
            }
        }
        std::fclose(file);
    }
    return kilobytes > UNLIMITED / 1024 ? UNLIMITED : kilobytes * 1024;
}

/// What the process's control group leaves: its limit less its use, for both layouts of the group tree.
static uint64_t readGroup() {
    uint64_t left = UNLIMITED;
    std::FILE* file = std::fopen("/proc/self/cgroup", "r");
    if (!file) {
        return left;
    }
    char line[1024];
    while (std::fgets(line, sizeof line, file)) {
        line[std::strcspn(line, "\n")] = 0;
        const bool isUnified = std::strncmp(line, "0::", 3) == 0;
        const char* memory = std::strstr(line, ":memory:");
        if (!isUnified && !memory) {
            continue;
        }
        const std::string root = isUnified ? "/sys/fs/cgroup" : "/sys/fs/cgroup/memory";
        const char* limitName = isUnified ? "/memory.max" : "/memory.limit_in_bytes";
        const char* useName = isUnified ? "/memory.current" : "/memory.usage_in_bytes";
        for (std::string path = isUnified ? line + 3 : memory + 8;; path.resize(path.find_last_of('/'))) {
            const uint64_t limit = readNumber((root + path + limitName).c_str());
            const uint64_t use = readNumber((root + path + useName).c_str());
            if (limit != UNLIMITED && use != UNLIMITED) {
                const uint64_t rest = limit > use ? limit - use : 0;
                left = rest < left ? rest : left;
            }
            if (path.find('/') == std::string::npos) {
                break;
            }
        }
    }
    std::fclose(file);
    return left;
}

/// Bytes of this process that the machine really holds.
static uint64_t readResident() {
    uint64_t pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*u %" SCNu64, &pages) != 1) {
            pages = 0;
        }
        std::fclose(file);
    }
    return pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

bool memory_isAvailable(size_t bytes, size_t promised) {
    const uint64_t resident = readResident();
    const uint64_t needed = bytes + (promised > resident ? promised - resident : 0);
    return needed <= readMachine() && needed <= readGroup();
}

void memory_useLargePages(void* table, size_t bytes) {
#if defined(MADV_HUGEPAGE)
    static constexpr uintptr_t PAGE = uintptr_t{1} << 21;
    const size_t before = (PAGE - reinterpret_cast<uintptr_t>(table) % PAGE) % PAGE;  // up to the first whole page
    if (bytes >= before + PAGE) {
        // A wish: a refusal costs time alone.
        madvise(static_cast<char*>(table) + before, (bytes - before) / PAGE * PAGE, MADV_HUGEPAGE);
    }
#else
    (void)table;
    (void)bytes;
#endif
}

#endif
