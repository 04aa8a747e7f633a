// The page of what the engine doesn't model or models oddly: its projects run without a message and give the figures
// that stand there, and these follow from the sums that the page gives for them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "program.h"

namespace fs = std::filesystem;

namespace {

// --- the page ------------------------------------------------------------------------------------------------------

/// A row of a table of figures.
struct Figure {
    std::string place;    ///< table and row of the report, or object, column and moment of the results
    std::string without;  ///< a sum: what one would expect
    std::string byHand;   ///< a sum: what the rule leads to, "≈" in front where it is near
    std::string got;
};

/// A table of figures: a project, texts put in place of others, and what comes out.
struct ShownRun {
    std::string section;  ///< its heading
    std::string project;  ///< name of the file
    std::vector<std::pair<std::string, std::string>> changes;
    std::vector<Figure> figures;
};

/// A row of the summary.
struct Effect {
    std::string anchor;
    std::string size;
};

struct Page {
    std::string text;
    std::vector<std::string> sections;
    std::vector<ShownRun> runs;
    std::vector<Effect> effects;
};

std::string trim(const std::string& text) {
    const size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::vector<std::string> readLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The cells of a row of a table; none of another line.
std::vector<std::string> readCells(const std::string& line) {
    std::vector<std::string> cells;
    if (line.starts_with("| ")) {
        std::istringstream stream(line.substr(1));
        for (std::string cell; std::getline(stream, cell, '|');) {
            cells.push_back(trim(cell));
        }
    }
    return cells;
}

/// What a link to a heading says behind its number sign.
std::string makeAnchor(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == ' ') {
            anchor += '-';
        } else if (std::isalnum(byte) || c == '_' || c == '-') {
            anchor += static_cast<char>(std::tolower(byte));
        }
    }
    return anchor;
}

/// The anchors of all headings of a chapter; one that comes again has a number.
std::set<std::string> readAnchors(const fs::path& chapter) {
    std::set<std::string> anchors;
    for (const std::string& line : readLines(readFile(chapter))) {
        if (line.starts_with("#")) {
            const std::string anchor = makeAnchor(trim(line.substr(line.find(' '))));
            anchors.insert(anchors.contains(anchor) ? anchor + "-1" : anchor);
        }
    }
    return anchors;
}

/// Begins a table of figures, if this is the head of one.
bool readHead(const std::string& head, ShownRun& run) {
    static const std::regex PROJECT("\\[([a-z-]+\\.inp)\\]\\(beware/([a-z-]+\\.inp)\\)(.*)");
    static const std::regex CHANGE(" with `([^`]+)` for `([^`]+)`");
    std::smatch match;
    if (!std::regex_match(head, match, PROJECT)) {
        return false;
    }
    EXPECT_EQ(match[1], match[2]);
    run.project = match[1];
    const std::string changes = match[3];
    for (std::sregex_iterator change(changes.begin(), changes.end(), CHANGE), end; change != end; ++change) {
        run.changes.emplace_back((*change)[2], (*change)[1]);
    }
    EXPECT_EQ(run.changes.empty(), changes.empty()) << head;
    return true;
}

Page readPage() {
    Page page;
    page.text = readFile(TARNVELDE_SOURCE_DIR "/docs/beware.md");
    static const std::regex EFFECT("\\[[^\\]]+\\]\\(#([^)]+)\\).*");
    bool isFigures = false;
    for (const std::string& line : readLines(page.text)) {
        const std::vector<std::string> cells = readCells(line);
        std::smatch match;
        if (line.starts_with("## ")) {
            page.sections.push_back(line.substr(3));
        } else if (cells.empty()) {
            isFigures = isFigures && line.starts_with("|");
        } else if (ShownRun run; cells.size() == 4 && readHead(cells[0], run)) {
            run.section = page.sections.back();
            page.runs.push_back(run);
            isFigures = true;
        } else if (isFigures) {
            EXPECT_EQ(cells.size(), 4u) << line;
            page.runs.back().figures.push_back({cells[0], cells[1], cells[2], cells.back()});
        } else if (page.sections.back() == "Summary" && std::regex_match(cells[0], match, EFFECT)) {
            page.effects.push_back({match[1], cells[1]});
        }
    }
    return page;
}

