// What the text beside an example says of its results is what the program gives.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "program.h"

namespace fs = std::filesystem;

namespace {

/// The example with the interceptor: its text, and the report of a run in a folder of its own.
class Interceptor : public testing::Test {
protected:
    TempFolder folder;
    std::string text;
    std::string report;

    void SetUp() override {
        const fs::path example = fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "interceptor";
        fs::copy(example, folder.path, fs::copy_options::recursive);
        text = std::regex_replace(readFile(example / "README.md"), std::regex("\\s+"), " ");
        run();
    }

    void run() {
        const ProcessResult result = runProgram({"run", folder.file("interceptor.inp"), "--quiet"});
        ASSERT_EQ(result.status, 0) << result.err;
        report = readFile(folder.file("interceptor.rpt"));
    }

    /// The figure between two pieces of the text, as it stands there.
    std::string quote(const std::string& before, const std::string& behind) const {
        const size_t at = text.find(before);
        const size_t from = at == std::string::npos ? at : at + before.size();
        const size_t to = from == std::string::npos ? from : text.find(behind, from);
        if (to == std::string::npos) {
            ADD_FAILURE() << "the text no longer says \"" << before << "..." << behind << '"';
            return {};
        }
        return text.substr(from, to - from);
    }

    /// Expects that a figure of the text is a value, rounded to the places that the text gives.
    void expectQuoted(const std::string& before, const std::string& behind, double value) const {
        const std::string figure = quote(before, behind);
        const size_t point = figure.find('.');
        char rounded[64];
        std::snprintf(rounded, sizeof rounded, "%.*f",
                      point == std::string::npos ? 0 : static_cast<int>(figure.size() - point - 1), value);
        EXPECT_EQ(figure, rounded) << before << "..." << behind;
    }

    /// A figure of a table of the report: the number of this place behind the name of the row.
    double read(const std::string& table, const std::string& row, int place) const {
        const size_t begin = report.find("\n  " + row + " ", report.find("\n  " + table));
        if (begin == std::string::npos) {
            ADD_FAILURE() << "no row " << row << " in " << table;
            return 0.0;
        }
        std::istringstream words(report.substr(begin + 3 + row.size(), report.find('\n', begin + 1) - begin));
        std::string word;
        for (int k = 0; k <= place; ++k) {
            words >> word;
        }
        return std::stod(word);
    }

    /// Behind its name the row of a node or link has its kind.
    double readNode(const std::string& node, int place) const { return read("Node Inflow Summary", node, place); }
    double readLink(const std::string& link, int place) const { return read("Link Flow Summary", link, place); }
    double readFlow(const std::string& row) const { return read("Flow Routing Continuity", row, 0); }
    double readQuality(const std::string& row, int place) const {
        return read("Quality Routing Continuity", row, place);
    }

    /// Rows of a table of nodes or links: those between its line of dashes and the blank line that ends it.
    std::ptrdiff_t countRows(const std::string& table) const {
        const size_t begin = report.find("\n  ----", report.find("\n  " + table));
        const std::string rows = report.substr(begin + 1, report.find("\n  \n", begin) - begin - 1);
        return std::count(rows.begin(), rows.end(), '\n');  // one ahead of each row
    }
};

constexpr int VOLUME = 1, LARGEST_FLOW = 2, FLOOD_VOLUME = 3;

}  // namespace

TEST_F(Interceptor, HasAsManyNodesAndLinksAsItsTextSays) {
    EXPECT_EQ(quote("sewer of ", " nodes"), std::to_string(countRows("Node Inflow Summary")));
    EXPECT_EQ(quote("nodes and ", " links"), std::to_string(countRows("Link Flow Summary")));
}

