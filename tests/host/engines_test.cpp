// Engines inside nodes, for a user who may write nothing beside the program, and for several programs at once.

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "program.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned NOBODY = 65534;

/// A program with its library and the engines in a folder where nothing can be written, and the example with models
/// inside nodes in another one.
struct Installed {
    TempFolder folder;
    std::string program = folder.file("bin/tarnvelde"), project = folder.file("project/coupled.inp");

    Installed() {
        fs::permissions(folder.path, fs::perms(0755));
        for (const char* name : {"bin", "tmp"}) {
            fs::create_directory(folder.path / name);
        }
        fs::copy(TARNVELDE_PROGRAM, program);
        fs::copy(TARNVELDE_LIBRARY_FILE, folder.path / "bin" / "libtarnvelde.so.2");
        for (const char* name : {"libswmm5ex.so", "libvorn.so"}) {
            fs::copy(std::string(TARNVELDE_ENGINE_FOLDER) + name, folder.path / "bin" / name);
        }
        fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "coupled", folder.path / "project");
        fs::permissions(folder.path / "tmp", fs::perms(01777));
        fs::permissions(folder.path / "project", fs::perms(0777));
        for (const auto& entry : fs::directory_iterator(folder.path / "project")) {
            fs::permissions(entry.path(), fs::perms(0666));
        }
        fs::permissions(folder.path / "bin", fs::perms(0555));
    }
    ~Installed() { fs::permissions(folder.path / "bin", fs::perms(0755)); }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;

    /// As somebody who isn't root, whom no rights bind.
    ProcessResult run() const {
        std::vector<std::string> words = {"env", "TMPDIR=" + folder.file("tmp"), program, "run", project, "--quiet"};
        if (geteuid() == 0) {
            const std::string user = std::to_string(NOBODY);
            words.insert(words.begin(), {"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups"});
        }
        return process_run(words);
    }
};

bool canBeSomebodyElse() {
    return geteuid() != 0 ||
           process_run({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "true"}).status == 0;
}

/// The example in a folder of its own.
struct Coupled {
    TempFolder folder;
    std::string project = folder.file("coupled.inp");

    Coupled() {
        fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "coupled", folder.path, fs::copy_options::recursive);
    }

    ProcessResult run(const TempFolder& place) const {
        return process_run({"env", "TMPDIR=" + place.path.string(), TARNVELDE_PROGRAM, "run", project, "--quiet"});
    }

    /// With folders of engines, each given by an option of its own.
    ProcessResult runWith(const std::vector<std::string>& engines) const {
        std::vector<std::string> words = {TARNVELDE_PROGRAM, "run", project, "--quiet"};
        for (const std::string& one : engines) {
            words.insert(words.end(), {"--engines", one});
        }
        return process_run(words);
    }
};

/// A folder with copies of some of the small engines.
struct EnginePlace {
    TempFolder folder;
    std::string path = folder.path.string();

    explicit EnginePlace(const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            fs::copy(TARNVELDE_ENGINE_FOLDER + name, folder.path / name);
        }
    }
};

}  // namespace

TEST(Engines, NeedNoRightToWriteBesideTheProgram) {
    if (!canBeSomebodyElse()) {
        GTEST_SKIP() << "nobody else can be had";
    }
    const Installed installed;
    const ProcessResult result = installed.run();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(fs::is_empty(installed.folder.path / "tmp"));
    EXPECT_GT(fs::file_size(installed.folder.path / "project" / "coupled.rpt"), 1000u);
}

TEST(Engines, OfSeveralProgramsAtOnceDontMeet) {
    const TempFolder place;
    const Coupled alone;
    ASSERT_EQ(alone.run(place).status, 0);
    const std::string expected = readFile(alone.folder.file("coupled.bin"));
    ASSERT_GT(expected.size(), 1000u);
    const auto runOften = [&](bool& isSame) {
        for (int run = 0; run < 8; ++run) {
            const Coupled other;
            isSame = other.run(place).status == 0 && readFile(other.folder.file("coupled.bin")) == expected && isSame;
        }
    };
    bool isFirstSame = true, isSecondSame = true;
    std::thread second([&] { runOften(isSecondSame); });
    runOften(isFirstSame);
    second.join();
    EXPECT_TRUE(isFirstSame);
    EXPECT_TRUE(isSecondSame);
    EXPECT_TRUE(place.list().empty());
}

