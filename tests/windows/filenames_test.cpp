// Names of files on Windows: UTF-8 in, UTF-8 out, whatever the code page of the process.

#include "platform/filenames.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "platform/files.h"
#include "platform/outputs.h"
#include "support/tempfolder.h"

TEST(FileNames, Utf8BecomesUtf16AndBack) {
    EXPECT_EQ(filenames_widen("a \xC3\xBC.inp"), L"a \u00FC.inp");
    EXPECT_EQ(filenames_narrow(L"\u00FC\u4E2D.inp"), "\xC3\xBC\xE4\xB8\xAD.inp");
    EXPECT_EQ(filenames_widen(""), L"");
}

TEST(FileNames, WhatIsNoUtf8IsOfTheCodePage) {
    EXPECT_EQ(filenames_widen("\xFC").size(), 1U);
}

TEST(FileNames, FilesWithUmlautsAreWrittenReadAndDeleted) {
    const TempFolder folder;
    const std::string name = filenames_narrow(folder.path.c_str()) + "\\gr\xC3\xBC\xC3\x9F.txt";
    EXPECT_EQ(outputs_writeWhole(name, "text", 4), OUTPUT_FINE);
    EXPECT_EQ(outputs_writeWhole(name, "other", 5), OUTPUT_FINE);  // takes the place of the first
    EXPECT_TRUE(std::filesystem::exists(folder.path / L"gr\u00FC\u00DF.txt"));
    std::vector<char> bytes;
    ASSERT_TRUE(files_readWhole(name, bytes));
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "other");
    EXPECT_TRUE(files_delete(name.c_str()));
    EXPECT_FALSE(files_exists(name));
    EXPECT_TRUE(folder.list().empty());
}

TEST(FileNames, ASecondRunIsRefusedAFile) {
    const TempFolder folder;
    const std::string name = filenames_narrow(folder.path.c_str()) + "\\a b.bin";
    OutputPlace first, second;
    OutputFault fault = OUTPUT_FINE;
    std::FILE* file = outputs_open(first, name, true, fault);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(outputs_open(second, name, true, fault), nullptr);
    EXPECT_EQ(fault, OUTPUT_IN_USE);
    std::fputs("x\n", file);
    EXPECT_EQ(outputs_finish(first, file), OUTPUT_FINE);
    EXPECT_EQ(readFile(folder.path / "a b.bin"), "x\n");
    EXPECT_FALSE(folder.has("a b.bin.part"));
}

TEST(FileNames, TheProgramKnowsItsOwnFile) {
    EXPECT_TRUE(files_exists(files_getProgramPath()));
    EXPECT_EQ(files_splitPath(files_getProgramPath()).extension, ".exe");
}