TEST_F(Interceptor, SplitsAsItsTextSays) {
    expectQuoted("`CSO_OX` sees up to ", " m3/s", readNode("CSO_OX", LARGEST_FLOW));
    expectQuoted("and passes on ", ": `OXT`", readLink("OXT", LARGEST_FLOW));
    expectQuoted("the remaining ", " m3/s go over to `OF_OX`", readNode("OF_OX", LARGEST_FLOW));
    expectQuoted("what is above: of ", " m3/s it passes", readNode("CSO_LI", LARGEST_FLOW));
    expectQuoted("m3/s it passes on ", " and spills", readLink("LIT", LARGEST_FLOW));
    expectQuoted("and spills ", ". The works", readNode("OF_LI", LARGEST_FLOW));
    expectQuoted("no more than its ", " m3/s through `INLET`", readLink("INLET", LARGEST_FLOW));
    const double siphon = readLink("BARREL_A", VOLUME) + readLink("BARREL_B", VOLUME);
    expectQuoted("`BARREL_A` carries ", " % of the siphon", readLink("BARREL_A", VOLUME) / siphon * 100.0);
    expectQuoted("and `BARREL_B` ", " %. `RETURN`", readLink("BARREL_B", VOLUME) / siphon * 100.0);
}

TEST_F(Interceptor, FloodsAndSpillsAsItsTextSays) {
    expectQuoted("`LI5_LI6` is held at its ", " m3/s for", readLink("LI5_LI6", LARGEST_FLOW));
    expectQuoted("an hour and a half; ", " m3 of flood", readLink("LI5_LI6", FLOOD_VOLUME));
    expectQuoted("spill alone holds ", " t of COD", read("Outfall Loading Summary", "OF_OX", 0) / 1000.0);
}

TEST_F(Interceptor, MissesTheWaterThatItsTextSays) {
    const double in = readFlow("Dry Weather Inflow") + readFlow("External Inflow");
    const double out =
        readFlow("External Outflow") + readFlow("Flooding Loss") + readFlow("Delayed Vol.") + readFlow("Final Storage");
    expectQuoted("*Flow Routing Continuity* ends with ", " %", readFlow("Continuity Error (%)"));
    expectQuoted(" %: of ", " m3 that came in", in);
    expectQuoted("that came in, ", " m3 are in no line", in - out);
    EXPECT_NEAR(readFlow("Continuity Error (%)"), (in - out) / in * 100.0, 0.0005);
}

TEST_F(Interceptor, MissesTheMassThatItsTextSays) {
    expectQuoted("*Quality Routing Continuity* ends with ", " and", readQuality("Continuity Error (%)", 0));
    expectQuoted("Continuity* ends with 2.1 and ", " %", readQuality("Continuity Error (%)", 1));
    expectQuoted("is in *Reacted Loss* (", " kg of COD", readQuality("Reacted Loss", 0));
    expectQuoted("kg of COD, ", " kg of TSS", readQuality("Reacted Loss", 1));
}

TEST_F(Interceptor, MissesLessWithoutDecayAsItsTextSays) {
    std::string model = readFile(folder.file("interceptor.inp"));
    const size_t begin = model.find("\n[DECAY_COEFFICIENT]") + 1;
    ASSERT_NE(begin, 0u);
    model.erase(begin, model.find("\n[", begin) + 1 - begin);
    folder.write("interceptor.inp", model);
    run();
    EXPECT_EQ(readQuality("Reacted Loss", 0), 0.0);
    for (const int pollutant : {0, 1}) {
        expectQuoted("both errors fall to ", " %", readQuality("Continuity Error (%)", pollutant));
    }
}

