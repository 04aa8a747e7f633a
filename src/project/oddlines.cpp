// Lines that are read otherwise than they look. The reader cuts, drops and converts without a word, and files rely on
// that; here it is told. Nothing is parsed twice on the good path: a line of plain words as many as its section reads
// passes with two comparisons.

#include "project/oddlines.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "controls/rule.h"
#include "model/model.h"
#include "model/warnings.h"
#include "project/sections.h"

// --- lines as they stand in the file -------------------------------------------------------------------------------

static bool isHostSection(int32_t section) {
    return section >= SECTION_RTC;
}

static bool isBlank(const char* line) {
    return line[std::strspn(line, " \t\r\n")] == 0;
}

bool oddlines_reviewOddLine(const Model& model, int32_t section, const RawLine& raw, int64_t offset, bool isContinued) {
    const char* const line = raw.text;
    const size_t length = raw.length;
    if (offset == 0 && std::strncmp(line, "\xEF\xBB\xBF", 3) == 0) {
        const bool isHeader = line[3] == '[';
        warnings_addAtLine(model, WARN_BYTE_ORDER_MARK, isHeader ? SEVERITY_SERIOUS : SEVERITY_WARNING, -1, "", {});
    }
    if (isContinued && !isBlank(line) && !isHostSection(section)) {
        warnings_addAtLine(model, WARN_LINE_LENGTH, 0, "");
    }
    if (length > 0 && line[length - 1] == '\n') {
        return false;
    }
    // A line without its end is the last one, or too long, or cut by a NUL byte.
    if (raw.bytes > static_cast<int64_t>(length)) {
        warnings_addAtLine(model, WARN_LINE_NUL, -1, "");
    }
    return length == LINE_SIZE - 1;
}

void oddlines_reviewEnd(Model& model) {
    if (!warnings_isWanted(model)) {
        return;
    }
    const WarningLog& warnings = model.log->warnings;
    if (!warnings.longId.empty()) {
        warnings_addAtPlace(model, WARN_ID_LONG, warnings.longIdPlace, 0, warnings.longId.c_str(),
                            {std::to_string(warnings.longId.size())});
    }
    if (model.files.input.isAtEnd && textfile_hasMore(model.files.input)) {
        warnings_addAtLine(model, WARN_FILE_END_MARK, -1, "");
    }
}

// --- headers -------------------------------------------------------------------------------------------------------

/// How many letters must be put in, left out or changed to make one text of the other, whatever their case.
static size_t getDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t k = 0; k <= b.size(); ++k) {
        row[k] = k;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t k = 1; k <= b.size(); ++k) {
            const size_t changed = diagonal + (tokens_toUpper(a[i - 1]) == tokens_toUpper(b[k - 1]) ? 0 : 1);
            diagonal = row[k];
            row[k] = std::min({row[k] + 1, row[k - 1] + 1, changed});
        }
    }
    return row[b.size()];
}

/// What the header may have been meant for, as words after it.
static std::string guessHeader(std::string_view header) {
    const size_t comment = header.find("//");
    const std::string name(header.substr(0, comment));
    if (comment != std::string_view::npos && sections_find(name.c_str()) >= 0) {
        return ": a comment stands against it without a blank";
    }
    static constexpr size_t LONGEST = 64;
    const std::string_view word = header.substr(0, LONGEST);
    size_t nearest = LONGEST;
    const char* found = "";
    for (const Section& section : Sections) {
        const size_t distance = getDistance(word, section.name);
        if (distance < nearest) {
            nearest = distance;
            found = section.name;
        }
    }
    return nearest <= std::max<size_t>(2, word.size() / 3) ? std::string(": perhaps ") + found : std::string();
}

void oddlines_reviewHeader(const Model& model, const char* header) {
    if (warnings_isWanted(model)) {
        const std::string guess = guessHeader(header);
        warnings_addAtLine(model, WARN_SECTION_UNKNOWN, 0, header, {header, guess});
    }
}

// --- words ---------------------------------------------------------------------------------------------------------

static constexpr int32_t ANY = MAX_TOKENS;  ///< notes may follow, or a list goes on

/// How many words a line of a section reads at least, and which of its words are numbers or times.
struct LineFormat {
    int32_t section;
    int32_t words;
    uint64_t numbers;  ///< a bit for each place
};

static constexpr uint64_t from(int32_t first, int32_t last) {
    return ((uint64_t{1} << (last + 1)) - 1) & ~((uint64_t{1} << first) - 1);
}

static constexpr uint64_t at(int32_t place) {
    return from(place, place);
}

