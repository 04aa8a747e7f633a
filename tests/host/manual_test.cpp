// The examples of docs/models.md compile as they stand, and the whole program among them runs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "program.h"
#include "support/sanitizer.h"

namespace {

/// All blocks of C in a chapter of the manual.
std::vector<std::string> readBlocks(const char* chapter) {
    const std::string text = readFile(std::string(TARNVELDE_SOURCE_DIR "/docs/") + chapter);
    std::vector<std::string> blocks;
    const std::string head = "\n```c\n";
    for (size_t at = text.find(head); at != std::string::npos; at = text.find(head, at)) {
        at += head.size();
        blocks.push_back(text.substr(at, text.find("\n```", at) + 1 - at));
    }
    return blocks;
}

ProcessResult compile(std::vector<std::string> arguments) {
    const std::string headers = TARNVELDE_SOURCE_DIR "/include";
    arguments.insert(arguments.begin(),
                     {TARNVELDE_C_COMPILER, "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-I", headers});
    return process_run(arguments);
}

bool isProgram(const std::string& block) {
    return block.find("int main(") != std::string::npos;
}

}  // namespace

TEST(Manual, ExamplesOfModelsCompile) {
    TempFolder folder;
    const std::vector<std::string> blocks = readBlocks("models.md");
    ASSERT_GE(blocks.size(), 5u);
    for (const std::string& block : blocks) {
        const std::string head = isProgram(block) ? "" : "#include <stdio.h>\n#include <tarnvelde_model.h>\n";
        const ProcessResult result = compile({"-fsyntax-only", folder.write("block.c", head + block)});
        EXPECT_EQ(result.status, 0) << result.err << block;
    }
}

TEST(Manual, TheWholeProgramRuns) {
    if (IS_FREED_MEMORY_KEPT) {
        GTEST_SKIP() << "a library with sanitizers can't be linked by a program without";
    }
    TempFolder folder;
    for (const std::string& block : readBlocks("models.md")) {
        if (isProgram(block)) {
            const std::string library = TARNVELDE_LIBRARY_FILE;
            const std::string path = library.substr(0, library.rfind('/'));
            const ProcessResult compiled =
                compile({folder.write("host.c", block), "-o", folder.file("host"), library, "-Wl,-rpath," + path});
            ASSERT_EQ(compiled.status, 0) << compiled.err;
            const ProcessResult result = process_run({folder.file("host"), folder.write("model.inp", GOOD_PROJECT)});
            EXPECT_EQ(result.status, 0) << result.err;
            EXPECT_THAT(result.out, testing::EndsWith(" m3 left through O1\n"));
            return;
        }
    }
    FAIL() << "no program in the chapter";
}