TEST(NestedTown, GivesWhatItsTextSays) {
    TempFolder folder;
    fs::copy(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "nested-town", folder.path);
    const ProcessResult split = runProgram({"run", folder.file("nested-town.inp"), "--engines", "nested", "--quiet"});
    ASSERT_EQ(split.status, 0) << split.err;
    const ProcessResult whole = runProgram({"run", folder.file("whole-town.inp"), "--quiet"});
    ASSERT_EQ(whole.status, 0) << whole.err;
    const std::string text = readFile(folder.path / "README.md");
    std::istringstream lines(text);
    int rows = 0;
    for (std::string line; std::getline(lines, line);) {  // | table | row | place | in two projects | in one |
        std::smatch found;
        if (!std::regex_match(line, found,
                              std::regex("\\| ([A-Z][A-Za-z ]+), `([A-Za-z _.]+)` \\| `([a-z-]+)\\.rpt` \\| "
                                         "([0-9.]+) \\| ([0-9.]+) \\|"))) {
            continue;
        }
        ++rows;
        for (const auto& [file, figure] : {std::pair(found[3].str(), found[4].str()), {"whole-town", found[5].str()}}) {
            const std::string report = readFile(folder.file(file + ".rpt"));
            const size_t table = report.find("\n  " + found[1].str());
            const size_t row = report.find("\n  " + found[2].str() + " ", table);
            ASSERT_NE(row, std::string::npos) << line;
            const std::string cells = report.substr(row + 1, report.find('\n', row + 1) - row - 1);
            EXPECT_NE((cells + " ").find(" " + figure + " "), std::string::npos) << line << "\n" << cells;
        }
    }
    EXPECT_EQ(rows, 7);
}

/// The town with its plant and its river, in a folder of its own, run. Without the engine of plants there is nothing to
/// test.
class CatchmentPlantRiver : public testing::Test {
protected:
    static inline const fs::path Example = fs::path(TARNVELDE_SOURCE_DIR) / "examples" / "catchment-plant-river";
    static inline TempFolder* folder = nullptr;
    static inline std::string json;

    static void SetUpTestSuite() {
        if (!fs::exists(fs::path(TARNVELDE_ENGINE_FOLDER) / "engines" / "plant" / "libvorn.so")) {
            return;
        }
        folder = new TempFolder;
        fs::copy(Example, folder->path, fs::copy_options::recursive);
        const ProcessResult run = runProgram({"run", getProject(), "--json", "--balances", "--quiet"});
        EXPECT_EQ(run.status, 0) << run.err;
        json = run.out;
    }
    static void TearDownTestSuite() { delete folder; }
    void SetUp() override {
        if (!folder) {
            GTEST_SKIP() << "a build without SUNDIALS";
        }
    }

    static std::string getProject() { return folder->file("catchment-plant-river.inp"); }

    /// A number of a balance: of water (m3), or of a pollutant (kg).
    static double read(const std::string& kind, const std::string& id, const std::string& what,
                       const std::string& pollutant = "") {
        size_t at = json.find("\"kind\": \"" + kind + "\", \"id\": \"" + id + '"', json.find("\"balances\""));
        if (!pollutant.empty() && at != std::string::npos) {
            at = json.find("\"id\": \"" + pollutant + '"', at + 1);
        }
        at = at == std::string::npos ? at : json.find('"' + what + "\": ", at);
        if (at == std::string::npos) {
            ADD_FAILURE() << kind << ' ' << id << ' ' << what << ' ' << pollutant;
            return NAN;
        }
        return std::stod(json.substr(at + what.size() + 4));
    }

    /// A column of the results at a report.
    static double readAt(const std::string& object, const std::string& column, const std::string& date) {
        const ProcessResult rows = runProgram({"results", folder->file("catchment-plant-river.bin"), "--object", object,
                                               "--column", column, "--from", date, "--to", date, "--csv"});
        const size_t comma = rows.out.rfind(',');
        return comma == std::string::npos ? NAN : std::stod(rows.out.substr(comma + 1));
    }
};

