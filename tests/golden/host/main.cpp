// Runs one case with a library and leaves behind what that wrote:
//
//     golden_host --list                                 names of all cases
//     golden_host LIBRARY CASE FOLDER                    one case
//     golden_host LIBRARY --project MODEL.inp FOLDER     any project, with the files that lie beside it
//     golden_host LIBRARY --bench NAME STEPS FOLDER      opens, starts and steps a benchmark, and leaves without an end
//
// The folder is made anew. All names that the library sees are relative to it, so that no path shows in what it writes.
// GOLDEN_ARITHMETIC in the environment names a way in which the host has set the processor
// (tests/support/arithmetic.h); with GOLDEN_LOCALE the host takes the locale of its environment. Standard output goes
// to stdout.txt there, the calls to calls.txt, the rows of the database to database.txt.

#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "bench.h"
#include "host.h"

namespace fs = std::filesystem;

std::vector<Case> cases_makeAll(const std::string& examples) {
    std::vector<Case> cases;
    cases_addMathematics(cases);
    cases_addExamples(cases, examples);
    cases_addNetworks(cases);
    cases_addTowns(cases);
    cases_addStorage(cases);
    cases_addEdges(cases);
    cases_addLand(cases);
    cases_addLids(cases);
    cases_addReading(cases);
    cases_addBroken(cases);
    cases_addCoupled(cases);
    cases_addScripts(cases);
    return cases;
}

namespace {

/// A fresh folder with these files, the engines and a place for their copies; becomes the current one.
bool enterFolder(const fs::path& folder, const std::vector<File>& files) {
    std::error_code error;
    const fs::path engines = fs::read_symlink("/proc/self/exe").parent_path();
    fs::remove_all(folder, error);
    fs::create_directories(folder / "copies", error);
    if (error) {
        std::fprintf(stderr, "%s can't be made\n", folder.c_str());
        return false;
    }
    fs::current_path(folder);
    fs::create_directory_symlink(engines, "engines");
    for (const File& file : files) {
        std::ofstream(file.name, std::ios::binary) << file.text;
    }
    setenv("TARNVELDE_ENGINE_LOG", "engine.log", 1);
    return true;
}

/// From now on standard output goes to a file.
void divertOutput(const char* name) {
    const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(file, STDOUT_FILENO);
    close(file);
}

/// What copies of engines are left; there should be none.
void countCopies(Host& host) {
    const auto count = std::distance(fs::directory_iterator("copies"), fs::directory_iterator());
    host_say(host, std::to_string(count) + " copies left");
}

/// How the host is to have set the processor. False if there is no such setting.
bool readSetting(Host& host) {
    const char* name = std::getenv("GOLDEN_ARITHMETIC");
    if (!name) {
        return true;
    }
#if defined(__x86_64__)
    for (const HostSetting& setting : HostSettings) {
        if (std::strcmp(setting.name, name) == 0) {
            host.setting = &setting;
            return true;
        }
    }
#else
    static_cast<void>(host);
#endif
    std::fprintf(stderr, "no arithmetic %s\n", name);
    return false;
}

int runCase(const std::string& path, const Case& chosen, const std::string& folder) {
    Host host;
    if (!readSetting(host) || !library_load(fs::absolute(path).string(), host.library) ||
        !enterFolder(folder, chosen.files)) {
        return 2;
    }
    divertOutput("stdout.txt");
    host.calls = std::fopen("calls.txt", "wb");
    if (std::getenv("GOLDEN_LOCALE") && !setlocale(LC_ALL, "")) {
        std::fprintf(stderr, "there is no such locale\n");
        return 2;
    }
    chosen.script(host);
    setlocale(LC_ALL, "C");
    countCopies(host);
    std::fclose(host.calls);
    std::fflush(nullptr);
    if (fs::exists("model.db")) {
        database_dump("model.db", "database.txt");
    }
    return 0;
}

/// The project as model.inp, and the plain files beside it.
Case makeProjectCase(const fs::path& project) {
    Case made{"project", {}, script_runCoupled};
    for (const auto& entry : fs::directory_iterator(fs::absolute(project).parent_path())) {
        const std::string extension = entry.path().extension().string();
        const bool isInput = extension == ".inp" || extension == ".dat" || extension == ".sti" || extension == ".txt";
        if (entry.is_regular_file() && isInput) {
            const bool isProject = fs::equivalent(entry.path(), project);
            std::ostringstream text;
            text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            made.files.push_back({isProject ? "model.inp" : entry.path().filename().string(), text.str()});
        }
    }
    return made;
}

int runBench(const std::string& path, const std::string& name, int steps, const std::string& folder) {
    Host host;
    const std::string text = bench_makeProject(name, TARNVELDE_EXAMPLES);
    if (text.empty() || !library_load(fs::absolute(path).string(), host.library) ||
        !enterFolder(folder, {{"model.inp", text}})) {
        return 2;
    }
    divertOutput("/dev/null");
    double days = 0.0;
    int32_t code = host.library.open("model.inp", "model.rpt", "model.bin");
    code = code ? code : host.library.start(TARNVELDE_SAVE_BINARY);
    for (int k = 0; k < steps && code == 0; ++k) {
        code = host.library.step(&days);
    }
    std::fprintf(stderr, "code %d, day %.6f\n", static_cast<int>(code), days);
    std::fflush(nullptr);
    _exit(code == 0 ? 0 : 1);
}

int runNamedCase(const std::string& path, const std::string& name, const std::string& folder) {
    for (const Case& candidate : cases_makeAll(TARNVELDE_EXAMPLES)) {
        if (candidate.name == name) {
            return runCase(path, candidate, folder);
        }
    }
    std::fprintf(stderr, "no case %s\n", name.c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 1 && words[0] == "--list") {
        for (const Case& each : cases_makeAll(TARNVELDE_EXAMPLES)) {
            std::printf("%s\n", each.name.c_str());
        }
        return 0;
    }
    if (words.size() == 4 && words[1] == "--project") {
        return runCase(words[0], makeProjectCase(words[2]), words[3]);
    }
    if (words.size() == 5 && words[1] == "--bench") {
        return runBench(words[0], words[2], std::atoi(words[3].c_str()), words[4]);
    }
    if (words.size() == 3) {
        return runNamedCase(words[0], words[1], words[2]);
    }
    std::fprintf(stderr,
                 "golden_host --list | LIBRARY CASE FOLDER | LIBRARY --project MODEL.inp FOLDER |\n"
                 "            LIBRARY --bench NAME STEPS FOLDER\n");
    return 2;
}