static constexpr LineFormat Formats[] = {
    {SECTION_RAINGAGES, 4, at(2)},
    {SECTION_EVAPORATION, 2, from(1, 12)},
    {SECTION_SUBCATCHS, 16, from(3, 15)},
    {SECTION_TANKS, 4, from(2, 3)},
    {SECTION_SPLITTERS, 4, from(3, 4)},
    {SECTION_INFLOWS, 6, at(3) | at(5)},
    {SECTION_DWFS, 4, at(2)},
    {SECTION_PIPES, 8, from(4, 7)},
    {SECTION_PUMPS, 8, from(6, 7)},
    {SECTION_CONNECTIONS, 5, at(4)},
    {SECTION_CONDUITS, 9, from(4, 6) | from(8, 9)},
    {SECTION_WEIRS, 9, from(5, 8)},
    {SECTION_ORIFICES, 8, from(5, 8)},
    {SECTION_CONTROL_RULES, 2, at(1) | from(5, 6)},
    {SECTION_SWMM_INPS, 3, 0},
    {SECTION_REACTORS, 7, from(4, 7)},
    {SECTION_REACTORS_DECAY, 5, at(3)},
    {SECTION_REACTORS_EMPTYING, 6, from(2, 4)},
    {SECTION_REACTORS_OXYGEN, 5, at(3)},
    {SECTION_SENSORS, 3, 0},
    {SECTION_POLLUTANTS, 2, at(1)},
    {SECTION_DECAY_COEFFICIENT, 6, at(4)},
    {SECTION_INITIAL_CONCENTRATION, 4, at(3)},
    {SECTION_COVERAGES, 3, at(2)},
    {SECTION_BUILDUP, 4, from(2, 3)},
    {SECTION_WASHOFF, 6, from(3, 5)},
    {SECTION_LOADINGS, 3, at(2)},
    {SECTION_LIDS, 5, from(2, 7)},
    {SECTION_LID_GROUPS, 7, from(2, 5)},
    {SECTION_LID_MONOS, 8, from(3, 6)},
    {SECTION_VORN_INPS, 3, 0},
    {SECTION_CURVES, ANY, from(1, MAX_TOKENS - 1)},
    {SECTION_TIMESERIES, 3, from(1, MAX_TOKENS - 1)},
    {SECTION_PATTERNS, ANY, from(1, MAX_TOKENS - 1)},
    {SECTION_CONVERTERS, 2, from(3, 4)},
};

static constexpr LineLimits makeLimits() {
    LineLimits made{};
    for (WordLimit& limit : made.sections) {
        limit = {ANY, 0};
    }
    for (const LineFormat& format : Formats) {
        const bool mayEndEmpty = format.section == SECTION_DWFS || format.section == SECTION_DECAY_COEFFICIENT ||
                                 format.section == SECTION_REACTORS_DECAY ||
                                 format.section == SECTION_REACTORS_EMPTYING ||
                                 format.section == SECTION_REACTORS_OXYGEN;
        made.sections[format.section] = {
            format.words, static_cast<uint8_t>(TOKENS_CUT | TOKENS_ODD | (mayEndEmpty ? 0 : TOKENS_END_EMPTY))};
    }
    return made;
}

const LineLimits OddlinesLimits = makeLimits();

static const LineFormat& findFormat(int32_t section) {
    static constexpr LineFormat FREE = {-1, ANY, 0};
    const LineFormat* const end = Formats + sizeof Formats / sizeof Formats[0];
    const LineFormat* const format =
        std::find_if(Formats, end, [=](const LineFormat& one) { return one.section == section; });
    return format == end ? FREE : *format;
}

static bool isWord(const Tokens& tokens, int32_t place, const char* word) {
    return place < tokens.count && tokens_matchKeyword(tokens[place], word);
}

/// How many words a line of a layer reads, and one of a type.
static int32_t countLidWords(const Tokens& tokens) {
    static const char* const Layers[] = {"SURFACE", "SOIL", "STORAGE", "PAVEMENT", "DRAINMAT", "DRAIN", nullptr};
    static constexpr int32_t WORDS[] = {7, 8, 5, 5, 5, 6};
    const int32_t layer = tokens_findKeyword(tokens[1], Layers);
    return layer < 0 ? ANY : WORDS[layer];
}

/// How many words a clause reads. A condition may end in an object, which the reader takes at the end of a line alone.
static int32_t countRuleWords(const Tokens& tokens) {
    if (isWord(tokens, 0, "RULE") || isWord(tokens, 0, "PRIORITY")) {
        return 2;
    }
    const bool isSwmm = isWord(tokens, 1, "SWMM");
    const bool isRelation = std::strpbrk(tokens[isSwmm ? 3 : 4], "<>=") != nullptr;
    const bool isCondition = isWord(tokens, 0, "IF") || isWord(tokens, 0, "OR") || (isSwmm && isRelation);
    if (isSwmm) {
        return isCondition ? 5 : 7;
    }
    const bool endsInObject = tokens.count == 8 || (tokens.count == 7 && isWord(tokens, 5, "SWMM"));
    static const char* const Types[] = {"JUNCTION", "TANK",    "OUTFALL",    "PIPE",    "PUMP",
                                        "WEIR",     "ORIFICE", "GAGE",       "REACTOR", "SPLITTER",
                                        "LID_MONO", "CONDUIT", "CONNECTION", "SWMM",    nullptr};
    return endsInObject && tokens_findKeyword(tokens[5], Types) >= 0 ? 8 : 6;
}