TEST_F(CatchmentPlantRiver, LoadsAreThoseOfItsInhabitants) {
    const std::string report = readFile(folder->file("catchment-plant-river.rpt"));
    const double water = std::stod(report.substr(report.find("Dry Weather Inflow") + 18));
    EXPECT_NEAR(water, 10000 * 0.150 * 14, 2.0);  // m3: 150 L a day
    const size_t loads = report.find("Dry Weather Inflow", report.find("Quality Routing Continuity"));
    std::istringstream row(report.substr(loads + 18, 120));
    for (const double grams : {120.0, 84.0, 6.6, 1.8, 70.0}) {  // COD, BOD, NH4, TP, TSS of an inhabitant and day
        double load = 0.0;
        row >> load;
        EXPECT_NEAR(load, 10000 * 14 * grams / 1000.0, 0.002 * 10000 * 14 * grams / 1000.0) << grams;
    }
}

TEST_F(CatchmentPlantRiver, WaterAndLoadsOfTheTownArriveAtThePlantOrInTheRiver) {
    const double stored = read("node", "TANK", "stored") - read("node", "TANK", "initial");
    EXPECT_NEAR(read("node", "TANK", "in"), read("link", "THROTTLE", "in") + read("link", "SPILL", "in") + stored,
                0.01);
    for (const char* pollutant : {"COD", "NH4"}) {
        const double load = read("node", "TANK", "in", pollutant);
        EXPECT_NEAR(load,
                    read("link", "THROTTLE", "in", pollutant) + read("link", "SPILL", "in", pollutant) +
                        read("node", "TANK", "stored", pollutant),
                    1e-5 * load);
    }
}

TEST_F(CatchmentPlantRiver, FirstPoolIsThatOfTheHandCalculation) {
    // Before the first rain: a mixed pool in a steady state. Mixing and reaction in turn make it a ten-thousandth less.
    const double days = 5000.0 / 0.20 / 86400.0;
    const double bod = 2.2 / (1.0 + 0.31 * days), nh4 = 0.08 / (1.0 + 0.43 * days);
    const double oxygen = (8.8 + days * (0.8 * 9.5 - 0.31 * bod - 4.33 * 0.43 * nh4)) / (1.0 + 0.8 * days);
    EXPECT_NEAR(readAt("POOL1", "BOD", "2021/06/03 5:00"), bod, 1e-3);
    EXPECT_NEAR(readAt("POOL1", "NH4", "2021/06/03 5:00"), nh4, 1e-4);
    EXPECT_NEAR(readAt("POOL1", "O2", "2021/06/03 5:00"), oxygen, 1e-3);
    const std::string text = std::regex_replace(readFile(Example / "README.md"), std::regex("\\s+"), " ");
    char figure[32];
    std::snprintf(figure, sizeof figure, "= %.2f mg/L.", oxygen);
    EXPECT_NE(text.find(figure), std::string::npos) << figure;
}

TEST_F(CatchmentPlantRiver, ErrorsAreThoseOfItsText) {
    const std::string report = readFile(folder->file("catchment-plant-river.rpt"));
    const std::string text = std::regex_replace(readFile(Example / "README.md"), std::regex("\\s+"), " ");
    const std::regex rows("Continuity Error \\(%\\) +(.*[0-9])");
    std::vector<std::string> errors;
    for (std::sregex_iterator k(report.begin(), report.end(), rows), end; k != end; ++k) {
        errors.push_back((*k)[1]);
    }
    ASSERT_EQ(errors.size(), 4U);
    EXPECT_NE(text.find("are " + errors[0] + " % on the land, " + errors[2] + " % in the network"), std::string::npos);
    EXPECT_TRUE(std::regex_match(errors[3], std::regex("(-?0\\.000 *){6}"))) << errors[3];
}

TEST_F(CatchmentPlantRiver, PlantIsThatOfTheEngineButForItsBlowersAndItsSludge) {
    std::vector<std::string> own, given;
    for (const auto& [file, lines] :
         {std::pair(Example / "plant.sti", &own),
          {fs::path(TARNVELDE_SOURCE_DIR) / "engines" / "plant" / "examples" / "plant-10000.sti", &given}}) {
        std::istringstream text(readFile(file));
        for (std::string line; std::getline(text, line);) {
            if (!line.starts_with("//")) {
                lines->push_back(line);
            }
        }
    }
    ASSERT_EQ(own.size(), given.size());
    std::set<std::string> changed;
    for (size_t k = 0; k < own.size(); ++k) {
        if (own[k] != given[k]) {
            changed.insert(own[k].substr(0, own[k].find(' ')));
        }
    }
    EXPECT_EQ(changed, (std::set<std::string>{"AEROBIC1", "AEROBIC2", "WASTE"}));
}

