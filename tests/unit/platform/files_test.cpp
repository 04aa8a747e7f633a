// Files: copies, names, and what is a file.

#include "platform/files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "support/child.h"
#include "support/tempfolder.h"
#include "tarnvelde.h"

namespace fs = std::filesystem;

TEST(FileCopy, CopiesEveryByte) {
    TempFolder folder;
    std::string bytes;
    for (int k = 0; k < 3 * 4096 + 17; ++k) {
        bytes += static_cast<char>(k * 7);
    }
    for (const size_t size : {size_t{0}, size_t{1}, size_t{4096}, size_t{8192}, bytes.size()}) {
        folder.write("from", bytes.substr(0, size));
        EXPECT_EQ(files_copy(folder.file("from"), folder.file("to")), COPY_DONE);
        EXPECT_EQ(readFile(folder.file("to")), bytes.substr(0, size));
        fs::remove(folder.file("to"));
    }
}

TEST(FileCopy, LeavesAFileOfThatNameAlone) {
    TempFolder folder;
    folder.write("from", "new");
    folder.write("to", "old");
    EXPECT_EQ(files_copy(folder.file("from"), folder.file("to")), COPY_EXISTS);
    EXPECT_EQ(readFile(folder.file("to")), "old");
    fs::create_symlink(folder.file("nowhere"), folder.file("link"));
    EXPECT_EQ(files_copy(folder.file("from"), folder.file("link")), COPY_EXISTS);
}

TEST(FileCopy, FailsWithoutASourceOrAFolder) {
    TempFolder folder;
    folder.write("from", "bytes");
    EXPECT_EQ(files_copy(folder.file("missing"), folder.file("to")), COPY_FAILED);
    EXPECT_EQ(files_copy(folder.path.string(), folder.file("to")), COPY_FAILED);
    EXPECT_EQ(files_copy(folder.file("from"), folder.file("no/folder/to")), COPY_FAILED);
    EXPECT_FALSE(fs::exists(folder.file("to")));
}

TEST(FileCopy, ThatFindsNoRoomLeavesNothing) {
    TempFolder folder;
    folder.write("from", std::string(20000, 'x'));
    const int status = process_fork([&] {
        process_limitFileSize(8192);  // two blocks, and part of the file
        return files_copy(folder.file("from"), folder.file("to")) == COPY_FAILED ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(fs::exists(folder.file("to")));
}

TEST(FileCopy, IsForTheUserAlone) {
    TempFolder folder;
    folder.write("from", "bytes");
    ASSERT_EQ(files_copy(folder.file("from"), folder.file("to")), COPY_DONE);
    const fs::perms others = fs::perms::group_all | fs::perms::others_all;
    EXPECT_EQ(fs::status(folder.file("to")).permissions() & others, fs::perms::none);
}

TEST(FileForReading, IsAFileAndNothingElse) {
    TempFolder folder;
    std::FILE* file = files_openForReading(folder.write("file", "text").c_str());
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_EQ(files_openForReading(folder.path.c_str()), nullptr);
    EXPECT_EQ(files_openForReading(folder.file("missing").c_str()), nullptr);
    EXPECT_EQ(files_openForReading("/dev/zero"), nullptr) << "a device without an end";
    EXPECT_EQ(tarnvelde_open("/dev/zero", folder.file("r").c_str(), folder.file("b").c_str()), 303);
    tarnvelde_close();
}

/// The parts of a file name, one after the other.
static std::string splitPath(const char* path) {
    const PathParts parts = files_splitPath(path);
    return parts.drive + "|" + parts.folder + "|" + parts.base + "|" + parts.extension;
}

TEST(FileName, HasADriveAFolderABaseAndAnExtension) {
    EXPECT_EQ(splitPath("C:a\\b/m.x.inp"), "C:|a\\b/|m.x|.inp");
    EXPECT_EQ(splitPath("/m.inp"), "|/|m|.inp");
    EXPECT_EQ(splitPath("C:m"), "C:||m|");
    EXPECT_EQ(splitPath(".inp"), "|||.inp");
    EXPECT_EQ(splitPath("a.b/m"), "|a.b/|m|");
    EXPECT_EQ(splitPath(""), "|||");
}

TEST(FileExists, SeesFilesAndFolders) {
    TempFolder folder;
    EXPECT_TRUE(files_exists(folder.path.string()));
    EXPECT_TRUE(files_exists(folder.write("file", "")));
    EXPECT_FALSE(files_exists(folder.file("missing")));
    EXPECT_FALSE(files_exists(""));
}

TEST(ProgramPath, IsTheRunningProgram) {
    EXPECT_EQ(files_getProgramPath(), fs::read_symlink("/proc/self/exe").string());
}