// --- sums ----------------------------------------------------------------------------------------------------------

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// Works out a sum of numbers with + - * / ^, parentheses and exp.
struct Sum {
    std::string text;
    size_t at = 0;

    explicit Sum(const std::string& written) : text(written) {
        for (const auto& [sign, plain] : {std::pair{"−", "-"}, {"×", "*"}, {"÷", "/"}, {" ", ""}, {"≈", ""}}) {
            text = replaceAll(text, sign, plain);
        }
    }

    double work() {
        const double value = add();
        EXPECT_EQ(at, text.size()) << "no sum: " << text;
        return value;
    }

    bool take(const std::string& word) {
        const bool isThere = text.compare(at, word.size(), word) == 0;
        at += isThere ? word.size() : 0;
        return isThere;
    }

    double add() {
        double value = multiply();
        while (true) {
            if (take("+")) {
                value += multiply();
            } else if (take("-")) {
                value -= multiply();
            } else {
                return value;
            }
        }
    }

    double multiply() {
        double value = raise();
        while (true) {
            if (take("*")) {
                value *= raise();
            } else if (take("/")) {
                value /= raise();
            } else {
                return value;
            }
        }
    }

    double raise() {
        const double value = single();
        return take("^") ? std::pow(value, single()) : value;
    }

    double single() {
        if (take("-")) {
            return -single();
        }
        const bool isExponential = take("exp");
        if (take("(")) {
            const double value = add();
            EXPECT_TRUE(take(")")) << text;
            return isExponential ? std::exp(value) : value;
        }
        const size_t end = std::min(text.find_first_not_of("0123456789.", at), text.size());
        EXPECT_GT(end, at) << "no number: " << text;
        const std::string number = text.substr(at, end - at);
        at = end;
        return number.empty() ? NAN : std::stod(number);
    }
};

bool isSum(const std::string& cell) {
    return cell != "-";
}

/// Half a unit of the last place of a figure, and a hair.
double getHalfUnit(const std::string& figure) {
    const size_t point = figure.find('.');
    const double places = point == std::string::npos ? 0.0 : static_cast<double>(figure.size() - point - 1);
    return 0.5000001 * std::pow(10.0, -places);
}

// --- what a run gives ----------------------------------------------------------------------------------------------

/// Begin and length of the columns below a head, from the line of dashes and asterisks that ends it.
std::vector<std::pair<size_t, size_t>> findColumns(const std::string& rule) {
    std::vector<std::pair<size_t, size_t>> columns;
    for (size_t begin = rule.find_first_not_of(' '); begin != std::string::npos;) {
        const size_t end = std::min(rule.find(' ', begin), rule.size());
        columns.emplace_back(begin, end - begin);
        begin = rule.find_first_not_of(' ', end);
    }
    return columns;
}

std::string cut(const std::string& line, const std::pair<size_t, size_t>& column) {
    return column.first < line.size() ? trim(line.substr(column.first, column.second)) : "";
}

/// Whether a column is meant, by its name alone or with its unit behind it.
bool isNamed(const std::string& column, const std::string& name, const std::string& unit) {
    return column == name || column == name + " (" + unit + ')';
}

