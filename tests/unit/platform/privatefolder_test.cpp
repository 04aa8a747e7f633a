// Folders for code that is loaded: nobody else gets in, none outlives its process for long, and nothing that only bears
// such a name is touched.

#include "platform/privatefolder.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "support/child.h"
#include "support/tempfolder.h"

namespace fs = std::filesystem;

namespace {

/// A name as it could be drawn.
const std::string Name = "tarnvelde-engine-Abc123";

mode_t getMode(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// A folder that its process has left behind, with a file.
std::string leaveBehind(const TempFolder& place) {
    const int status = process_fork([&] {
        PrivateFolder folder;
        if (privatefolder_make(place.path.string(), folder)) {
            std::ofstream(folder.path + "copy.dll") << "engine";
        }
        return kill(getpid(), SIGKILL);
    });
    EXPECT_EQ(status, 128 + SIGKILL);
    const std::vector<std::string> names = place.list();
    EXPECT_EQ(names.size(), 1u);
    return names.empty() ? "" : names.front();
}

class PrivateFolders : public testing::Test {
protected:
    TempFolder place;

    void clear() const { privatefolder_clearLeftovers(place.path.string()); }
};

}  // namespace

TEST_F(PrivateFolders, AreForTheirOwnerAlone) {
    const mode_t before = umask(0);
    PrivateFolder first, second;
    ASSERT_TRUE(privatefolder_make(place.path.string(), first));
    ASSERT_TRUE(privatefolder_make(place.path.string() + "/", second));
    umask(before);
    EXPECT_NE(first.path, second.path);
    EXPECT_EQ(fs::path(first.path).parent_path().parent_path(), place.path);
    EXPECT_EQ(getMode(first.path), 0700u);
    EXPECT_EQ(first.path.back(), '/');
    privatefolder_remove(first);
    privatefolder_remove(second);
    EXPECT_TRUE(place.list().empty());
    EXPECT_TRUE(first.path.empty());
}

TEST_F(PrivateFolders, CantBeMadeWhereThereIsNoPlace) {
    PrivateFolder folder;
    EXPECT_FALSE(privatefolder_make(place.file("nowhere"), folder));
    EXPECT_TRUE(folder.path.empty());
    privatefolder_remove(folder);
}

TEST_F(PrivateFolders, OfAKilledProcessGoWithTheirFiles) {
    ASSERT_FALSE(leaveBehind(place).empty());
    clear();
    EXPECT_TRUE(place.list().empty());
}

TEST_F(PrivateFolders, OfALivingProcessStay) {
    PrivateFolder folder;
    ASSERT_TRUE(privatefolder_make(place.path.string(), folder));
    std::ofstream(folder.path + "copy.dll") << "engine";
    clear();
    EXPECT_EQ(process_fork([&] { return clear(), 0; }), 0);
    EXPECT_EQ(readFile(folder.path + "copy.dll"), "engine");
    fs::remove(folder.path + "copy.dll");
    privatefolder_remove(folder);
}

TEST_F(PrivateFolders, AreNotReachedThroughLinks) {
    const TempFolder treasure;
    treasure.write("copy.dll", "not ours");
    fs::permissions(treasure.path, fs::perms::owner_all);
    fs::create_directory_symlink(treasure.path, place.path / Name);
    clear();
    EXPECT_EQ(readFile(treasure.file("copy.dll")), "not ours");
    EXPECT_TRUE(fs::is_symlink(place.path / Name));
    fs::remove(place.path / Name);

    const std::string left = leaveBehind(place);
    fs::create_symlink(treasure.file("copy.dll"), place.path / left / "link.dll");
    clear();
    EXPECT_TRUE(place.list().empty());
    EXPECT_EQ(readFile(treasure.file("copy.dll")), "not ours");
}

TEST_F(PrivateFolders, OfOthersAreLeftAlone) {
    place.write(Name, "a file");
    const std::vector<std::string> others = {"tarnvelde-engine-", "tarnvelde-engine-Abc1234", "tarnvelde-test-Abc123"};
    for (const std::string& name : others) {
        fs::create_directory(place.path / name);
        fs::permissions(place.path / name, fs::perms::owner_all);
    }
    fs::create_directory(place.path / "tarnvelde-engine-open00");  // others may look into it
    fs::permissions(place.path / "tarnvelde-engine-open00", fs::perms(0755));
    fs::create_directories(place.path / "tarnvelde-engine-deep00" / "inner");
    fs::permissions(place.path / "tarnvelde-engine-deep00", fs::perms::owner_all);
    const std::vector<std::string> before = place.list();
    clear();
    EXPECT_EQ(place.list(), before);
}

TEST_F(PrivateFolders, OfAnotherUserAreLeftAlone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root gives folders away";
    }
    fs::create_directory(place.path / Name);
    fs::permissions(place.path / Name, fs::perms::owner_all);
    ASSERT_EQ(chown(place.file(Name).c_str(), 65534, 65534), 0);
    clear();
    EXPECT_TRUE(place.has(Name));
}

TEST_F(PrivateFolders, AreMadeWhereNobodyCanExchangeThem) {
    const char* before = getenv("TMPDIR");
    const std::string kept = before ? before : "";
    const auto isTaken = [](const std::string& path) {
        setenv("TMPDIR", path.c_str(), 1);
        const std::vector<std::string> places = privatefolder_findPlaces();
        return std::find(places.begin(), places.end(), path) != places.end();
    };
    const std::string path = place.path.string();
    fs::permissions(place.path, fs::perms(0700));
    EXPECT_TRUE(isTaken(path));
    fs::permissions(place.path, fs::perms(01777));
    EXPECT_TRUE(isTaken(path));
    fs::permissions(place.path, fs::perms(0777));
    EXPECT_FALSE(isTaken(path));
    fs::permissions(place.path, fs::perms(0770));
    EXPECT_FALSE(isTaken(path));
    EXPECT_FALSE(isTaken(path + "/nowhere"));
    EXPECT_FALSE(isTaken("."));
    fs::permissions(place.path, fs::perms(0700));
    if (before) {
        setenv("TMPDIR", kept.c_str(), 1);
    } else {
        unsetenv("TMPDIR");
    }
}