/// The lines of the first block of a text that is neither indented nor of a language, up to a line of three points.
static std::string readShown(const char* example) {
    const std::string text = readFile(fs::path(TARNVELDE_SOURCE_DIR) / "examples" / example / "README.md");
    const size_t begin = text.find("\n```\n") + 5;
    return text.substr(begin, std::min(text.find("\n```", begin), text.find("\n  ...", begin)) + 1 - begin);
}

TEST(LookingAhead, SpillsAsItsTextSays) {
    TempFolder folder;
    const std::string model = TARNVELDE_SOURCE_DIR "/examples/host-mpc-c/controller.inp";
    const ProcessResult result = process_run({TARNVELDE_EXAMPLE_MPC, model, folder.file("report")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with(readShown("host-mpc-c"))) << result.out;
    const std::string end =
        "looking ahead           0        913        913\n\n525 m3 less than with the best of the fixed "
        "openings.\n";
    EXPECT_TRUE(result.out.ends_with(end)) << result.out;
    const std::string text = readFile(TARNVELDE_SOURCE_DIR "/examples/host-mpc-c/README.md");
    EXPECT_NE(text.find(end), std::string::npos);
    EXPECT_NE(readFile(folder.file("report")).find("Flow Routing Continuity"), std::string::npos);
}

TEST(ManyModels, SpillAsTheirTextSays) {
    TempFolder folder;
    const std::string model = TARNVELDE_SOURCE_DIR "/examples/many-models/town.inp";
    const ProcessResult result = process_run({TARNVELDE_EXAMPLE_SCAN, model, folder.file("report")});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with(readShown("many-models"))) << result.out;
    EXPECT_NE(result.out.find("\n200 runs in "), std::string::npos);
    EXPECT_NE(readFile(folder.file("report")).find("Flow Routing Continuity"), std::string::npos);
}

/// Names of warnings in a text.
static std::set<std::string> findWarnings(const std::string& text, const std::string& expression) {
    std::set<std::string> names;
    const std::regex pattern(expression);
    for (std::sregex_iterator k(text.begin(), text.end(), pattern), end; k != end; ++k) {
        names.insert((*k)[1]);
    }
    return names;
}

TEST(Examples, WarnOfWhatTheTextBesideThemExplainsAndOfNothingElse) {
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(TARNVELDE_SOURCE_DIR) / "examples")) {
        const fs::path& project = entry.path();
        // The models inside nodes of the coupled example are no projects of this engine.
        if (project.extension() != ".inp" || project.stem() == "oldtown" || project.stem() == "newtown") {
            continue;
        }
        SCOPED_TRACE(project);
        TempFolder folder;
        fs::copy(project.parent_path(), folder.path, fs::copy_options::recursive);
        if (project.stem() == "catchment-plant-river" &&
            !fs::exists(fs::path(TARNVELDE_ENGINE_FOLDER) / "engines" / "plant" / "libvorn.so")) {
            continue;  // a build without SUNDIALS
        }
        std::vector<std::string> words = {"run", folder.file(project.filename().string()), "--json"};
        if (project.stem() == "nested-town") {
            words.insert(words.end(), {"--engines", "nested"});
        }
        const ProcessResult result = runProgram(words);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(findWarnings(result.out, "\"name\": \"(W-[a-z-]+)\""),
                  findWarnings(readFile(project.parent_path() / "README.md"), "`(W-[a-z-]+)`"));
        ++count;
    }
    EXPECT_GE(count, 9);
}