/// A figure of the report, by the title of the table, the row and the column; without a column, that of the first.
std::string readReport(const std::string& report, const std::string& title, const std::string& row,
                       const std::string& column) {
    const std::vector<std::string> lines = readLines(report);
    size_t k = 0;
    while (k < lines.size() && !(lines[k] + ' ').starts_with("  " + title + ' ')) {
        ++k;
    }
    while (k < lines.size() && lines[k].find("  ---") == std::string::npos &&
           lines[k].find(" ---") == std::string::npos) {
        ++k;
    }
    if (k == lines.size()) {
        return "no table";
    }
    const auto columns = findColumns(lines[k]);
    size_t place = column.empty() ? 1 : 0;
    for (size_t c = 1; c < columns.size() && place == 0; ++c) {
        place = isNamed(column, cut(lines[k - 2], columns[c]), cut(lines[k - 1], columns[c])) ? c : 0;
    }
    if (place == 0) {
        return "no column";
    }
    for (++k; k < lines.size() && !lines[k].starts_with("  ***"); ++k) {
        if (cut(lines[k], columns[0]) == row) {
            return cut(lines[k], columns[place]);
        }
    }
    return "no row";
}

/// A value of the results, by object, column and moment; or the number of reports.
std::string readResults(const std::string& file, const std::vector<std::string>& words) {
    if (words.size() == 1 && words[0] == "reports") {
        const std::string out = runProgram({"results", file}).out;
        std::smatch match;
        return std::regex_search(out, match, std::regex(": (\\d+) reports of ")) ? match[1].str() : "no number";
    }
    if (words.size() != 3) {
        return "no object, column and moment";
    }
    const ProcessResult result = runProgram({"results", file, "--object", words[0], "--column", words[1], "--csv"});
    const std::string head = '\n' + words[2] + ":00,";
    const size_t at = result.out.find(head);
    if (at == std::string::npos) {
        return "no moment " + result.err;
    }
    return result.out.substr(at + head.size(), result.out.find('\n', at + 1) - at - head.size());
}

/// A project of the page in a folder of its own, run.
struct Outcome {
    TempFolder folder;
    ProcessResult result;
    std::string report;

    explicit Outcome(const ShownRun& run) : result() {
        std::string text = readFile(fs::path(TARNVELDE_SOURCE_DIR) / "docs" / "beware" / run.project);
        for (const auto& [from, to] : run.changes) {
            EXPECT_NE(text.find(from), std::string::npos) << from;
            text = replaceAll(text, from, to);
        }
        result = runProgram({"run", folder.write("model.inp", text), "--quiet", "--results", folder.file("model.bin"),
                             "--database=" + folder.file("model.db")});
        report = folder.has("model.rpt") ? readFile(folder.file("model.rpt")) : "";
    }

    /// The figure of a place such as "Flow Routing Continuity: Final Storage" or "Results: P1, Flow, 2024-03-01 06:00".
    std::string read(const std::string& place) const {
        const size_t colon = place.find(": ");
        const std::string source = place.substr(0, colon);
        std::vector<std::string> words;
        std::istringstream stream(colon == std::string::npos ? "" : place.substr(colon + 2));
        for (std::string word; std::getline(stream, word, ',');) {
            words.push_back(trim(word));
        }
        if (source == "Results" || source == "Database") {
            return readResults(folder.file(source == "Results" ? "model.bin" : "model.db"), words);
        }
        words.resize(2);
        return readReport(report, source, words[0], words[1]);
    }
};

/// Numbers of a text that are no part of a word, such as that of m3.
std::vector<std::string> readNumbers(const std::string& text) {
    std::vector<std::string> numbers;
    for (size_t k = 0; k < text.size();) {
        const size_t end = std::min(text.find_first_not_of("0123456789.", k), text.size());
        if (end > k && (k == 0 || !std::isalpha(static_cast<unsigned char>(text[k - 1])))) {
            numbers.push_back(text.substr(k, end - k));
        }
        k = std::max(end, k + 1);
    }
    return numbers;
}

