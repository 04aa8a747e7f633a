// The examples in the header of models as objects: they compile as C, and do what they say.

#include <fstream>
#include <sstream>
#include <string>

#include "support/tempfolder.h"
#include "support/variables.h"

extern "C" int32_t modelheader_runTown();
extern "C" int32_t modelheader_addInflow(tv_model* model);

TEST(ModelHeader, HasExamplesThatCompile) {
    const std::string source = readFile(TARNVELDE_SOURCE_DIR "/tests/api/modelheader_c.c");
    std::istringstream header(readFile(TARNVELDE_SOURCE_DIR "/include/tarnvelde_model.h"));
    const std::string mark = " *     ";
    int lines = 0;
    for (std::string line; std::getline(header, line);) {
        if (line.compare(0, mark.size(), mark) == 0) {
            EXPECT_NE(source.find("\n    " + line.substr(mark.size()) + "\n"), std::string::npos) << line;
            ++lines;
        }
    }
    EXPECT_EQ(lines, 12);
}

TEST(ModelHeader, HasAnExampleThatAddsAnInflow) {
    const TestModel model(TownText + ConstantEvaporation);
    model.start();
    EXPECT_EQ(modelheader_addInflow(model.model), 0);
    EXPECT_EQ(model.get(TV_NODE, "added_inflow", "J1"), 0.25);
}

TEST(ModelHeader, HasAnExampleThatTellsOfAMissingFile) {
    EXPECT_EQ(modelheader_runTown(), 303);
}
