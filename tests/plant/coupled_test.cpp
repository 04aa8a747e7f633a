// The library inside projects, and the program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "plants.h"
#include "support/process.h"
#include "support/tvmodel.h"

namespace {

const std::string Examples = std::string(TARNVELDE_SOURCE_DIR) + "/engines/plant/examples/";

/// Two towns with a plant each, two days long.
const std::string TwoPlants =
    "[GENERAL]\nSTART_DATE 2021/06/01\nEND_DATE 2021/06/03\nROUTING_STEP 0:15:00\nRUNOFF_STEP 0:15:00\n"
    "REPORT_STEP 0:15:00\n[JUNCTIONS]\nTOWN1\nTOWN2\n[OUTFALLS]\nRIVER1\nRIVER2\nMUD1\nMUD2\n"
    "[VORN_INPS]\nWORKS1 one.sti NO\nINFLUENT RAW IN1 INTO\nEFFLUENT CLEAR OUT1 FROM\nEFFLUENT SLUDGE DOWN1 FROM\n"
    "WORKS2 two.sti NO\nINFLUENT RAW IN2 INTO\nEFFLUENT CLEAR OUT2 FROM\nEFFLUENT SLUDGE DOWN2 FROM\n"
    "[CONNECTIONS]\nIN1 TOWN1 WORKS1 NO 900\nIN2 TOWN2 WORKS2 NO 900\nOUT1 WORKS1 RIVER1 NO 900\n"
    "OUT2 WORKS2 RIVER2 NO 900\nDOWN1 WORKS1 MUD1 NO 900\nDOWN2 WORKS2 MUD2 NO 900\n"
    "[POLLUTANTS]\nCOD 0\nNH4 0\n"
    "[DWFS]\nTOWN1 FLOW 0.024 \"\"\nTOWN1 COD 480 \"\"\nTOWN1 NH4 32 \"\"\n"
    "TOWN2 FLOW 0.018 \"\"\nTOWN2 COD 300 \"\"\nTOWN2 NH4 40 \"\"\n"
    "[CONVERTERS]\nINTO VORN_INFLUENT\nINTO COD POLLUTANT COD 1\nINTO NH4 POLLUTANT NH4 1\nINTO NO3 CONSTANT 0 1\n"
    "INTO TP CONSTANT 7 1\nINTO TSS POLLUTANT COD 0.4\nINTO ALK CONSTANT 350 1\nFROM VORN_EFFLUENT\n"
    "FROM COD POLLUTANT S_F 1\nFROM COD POLLUTANT S_I 1\nFROM NH4 POLLUTANT S_NH4 1\n";

struct Towns {
    TempFolder folder;

    Towns() {
        const std::string plant =
            replaceText(readFile(Examples + "plant-10000.sti"), "END          2021/06/15", "END 2021/06/03");
        folder.write("one.sti", plant);
        folder.write("two.sti", replaceText(plant, "NH4   32", "NH4   40"));
        folder.write("towns.inp", TwoPlants);
    }