/// What a program says of a run in the JSON of it: names of warnings, and what of its verdict isn't green.
std::string describeRun(const std::string& json) {
    std::string names, verdicts;
    const std::regex name("\"name\": \"(W-[a-z-]+)\"");
    for (std::sregex_iterator k(json.begin(), json.end(), name), end; k != end; ++k) {
        const std::string shown = "`" + (*k)[1].str() + "`";
        names += names.find(shown) != std::string::npos ? "" : (names.empty() ? "" : ", ") + shown;
    }
    const std::regex part("\"part\": \"([a-z]+)\"(, \"pollutant\": \"([A-Z]+)\")?[^}]*\"grade\": \"(amber|red)\"");
    for (std::sregex_iterator k(json.begin(), json.end(), part), end; k != end; ++k) {
        const std::string pollutant = (*k)[3].matched ? " of " + (*k)[3].str() : "";
        verdicts += (verdicts.empty() ? "" : ", ") + (*k)[1].str() + pollutant + " " + (*k)[4].str();
    }
    return (names.empty() ? "-" : names) + " | " + (verdicts.empty() ? "-" : verdicts);
}

TEST(Beware, WarningsAndVerdictsAreThoseThatThePageNames) {
    const std::string text = readFile(TARNVELDE_SOURCE_DIR "/docs/beware.md");
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TARNVELDE_SOURCE_DIR "/docs/beware")) {
        if (entry.path().extension() != ".inp") {
            continue;
        }
        const std::string name = entry.path().filename().string();
        TempFolder folder;
        const std::string model = folder.write(name, readFile(entry.path()));
        std::string row = "| [" + name + "](beware/" + name;
        row += ") | " + describeRun(runProgram({"run", model, "--json"}).out) + " |\n";
        EXPECT_NE(text.find(row), std::string::npos) << row;
        ++count;
    }
    EXPECT_GE(count, 30);
}

}  // namespace

TEST(Beware, ProjectsOfTheFolderStandOnThePageAndViceVersa) {
    const Page page = readPage();
    std::set<std::string> named, files;
    for (const ShownRun& run : page.runs) {
        named.insert(run.project);
        EXPECT_FALSE(run.figures.empty()) << run.project;
        EXPECT_NE(page.text.find("\n    tarnvelde run docs/beware/" + run.project + '\n'), std::string::npos)
            << "no command runs " << run.project;
    }
    for (const auto& entry : fs::directory_iterator(TARNVELDE_SOURCE_DIR "/docs/beware")) {
        if (entry.path().extension() == ".inp") {
            files.insert(entry.path().filename().string());
            EXPECT_THAT(readFile(entry.path()), testing::StartsWith("// ")) << entry.path() << " doesn't say what for";
        }
    }
    EXPECT_EQ(named, files);
}

TEST(Beware, RunsGiveWhatThePageSaysWithoutAnError) {
    const Page page = readPage();
    ASSERT_GE(page.runs.size(), 30u);
    for (const ShownRun& run : page.runs) {
        SCOPED_TRACE(run.project + (run.changes.empty() ? "" : " with " + run.changes[0].second));
        const Outcome outcome(run);
        EXPECT_EQ(outcome.result.status, 0);
        EXPECT_EQ(outcome.result.err.find("ERROR"), std::string::npos) << outcome.result.err;
        EXPECT_EQ(outcome.report.find("ERROR"), std::string::npos);
        for (const Figure& figure : run.figures) {
            const std::string value = outcome.read(figure.place);
            if (figure.place.starts_with("Results") || figure.place.starts_with("Database")) {
                EXPECT_NEAR(std::atof(value.c_str()), std::stod(figure.got), getHalfUnit(figure.got))
                    << figure.place << ": " << value;
                EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(value[0]))) << figure.place << ": " << value;
            } else {
                EXPECT_EQ(value, figure.got) << figure.place;
            }
        }
    }
}

TEST(Beware, FiguresFollowFromTheSumsOfThePage) {
    int sums = 0;
    for (const ShownRun& run : readPage().runs) {
        for (const Figure& figure : run.figures) {
            if (isSum(figure.byHand)) {
                const double got = std::stod(figure.got);
                const bool isNear = figure.byHand.starts_with("≈");
                const double most = isNear ? 0.02 * std::fabs(got) : getHalfUnit(figure.got);
                EXPECT_NEAR(Sum(figure.byHand).work(), got, most) << run.project << ", " << figure.place;
                ++sums;
            }
        }
    }
    EXPECT_GT(sums, 60);
}

