// What the library writes and answers in each case of the golden host has the hashes that golden/hashes.txt keeps.
//
//     golden_tests --remake [LIBRARY]     makes that file anew; golden/README.md tells when this is right
//     TARNVELDE_GOLDEN_KEEP=FOLDER        keeps what the cases leave behind, in FOLDER/CASE

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string read(const fs::path& name) {
    std::ostringstream text;
    text << std::ifstream(name, std::ios::binary).rdbuf();
    return text.str();
}

/// FNV-1a over 64 bits, behind the number of bytes.
std::string hash(const std::string& bytes) {
    uint64_t sum = 0xCBF29CE484222325u;
    for (const char byte : bytes) {
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    }
    char text[48];
    std::snprintf(text, sizeof text, "%zu %016llx", bytes.size(), static_cast<unsigned long long>(sum));
    return text;
}

// --- the host ------------------------------------------------------------------------------------------------------

/// Runs the host with these words; its output goes to a file. Its exit status, or 128 + signal.
int runHost(std::vector<std::string> words, const std::string& output) {
    words.insert(words.begin(), GOLDEN_HOST);
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t child = 0;
    const int failure = posix_spawn(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        return -1;
    }
    int state = 0;
    waitpid(child, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
}

/// A folder for one process, gone with it unless it is to be kept.
struct WorkFolder {
    fs::path path;
    bool isKept = false;

    WorkFolder() {
        if (const char* kept = std::getenv("TARNVELDE_GOLDEN_KEEP")) {
            path = fs::absolute(kept);
            isKept = true;
            fs::create_directories(path);
        } else {
            std::string name = (fs::temp_directory_path() / "tarnvelde-golden-XXXXXX").string();
            path = mkdtemp(name.data());
        }
    }
    ~WorkFolder() {
        std::error_code ignored;
        if (!isKept) {
            fs::remove_all(path, ignored);
        }
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
};

std::vector<std::string> listCases() {
    WorkFolder folder;
    const std::string file = (folder.path / ("list-" + std::to_string(getpid()))).string();
    if (runHost({"--list"}, file) != 0) {
        return {};
    }
    std::vector<std::string> names;
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        names.push_back(line);
    }
    fs::remove(file);
    return names;
}

// --- hashes --------------------------------------------------------------------------------------------------------

/// By artefact: "project" for what went in, else the name of the file.
using Hashes = std::map<std::string, std::string>;

Hashes hashFolder(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (!entry.is_symlink() && entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    Hashes hashes;
    std::string project;
    for (const fs::path& file : files) {
        const std::string extension = file.extension().string();
        if (extension == ".inp" || extension == ".sti" || extension == ".dat") {
            project += file.filename().string() + "\n" + read(file);
        } else if (extension != ".db") {  // its bytes tell the version of SQLite; its rows are in database.txt
            hashes[file.filename().string()] = hash(read(file));
        }
    }
    hashes["project"] = hash(project);
    return hashes;
}

/// Runs a case; what is wrong with the run itself, or nothing.
std::string runCase(const std::string& library, const std::string& name, const fs::path& folder, Hashes& hashes) {
    const int status = runHost({library, name, (folder / name).string()}, "/dev/null");
    hashes = hashFolder(folder / name);
    return status == 0 ? "" : "the host ended with status " + std::to_string(status);
}

/// By case.
std::map<std::string, Hashes> readKept() {
    std::map<std::string, Hashes> kept;
    std::ifstream stream(GOLDEN_HASHES);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string name, artefact, rest;
        words >> name >> artefact >> std::ws;
        std::getline(words, rest);
        kept[name][artefact] = rest;
    }
    return kept;
}

std::vector<std::string> listKept() {
    std::vector<std::string> names;
    for (const auto& [name, hashes] : readKept()) {
        names.push_back(name);
    }
    return names;
}

/// One line for each artefact that isn't what is kept.
std::string compare(const Hashes& kept, const Hashes& made) {
    std::ostringstream differences;
    for (const auto& [artefact, sum] : kept) {
        const auto found = made.find(artefact);
        if (found == made.end()) {
            differences << "  " << artefact << " is missing\n";
        } else if (found->second != sum) {
            differences << "  " << artefact << " differs: " << found->second << ", kept is " << sum << '\n';
        }
    }
    for (const auto& [artefact, sum] : made) {
        if (kept.find(artefact) == kept.end()) {
            differences << "  " << artefact << " is new: " << sum << '\n';
        }
    }
    return differences.str();
}

int remake(const std::string& library) {
    const std::map<std::string, Hashes> kept = readKept();
    WorkFolder folder;
    std::ostringstream text;
    for (const std::string& name : listCases()) {
        Hashes hashes;
        const std::string failure = runCase(library, name, folder.path, hashes);
        if (!failure.empty()) {
            std::fprintf(stderr, "%s: %s; nothing is changed\n", name.c_str(), failure.c_str());
            return 1;
        }
        const auto old = kept.find(name);
        const std::string differences = compare(old == kept.end() ? Hashes() : old->second, hashes);
        if (!differences.empty()) {
            std::printf("%s\n%s", name.c_str(), differences.c_str());
        }
        for (const auto& [artefact, sum] : hashes) {
            text << name << ' ' << artefact << ' ' << sum << '\n';
        }
    }
    std::ofstream(GOLDEN_HASHES, std::ios::binary) << text.str();
    return 0;
}

class Golden : public ::testing::TestWithParam<std::string> {};

std::string makeTestName(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

}  // namespace

TEST_P(Golden, isKept) {
    WorkFolder folder;
    Hashes made;
    const std::string failure = runCase(TARNVELDE_LIBRARY_FILE, GetParam(), folder.path, made);
    EXPECT_EQ(failure, "");
    std::map<std::string, Hashes> kept = readKept();
    EXPECT_EQ(compare(kept[GetParam()], made), "")
        << "If \"project\" differs, the case has changed and not the engine alone.\n"
        << "TARNVELDE_GOLDEN_KEEP=FOLDER keeps the files of the case in FOLDER/" << GetParam() << ";\n"
        << "scripts/compare-libraries.sh shows where they differ from those of another library.";
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, ::testing::ValuesIn(listKept()), makeTestName);

TEST(GoldenHashes, areThoseOfTheCases) {
    std::vector<std::string> names = listCases();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, listKept());
}

int main(int argc, char** argv) {
    if (argc >= 2 && std::string(argv[1]) == "--remake") {
        return remake(argc > 2 ? argv[2] : TARNVELDE_LIBRARY_FILE);
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