/// How many words a line reads that has more than the shortest of its section.
static int32_t countWordsRead(int32_t section, const Tokens& tokens) {
    switch (section) {
        case SECTION_EVAPORATION: return isWord(tokens, 0, "MONTHLY") ? 13 : 2;
        case SECTION_SPLITTERS: return isWord(tokens, 2, "FLOW_RATIO") ? 5 : 4;
        case SECTION_CONDUITS: return isWord(tokens, 7, "RECTANGULAR") ? 10 : 9;
        case SECTION_ORIFICES: return isWord(tokens, 4, "RECTANGULAR") ? 9 : 8;
        case SECTION_CONTROL_RULES: return countRuleWords(tokens);
        case SECTION_REACTORS: return isWord(tokens, 1, "CSTR") ? 8 : 7;
        case SECTION_DECAY_COEFFICIENT: return isWord(tokens, 1, "LID") ? 7 : 6;
        case SECTION_LIDS: return countLidWords(tokens);
        case SECTION_VORN_INPS: return isWord(tokens, 0, "INFLUENT") || isWord(tokens, 0, "EFFLUENT") ? 4 : 3;
        case SECTION_TIMESERIES: return std::strcmp(tokens[1], "FILE") == 0 ? 3 : ANY;
        case SECTION_CONVERTERS: return isWord(tokens, 2, "POLLUTANT") || isWord(tokens, 2, "CONSTANT") ? 6 : 2;
        default: return findFormat(section).words;
    }
}

void oddlines_reviewNumber(const Model& model, const Tokens& tokens, int32_t place, const char* object) {
    const char* word = tokens[place];
    double value = 0.0;
    switch (tokens_findOddity(word)) {
        case NUMBER_EMPTY: warnings_addAtLine(model, WARN_NUMBER_EMPTY, place, object); break;
        case NUMBER_BYTES:
            (void)tokens_getDouble(word, &value);
            warnings_addAtLine(model, WARN_NUMBER_BYTES, place, object, {word, warnings_formatNumber(value)});
            break;
        case NUMBER_SPECIAL:
            (void)tokens_getDouble(word, &value);
            warnings_addAtLine(model, WARN_NUMBER_SPECIAL, place, object, {word, warnings_formatNumber(value)});
            break;
        default: break;
    }
}

/// Which words of an odd line are numbers: not the bed of a conduit, an object of a condition, or the name of a file.
static uint64_t findNumbers(int32_t section, const Tokens& tokens) {
    const uint64_t numbers = findFormat(section).numbers;
    switch (section) {
        case SECTION_CONDUITS: return isWord(tokens, 7, "IRREGULAR") ? numbers & ~at(8) : numbers;
        case SECTION_TIMESERIES: return std::strcmp(tokens[1], "FILE") == 0 ? 0 : numbers;
        case SECTION_CONVERTERS: return isWord(tokens, 2, "CONSTANT") ? numbers : numbers & ~at(3);
        case SECTION_CONTROL_RULES:
            if (isWord(tokens, 0, "PRIORITY")) {
                return at(1);
            }
            return countRuleWords(tokens) == 7 ? at(6) : countRuleWords(tokens) == 6 ? at(5) : 0;
        default: return numbers;
    }
}

static void reviewNumbers(const Model& model, int32_t section, const Tokens& tokens, const char* object) {
    const uint64_t numbers = findNumbers(section, tokens);
    for (int32_t k = 0; k < tokens.count; ++k) {
        if (numbers >> k & 1) {
            oddlines_reviewNumber(model, tokens, k, object);
        }
    }
}

/// What a warning about a line names: its first word, of a clause the rule that was read last, if that has its name.
static const char* getObject(const Model& model, int32_t section, const Tokens& tokens) {
    const auto read = static_cast<int32_t>(model.names[RULE].entries.size());
    const int32_t rule = section == SECTION_CONTROL_RULES ? read - 1 : -1;
    return rule >= 0 && model.rules[rule].name ? model.rules[rule].name : tokens[0];
}

void oddlines_reviewOddWords(const Model& model, int32_t section, const Tokens& tokens) {
    const char* const object = getObject(model, section, tokens);
    if (tokens.oddities & TOKENS_CUT) {
        const int32_t warning = section == SECTION_CURVES ? WARN_CURVE_POINTS : WARN_LINE_WORDS;
        warnings_addAtLine(model, warning, MAX_TOKENS - 1, object);
    }
    if (tokens.count > findFormat(section).words) {
        const int32_t read = countWordsRead(section, tokens);
        if (tokens.count > read) {
            warnings_addAtLine(model, WARN_WORDS_UNUSED, read, object, {tokens[read]});
        }
    }
    if (tokens.oddities & (TOKENS_ODD | TOKENS_END_EMPTY)) {
        reviewNumbers(model, section, tokens, object);
    }
}