TEST(Beware, SumsAreWorkedOutAsOneDoes) {
    EXPECT_DOUBLE_EQ(Sum("1 + 2 × 3").work(), 7.0);
    EXPECT_DOUBLE_EQ(Sum("≈ (1 + 2) × 3").work(), 9.0);
    EXPECT_DOUBLE_EQ(Sum("10 − 4 − 3").work(), 3.0);
    EXPECT_DOUBLE_EQ(Sum("12 ÷ 3 ÷ 2").work(), 2.0);
    EXPECT_DOUBLE_EQ(Sum("2 × 3^2").work(), 18.0);
    EXPECT_DOUBLE_EQ(Sum("-4.5 + exp(−0)").work(), -3.5);
}

TEST(Beware, SizesOfTheSummaryStandInTheSections) {
    const Page page = readPage();
    std::map<std::string, std::vector<double>> values;  // by the anchor of the section
    for (const ShownRun& run : page.runs) {
        for (const Figure& figure : run.figures) {
            std::vector<double>& list = values[makeAnchor(run.section)];
            list.push_back(std::stod(figure.got));
            if (isSum(figure.without)) {
                list.push_back(Sum(figure.without).work());
            }
        }
    }
    for (const Effect& effect : page.effects) {
        for (const std::string& number : readNumbers(effect.size)) {
            const double value = std::stod(number);
            const std::vector<double>& list = values[effect.anchor];
            const bool isThere = std::any_of(list.begin(), list.end(), [&](double other) {
                return std::fabs(other - value) <= getHalfUnit(number);
            });
            EXPECT_TRUE(isThere) << effect.anchor << " has no figure " << number;
        }
    }
}

TEST(Beware, TheSummaryHasTheSectionsInTheirOrder) {
    const Page page = readPage();
    const std::set<std::string> others = {"how-to-read-this-page", "summary", "a-check-of-ten-minutes",
                                          "what-the-engine-says-of-these-runs", "smaller-things"};
    std::vector<std::string> sections, effects;
    for (const std::string& section : page.sections) {
        if (!others.contains(makeAnchor(section))) {
            sections.push_back(makeAnchor(section));
        }
    }
    for (const Effect& effect : page.effects) {
        effects.push_back(effect.anchor);
    }
    EXPECT_EQ(effects, sections);
    for (const std::string& section : sections) {
        EXPECT_NE(page.text.find("](#" + section + ")"), std::string::npos) << section;
    }
}

TEST(Beware, LinksOfThePageLeadSomewhere) {
    const std::string text = readPage().text;
    const fs::path folder = TARNVELDE_SOURCE_DIR "/docs";
    const std::regex link("\\]\\(([^)#]*)#?([^)]*)\\)");
    for (std::sregex_iterator match(text.begin(), text.end(), link), end; match != end; ++match) {
        const std::string file = (*match)[1].length() > 0 ? (*match)[1].str() : "beware.md";
        const std::string anchor = (*match)[2];
        ASSERT_TRUE(fs::exists(folder / file)) << file;
        EXPECT_TRUE(anchor.empty() || readAnchors(folder / file).contains(anchor)) << file << '#' << anchor;
    }
}

TEST(Beware, LinksOfOtherChaptersLeadToSectionsOfThePage) {
    const std::set<std::string> anchors = readAnchors(TARNVELDE_SOURCE_DIR "/docs/beware.md");
    const std::regex link("beware\\.md#([^)]*)\\)");
    int links = 0;
    for (const auto& entry : fs::recursive_directory_iterator(TARNVELDE_SOURCE_DIR "/docs")) {
        const std::string text = entry.path().extension() == ".md" ? readFile(entry.path()) : "";
        for (std::sregex_iterator match(text.begin(), text.end(), link), end; match != end; ++match, ++links) {
            EXPECT_TRUE(anchors.contains((*match)[1])) << entry.path() << ": " << (*match)[1];
        }
    }
    EXPECT_GE(links, 20);
}