TEST(Engines, DontFollowALinkThatSomebodyPlanted) {
    const TempFolder place, treasure;
    treasure.write("copy.dll", "not ours");
    fs::create_directory_symlink(treasure.path, place.path / "tarnvelde-engine-Abc123");
    const Coupled coupled;
    const ProcessResult result = coupled.run(place);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(treasure.file("copy.dll")), "not ours");
    EXPECT_EQ(treasure.list().size(), 1u);
}

TEST(Engines, LeftByAKilledProgramGoWithTheNext) {
    const TempFolder place;
    const fs::path left = place.path / "tarnvelde-engine-Abc123";
    fs::create_directory(left);
    fs::permissions(left, fs::perms::owner_all);
    place.write("tarnvelde-engine-Abc123/copy.dll", "engine");
    const Coupled coupled;
    EXPECT_EQ(coupled.run(place).status, 0);
    EXPECT_TRUE(place.list().empty());
}

TEST(EngineFolders, ServeTheKindOfNodeThatTheyHaveALibraryFor) {
    const Coupled usual, districts, works, both;
    ASSERT_EQ(usual.runWith({}).status, 0);
    const std::string expected = readFile(usual.folder.file("coupled.bin"));
    ASSERT_GT(expected.size(), 1000u);
    const EnginePlace swmm({"libswmm5ex.so"}), plant({"libvorn.so"});
    for (const auto& [coupled, folders] : std::initializer_list<std::pair<const Coupled&, std::vector<std::string>>>{
             {districts, {swmm.path}}, {works, {plant.path}}, {both, {plant.path, swmm.path}}}) {
        const ProcessResult result = coupled.runWith(folders);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(readFile(coupled.folder.file("coupled.bin")), expected);
    }
}

/// A file that is no library can't be loaded: only the run that takes it says so.
TEST(EngineFolders, AreTakenInTheirOrder) {
    const TempFolder broken;
    broken.write("libvorn.so", "no library");
    const EnginePlace whole({"libswmm5ex.so", "libvorn.so"});
    const Coupled good, bad;
    const ProcessResult first = good.runWith({whole.path, broken.path.string()});
    EXPECT_EQ(first.status, 0) << first.err;
    const ProcessResult second = bad.runWith({broken.path.string(), whole.path});
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.err.find("ERROR 924"), std::string::npos) << second.err;
    EXPECT_EQ(second.err.find("ERROR 233"), std::string::npos) << second.err;
}

TEST(EngineFolders, WithoutAnyEngineAreAMistake) {
    const TempFolder empty;
    const EnginePlace plant({"libvorn.so"});
    const Coupled coupled;
    for (const std::vector<std::string>& folders :
         {std::vector{empty.path.string()}, {plant.path, empty.path.string()}}) {
        const ProcessResult result = coupled.runWith(folders);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.err.find("ERROR 243"), std::string::npos) << result.err;
        EXPECT_NE(result.err.find(empty.path.string() + "/swmm5ex.dll"), std::string::npos) << result.err;
    }
    const ProcessResult nothing = coupled.runWith({plant.path, empty.file("nothing")});
    EXPECT_EQ(nothing.status, 2);
    EXPECT_NE(nothing.err.find("no folder: " + empty.file("nothing")), std::string::npos) << nothing.err;
}

TEST(EngineFolders, AreOneWordEachAheadOfTheProject) {
    const Coupled coupled;
    const EnginePlace whole({"libswmm5ex.so", "libvorn.so"});
    const ProcessResult result =
        process_run({TARNVELDE_PROGRAM, "run", "--engines", whole.path, coupled.project, "--quiet"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(coupled.folder.has("coupled.rpt"));
}
