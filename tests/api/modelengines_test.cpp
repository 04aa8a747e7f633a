// Where models of the second face load their private copies of engines from.

#include <gtest/gtest.h>

#include <string>

#include "support/allkinds.h"
#include "support/tvmodel.h"

namespace {

/// The temporary folder of the system for as long as it lives.
struct SystemFolder {
    TempFolder folder;
    std::string before;

    SystemFolder() {
        const char* name = getenv("TMPDIR");
        before = name ? name : "";
        setenv("TMPDIR", folder.path.c_str(), 1);
    }
    ~SystemFolder() {
        if (before.empty()) {
            unsetenv("TMPDIR");
        } else {
            setenv("TMPDIR", before.c_str(), 1);
        }
    }
    SystemFolder(const SystemFolder&) = delete;
    SystemFolder& operator=(const SystemFolder&) = delete;
};

/// Whether code runs that was loaded from below a folder.
bool isLoadedFrom(const std::string& folder) {
    return readFile("/proc/self/maps").find(folder + "/tarnvelde-engine-") != std::string::npos;
}

std::vector<std::string> listEngines() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(TARNVELDE_ENGINE_FOLDER)) {
        if (entry.path().extension() == ".dll") {
            names.push_back(entry.path().string());
        }
    }
    return names;
}

}  // namespace

TEST(ModelEngines, AreLoadedFromTheFolderOfTheSystemAndLeaveNothingThere) {
    const AllKinds project;
    const SystemFolder system;
    const std::vector<std::string> before = listEngines();
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        const TvModel model;
        ASSERT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, none, TARNVELDE_ENGINE_FOLDER, none), TV_OK);
        ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
        EXPECT_TRUE(isLoadedFrom(system.folder.path.string()));
        EXPECT_TRUE(system.folder.list().empty());
        EXPECT_EQ(listEngines(), before);
        ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
        EXPECT_EQ(tv_runUntil(model, TV_END), TV_OK);
        EXPECT_EQ(tv_close(model), TV_OK);
        EXPECT_FALSE(isLoadedFrom(system.folder.path.string()));
    }
}

TEST(ModelEngines, AreLoadedFromTheFolderThatIsChosen) {
    const AllKinds project;
    const SystemFolder system;
    const TvModel model;
    ASSERT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, project.copies.c_str(), TARNVELDE_ENGINE_FOLDER,
                            project.copies.c_str()),
              TV_OK);
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    EXPECT_FALSE(isLoadedFrom(system.folder.path.string()));
    EXPECT_TRUE(isLoadedFrom(project.copies.substr(0, project.copies.size() - 1)));
    EXPECT_TRUE(project.getCopies().empty());
}

/// Nobody takes a folder for safe in which everybody may exchange what is there.
TEST(ModelEngines, AreNotLoadedWhereOthersCanExchangeThem) {
    const AllKinds project;
    const SystemFolder system;
    std::filesystem::permissions(system.folder.path, std::filesystem::perms::all);
    const TvModel model;
    ASSERT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, nullptr, TARNVELDE_ENGINE_FOLDER, nullptr), TV_OK);
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    EXPECT_FALSE(isLoadedFrom(system.folder.path.string()));
}

TEST(ModelEngines, TellOfAFolderThatIsNotThere) {
    const AllKinds project;
    const TvModel model;
    ASSERT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, "nowhere/", TARNVELDE_ENGINE_FOLDER, "nowhere/"), TV_OK);
    EXPECT_EQ(tv_open(model, project.input.c_str(), nullptr), 921);
}

/// Each model of a process has copies of its own, and what one has left behind goes with the next opening.
TEST(ModelEngines, ClearWhatAKilledProcessHasLeft) {
    const AllKinds project;
    const SystemFolder system;
    const std::filesystem::path left = system.folder.path / "tarnvelde-engine-Abc123";
    std::filesystem::create_directory(left);
    std::filesystem::permissions(left, std::filesystem::perms::owner_all);
    system.folder.write("tarnvelde-engine-Abc123/copy.dll", "engine");
    const TvModel model;
    ASSERT_EQ(tv_setEngines(model, TARNVELDE_ENGINE_FOLDER, nullptr, TARNVELDE_ENGINE_FOLDER, nullptr), TV_OK);
    ASSERT_EQ(tv_open(model, project.input.c_str(), nullptr), TV_OK);
    EXPECT_TRUE(system.folder.list().empty());
}
