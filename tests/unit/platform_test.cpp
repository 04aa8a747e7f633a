// Copies of files, and shared libraries.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/library.h"
#include "platform/memory.h"
#include "support/child.h"
#include "support/tempfolder.h"
#include "tarnvelde.h"

namespace fs = std::filesystem;

static const std::string EngineFile = std::string(TARNVELDE_ENGINE_FOLDER) + "libvorn.so";

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

/// The parts of a file name, one behind the other.
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

TEST(Clock, CountsMicrosecondsOfASecond) {
    const uint32_t first = clock_getMicroseconds();
    EXPECT_LT(first, 1000000u);
    while (clock_getMicroseconds() == first) {
    }
}

TEST(Library, GivesItsFunctions) {
    LibraryHandle library = library_load(EngineFile.c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_NE(library_findEntry(library, "vorn_open"), nullptr);
    EXPECT_EQ(library_findEntry(library, "vorn_nothing"), nullptr);
    library_release(library);
}

TEST(Library, ShowsItsFunctionsToNobodyElse) {
    LibraryHandle library = library_load(EngineFile.c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "vorn_open"), nullptr);
    library_release(library);
}

TEST(Library, ThatIsReleasedIsGone) {
    TempFolder folder;
    fs::copy_file(EngineFile, folder.file("once.dll"));
    const auto isMapped = [&] {
        return readFile("/proc/self/maps").find(folder.file("once.dll")) != std::string::npos;
    };
    LibraryHandle library = library_load(folder.file("once.dll").c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_TRUE(isMapped());
    library_release(library);
    EXPECT_FALSE(isMapped());
}

TEST(Library, IsNullIfItCantBeLoaded) {
    TempFolder folder;
    EXPECT_EQ(library_load(folder.file("missing").c_str()), nullptr);
    EXPECT_EQ(library_load(folder.write("text", "no library").c_str()), nullptr);
    EXPECT_EQ(library_load(folder.write("empty", "").c_str()), nullptr);
    EXPECT_EQ(library_load(folder.path.string().c_str()), nullptr);
    EXPECT_EQ(library_findEntry(nullptr, "vorn_open"), nullptr);
}

TEST(Library, OfABareNameIsTheFileInTheCurrentFolder) {
    TempFolder folder;
    fs::copy_file(EngineFile, folder.file("bare.dll"));
    const fs::path before = fs::current_path();
    fs::current_path(folder.path);
    LibraryHandle library = library_load("bare.dll");
    LibraryHandle system = library_load("libm.so.6");  // the system has it, the folder hasn't
    fs::current_path(before);
    EXPECT_NE(library, nullptr);
    EXPECT_EQ(system, nullptr);
    library_release(library);
}

TEST(Library, TwoCopiesHoldStatesOfTheirOwn) {
    TempFolder folder;
    fs::copy_file(EngineFile, folder.file("a.dll"));
    fs::copy_file(EngineFile, folder.file("b.dll"));
    folder.write("a.sti", "influent I\n");
    folder.write("b.sti", "effluent I\n");
    LibraryHandle a = library_load(folder.file("a.dll").c_str());
    LibraryHandle b = library_load(folder.file("b.dll").c_str());
    ASSERT_TRUE(a && b);
    const auto find = [](LibraryHandle library, const char* name) {
        return reinterpret_cast<int (*)(const char*)>(library_findEntry(library, name));
    };
    EXPECT_EQ(find(a, "vorn_open")(folder.file("a.sti").c_str()), 0);
    EXPECT_EQ(find(b, "vorn_open")(folder.file("b.sti").c_str()), 0);
    EXPECT_EQ(find(a, "vorn_getUnitType")("I"), 0);
    EXPECT_EQ(find(b, "vorn_getUnitType")("I"), 1);
    library_release(a);
    library_release(b);
}

TEST(LargePages, LeaveTheTableItself) {
    std::vector<char> table((size_t{9} << 20) + 3, 'a');
    const std::vector<char> before = table;
    for (const size_t start : {size_t{0}, size_t{1}, size_t{4097}}) {
        for (const size_t size : {size_t{0}, size_t{1}, size_t{3} << 20, table.size() - start}) {
            memory_useLargePages(table.data() + start, size);
            EXPECT_EQ(table, before);
        }
    }
    memory_useLargePages(nullptr, 0);
    std::fill(table.begin(), table.end(), 'b');
    EXPECT_EQ(std::count(table.begin(), table.end(), 'b'), static_cast<ptrdiff_t>(table.size()));
}
