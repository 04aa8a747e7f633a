// Shared libraries, loaded as private copies.

#include "platform/library.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/tempfolder.h"

namespace fs = std::filesystem;

static const std::string EngineFile = std::string(TARNVELDE_ENGINE_FOLDER) + "libvorn.so";

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