    void open(const TvModel& model) const {
        ASSERT_EQ(tv_setEngines(model, TARNVELDE_PLANT_FOLDER, "", TARNVELDE_PLANT_FOLDER, ""), TV_OK);
        const int32_t code = tv_open(model, folder.file("towns.inp").c_str(), nullptr);
        for (const tv_message& message : model.getErrors()) {
            ADD_FAILURE() << message.text;
        }
        ASSERT_EQ(code, TV_OK);
    }
};

std::vector<char> save(tv_model* model) {
    size_t size = 0;
    EXPECT_EQ(tv_getStateSize(model, &size), TV_OK);
    std::vector<char> state(size);
    EXPECT_EQ(tv_saveState(model, state.data(), state.size(), &size), TV_OK);
    return state;
}

void step(tv_model* model, int count) {
    for (int k = 0; k < count; ++k) {
        ASSERT_EQ(tv_step(model), TV_OK);
    }
}

std::vector<char> runTowns(const Towns& towns) {
    const TvModel model;
    towns.open(model);
    EXPECT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    step(model, 100);
    return save(model);
}

ProcessResult runProgram(const std::vector<std::string>& words) {
    std::vector<std::string> all = {TARNVELDE_PLANT_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    return process_run(all);
}

}  // namespace

TEST(PlantLibrary, RunsTwoPlantsOfAProjectEachForItself) {
    const Towns towns;
    const std::vector<char> together = runTowns(towns);
    EXPECT_EQ(runTowns(towns), together);
    // Where the second plant gets another inflow, nothing of the first one changes.
    const auto getFirst = [](const TempFolder& folder) {
        const ProcessResult run = process_run(
            {TARNVELDE_PROGRAM, "run", folder.file("towns.inp"), "--engines", TARNVELDE_PLANT_FOLDER, "--quiet"});
        EXPECT_EQ(run.status, 0) << run.err;
        const std::string report = readFile(folder.file("towns.rpt"));
        const size_t place = report.find("Outfall Loading");
        EXPECT_NE(place, std::string::npos);
        const size_t line = report.find("RIVER1", place);
        return report.substr(line, report.find('\n', line) - line);
    };
    const std::string before = getFirst(towns.folder);
    towns.folder.write("towns.inp", replaceText(TwoPlants, "TOWN2 FLOW 0.018", "TOWN2 FLOW 0.060"));
    EXPECT_EQ(getFirst(towns.folder), before);
}

/// The first town as a project inside a node: its outfall hands over in each step what the junction of the one project
/// has, since nothing goes into it. So all that leaves the plants is the same.
TEST(PlantLibrary, RunsBesideProjectsInsideNodes) {
    const auto readOutfalls = [](const std::string& report) {
        const size_t begin = report.find("RIVER1", report.find("Outfall Loading"));
        EXPECT_NE(begin, std::string::npos);
        return report.substr(begin, report.find("\n\n", begin) - begin);
    };
    const Towns whole;
    const auto run = [](const Towns& towns, const std::vector<std::string>& engines) {
        std::vector<std::string> words = {TARNVELDE_PROGRAM, "run", towns.folder.file("towns.inp"), "--quiet"};
        for (const std::string& one : engines) {
            words.insert(words.end(), {"--engines", one});
        }
        return process_run(words);
    };
    const ProcessResult plain = run(whole, {"plant"});
    ASSERT_EQ(plain.status, 0) << plain.err;
    const std::string expected = readOutfalls(readFile(whole.folder.file("towns.rpt")));
    EXPECT_GT(expected.size(), 200u);

    const std::string inside =
        TwoPlants.substr(0, TwoPlants.find("[JUNCTIONS]")) +
        "[OUTFALLS]\nGATE\n[POLLUTANTS]\nCOD 0\nNH4 0\n[JUNCTIONS]\nMARKET\n[CONNECTIONS]\nSTREET MARKET GATE NO 0\n"
        "[DWFS]\nMARKET FLOW 0.024 \"\"\nMARKET COD 480 \"\"\nMARKET NH4 32 \"\"\n";
    std::string around =
        replaceText(TwoPlants, "[VORN_INPS]", "[SWMM_INPS]\nTOWN1 town.inp NO\nOUTFLOW GATE IN1\n[VORN_INPS]");
    around = replaceText(around, "[JUNCTIONS]\nTOWN1\n", "[JUNCTIONS]\n");
    around = replaceText(around, "TOWN1 FLOW 0.024 \"\"\nTOWN1 COD 480 \"\"\nTOWN1 NH4 32 \"\"\n", "");
    // The engine of plants is found without its name, too.
    using Names = std::vector<std::string>;
    for (const Names& engines : {Names{"nested", "plant"}, Names{"plant", "nested"}, Names{"nested"}}) {
        const Towns split;
        split.folder.write("town.inp", inside);
        split.folder.write("towns.inp", around);
        const ProcessResult result = run(split, engines);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(readOutfalls(readFile(split.folder.file("towns.rpt"))), expected);
        EXPECT_TRUE(split.folder.has("town.rpt"));
    }
}

TEST(PlantLibrary, RunsInThreadsWithTheSameBits) {
    const Towns towns;
    const std::vector<char> alone = runTowns(towns);
    std::vector<std::vector<char>> found(2);
    std::vector<std::thread> threads;
    for (std::vector<char>& state : found) {
        threads.emplace_back([&] { state = runTowns(towns); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found[0], alone);
    EXPECT_EQ(found[1], alone);
}

TEST(PlantLibrary, IsSavedClonedAndRestoredWithItsProject) {
    const Towns towns;
    const TvModel model;
    towns.open(model);
    ASSERT_EQ(tv_start(model, nullptr, nullptr), TV_OK);
    step(model, 30);
    const std::vector<char> early = save(model);
    tv_model* clone = nullptr;
    ASSERT_EQ(tv_clone(model, &clone), TV_OK);
    step(model, 40);
    const std::vector<char> late = save(model);
    step(clone, 40);
    EXPECT_EQ(save(clone), late);
    tv_free(clone);
    ASSERT_EQ(tv_restoreState(model, early.data(), early.size()), TV_OK);
    EXPECT_EQ(save(model), early);
    step(model, 40);
    EXPECT_EQ(save(model), late);
    EXPECT_NE(early, late);
}

TEST(PlantLibrary, KeepsTheWaterOfTheProject) {
    const Towns towns;
    const ProcessResult run = process_run(
        {TARNVELDE_PROGRAM, "run", towns.folder.file("towns.inp"), "--engines", TARNVELDE_PLANT_FOLDER, "--quiet"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string report = readFile(towns.folder.file("towns.rpt"));
    const auto getVolume = [&](const std::string& name) {
        const size_t place = report.find(name);
        return place == std::string::npos ? -1.0 : std::stod(report.substr(place + name.size()));
    };
    // Two days of 0.042 m3/s: all but the last step's reach the plants, and some steps' are on their way out.
    const double step = 0.042 * 900;
    EXPECT_NEAR(getVolume("VORN Outflow"), 0.042 * 2 * 86400 - step, 0.01);
    EXPECT_LE(getVolume("VORN Inflow"), getVolume("VORN Outflow"));
    EXPECT_GE(getVolume("VORN Inflow"), getVolume("VORN Outflow") - 4 * step);
}

TEST(PlantLibrary, RefusesAModelFileWithMistakes) {
    const Towns towns;
    const std::string log = towns.folder.file("log");
    towns.folder.write("one.sti", replaceText(readFile(towns.folder.file("one.sti")), "ASM1\n", "ASM9\n"));
    const ProcessResult run = process_run({"env", "TARNVELDE_ENGINE_LOG=" + log, TARNVELDE_PROGRAM, "check",
                                           towns.folder.file("towns.inp"), "--engines", TARNVELDE_PLANT_FOLDER});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err + run.out, testing::HasSubstr("ERROR 924: cannot open vorn input file for vorn node WORKS1."));
    EXPECT_THAT(readFile(log), testing::HasSubstr("no model: \"ASM9\""));
}

TEST(PlantLibrary, LeavesModelsOfTheSmallEngineToIt) {
    const TempFolder folder;
    for (const char* name : {"coupled.inp", "oldtown.inp", "newtown.inp", "works.sti"}) {
        folder.write(name, readFile(std::string(TARNVELDE_SOURCE_DIR) + "/examples/coupled/" + name));
    }
    const auto run = [&](const std::string& engines) {
        const ProcessResult result = process_run({TARNVELDE_PROGRAM, "run", folder.file("coupled.inp"), "--engines",
                                                  engines, "--results", folder.file("out.bin"), "--quiet"});
        EXPECT_EQ(result.status, 0) << result.err;
        return readFile(folder.file("out.bin"));
    };
    const TempFolder mixed;
    std::filesystem::copy(std::string(TARNVELDE_ENGINE_FOLDER) + "libswmm5ex.so", mixed.path);
    std::filesystem::copy(std::string(TARNVELDE_PLANT_FOLDER) + "libvorn.so", mixed.path);
    EXPECT_EQ(run(mixed.path.string()), run(TARNVELDE_ENGINE_FOLDER));
}

TEST(PlantLibrary, WritesResultsOfItsOwnWhereTheProjectSaysYes) {
    const Towns towns;
    towns.folder.write("towns.inp", replaceText(TwoPlants, "one.sti NO", "one.sti YES"));
    const ProcessResult run = process_run(
        {TARNVELDE_PROGRAM, "run", towns.folder.file("towns.inp"), "--engines", TARNVELDE_PLANT_FOLDER, "--quiet"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string table = readFile(towns.folder.file("one-results.csv"));
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 1 + 2 * 96);
    EXPECT_THAT(readFile(towns.folder.file("one-books.txt")), testing::HasSubstr("nitrogen"));
    EXPECT_FALSE(towns.folder.has("two-results.csv"));
}

TEST(PlantProgram, GivesTheSameBytesInEachProcessAndLocale) {
    const TempFolder folder;
    std::vector<std::string> tables;
    for (const char* locale : {"C", "de_DE.UTF-8", "C"}) {
        const ProcessResult run = process_run(
            {"env", std::string("LC_ALL=") + locale, TARNVELDE_PLANT_PROGRAM, "run", Examples + "plant-10000.sti",
             "--inflow", Examples + "plant-10000-inflow.csv", "--results", folder.file("out.csv")});
        ASSERT_EQ(run.status, 0) << run.err;
        tables.push_back(readFile(folder.file("out.csv")) + run.out);
    }
    EXPECT_EQ(tables[0], tables[1]);
    EXPECT_EQ(tables[0], tables[2]);
    EXPECT_EQ(std::count(tables[0].begin(), tables[0].end(), '\n'), 1 + 14 * 96 + 5);
}

TEST(PlantProgram, BeginsAtASteadyStateThatItWrites) {
    const TempFolder folder;
    const std::string model = readFile(Examples + "plant-10000.sti");
    const std::string file = folder.write("plant.sti", model);
    const ProcessResult steady = runProgram({"steady", file});
    ASSERT_EQ(steady.status, 0) << steady.err;
    // A model that starts from these values, and one that finds them, run alike.
    const std::string given = folder.write("given.sti", model + "\n" + steady.out);
    const auto getBooks = [&](const std::string& name) { return runProgram({"run", name}).out.substr(0, 40); };
    EXPECT_EQ(getBooks(given), getBooks(file));
    EXPECT_EQ(runProgram({"steady", file, "--out", folder.file("state.txt")}).out, "");
    EXPECT_EQ(readFile(folder.file("state.txt")), steady.out);
}

TEST(PlantProgram, SaysWhatItCannotDo) {
    const TempFolder folder;
    const std::string model = Examples + "plant-10000.sti";
    EXPECT_EQ(runProgram({}).status, 2);
    EXPECT_EQ(runProgram({"dance", model}).status, 2);
    EXPECT_EQ(runProgram({"run", model, "--speed", "3"}).status, 2);
    EXPECT_EQ(runProgram({"matrix", "asm9"}).status, 2);
    EXPECT_EQ(runProgram({"--help"}).status, 0);
    const ProcessResult none = runProgram({"check", folder.file("none.sti")});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.err, folder.file("none.sti") + ": can't be opened\n");
    const std::string copy = folder.write("copy.sti", readFile(model));
    EXPECT_EQ(runProgram({"run", copy, "--results", copy}).status, 1);
    EXPECT_EQ(readFile(copy), readFile(model)) << "an input is no output";
    EXPECT_EQ(runProgram({"run", copy, "--results", folder.file("none/out.csv")}).status, 1);
    EXPECT_EQ(runProgram({"steady", copy, "--out", "/dev/null"}).status, 1) << "no plain file";
    EXPECT_EQ(runProgram({"check", copy}).status, 0);
}
