// The reader of the project file. It goes through the file twice: the first pass counts the objects and learns their
// names, so that all tables can be made at their exact sizes and a line may name what comes later; the second one fills
// the tables. Both tell every wrong line with its place and go on, so that one reading shows all that is wrong.

#include "project/reader.h"

#include <cmath>
#include <cstring>

#include "controls/rule.h"
#include "controls/rulereader.h"
#include "coupling/converter.h"
#include "hydrology/evap.h"
#include "hydrology/gage.h"
#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/lidgroup.h"
#include "hydrology/subcatch.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "model/timeseries.h"
#include "nodes/inflows.h"
#include "nodes/reactor.h"
#include "project/objects.h"
#include "project/options.h"
#include "project/qualityreader.h"
#include "project/sections.h"
#include "routing/linkkinds.h"
#include "routing/nodekinds.h"
#include "text/tokens.h"
#include "text/units.h"

TextFile InputFile;

static constexpr int32_t MAX_ERRORS = 100;

/// Running indices of the second pass, by class of object, kind of node and kind of link.
struct RunningIndices {
    int32_t objects[OBJECT_TYPE_COUNT];
    int32_t nodes[NODE_KIND_COUNT];
    int32_t links[LINK_KIND_COUNT];
};

static RunningIndices Running;

/// Tells a wrong line: message, place, and the line as it stands.
static void writeLineError(int32_t error, int32_t section, long lineNumber, const char* line) {
    if (!ReportFile) {
        return;
    }
    errors_report(error, ErrorObjectName.c_str());
    if (section < 0) {
        reportfile_print("at line %ld of input file:", lineNumber);
    } else {
        reportfile_print("at line %ld of %s section:", lineNumber, Sections[section].name);
    }
    reportfile_writeLine(line);
}

// --- first pass ----------------------------------------------------------------------------------------------------

/// Makes a name known; the error if it was known before. The counters grow all the same.
static int32_t addName(int32_t type, const char* word) {
    switch (names_add(type, word, ObjectCount[type]++)) {
        case 1: return ERR_NONE;
        case 0: return errors_setName(ERR_DUPLICATE_ID, word);
        default: return errors_setName(ERR_MEMORY, "");
    }
}

static int32_t countCoupledNode(int32_t kind, const char* word) {
    if (tokens_findKeyword(word, nodekinds_getRecordWords(kind)) >= 0 || names_find(NODE, word) >= 0) {
        return ERR_NONE;
    }
    ++NodeKindCount[kind];
    return addName(NODE, word);
}

/// Takes the first word of a line of a section in the first pass. An error index, or 0.
static int32_t countLine(int32_t number, const char* word) {
    const Section& section = Sections[number];
    switch (section.countRule) {
        case COUNT_OBJECT: return addName(section.type, word);
        case COUNT_NEW_OBJECT: return names_find(section.type, word) < 0 ? addName(section.type, word) : ERR_NONE;
        case COUNT_NODE: ++NodeKindCount[section.type]; return addName(NODE, word);
        case COUNT_LINK: ++LinkKindCount[section.type]; return addName(LINK, word);
        case COUNT_RULE: ObjectCount[RULE] += tokens_matchKeyword(word, "RULE"); return ERR_NONE;
        case COUNT_COUPLED_NODE: return countCoupledNode(section.type, word);
        default: return ERR_NONE;
    }
}

/// Copies the first word of a line as it stands, quotes and all. False if there is none.
static bool copyFirstWord(const char* line, char* word) {
    line += std::strspn(line, " \t\n\r");
    const size_t length = std::strcspn(line, " \t\n\r");
    std::memcpy(word, line, length);
    word[length] = 0;
    return length > 0;
}

/// One line of the first pass; gives the error to be told. `section` moves with the headers. `pending` is the error of
/// the line before: behind an unknown header every data line repeats it, until a good header comes.
static int32_t countNextLine(char* line, int32_t& section, int32_t& pending) {
    char word[LINE_SIZE];
    if (!copyFirstWord(line, word) || word[0] == '/') {
        return ERR_NONE;
    }
    if (word[0] == '[') {
        section = sections_find(word);
        if (section >= 0) {
            return ERR_NONE;
        }
        pending = ERR_KEYWORD;
    } else if (section == SECTION_GENERAL) {
        // The line itself is cut up here, so its echo shows the first word only.
        const Tokens tokens = tokens_split(line);
        pending = tokens.count < 2 ? ERR_NONE : options_read(tokens[0], tokens[1]);
    } else if (section >= 0) {
        pending = countLine(section, word);
    }
    return pending;
}

/// First pass: counts and names all objects, and takes the general options.
static void countObjects() {
    if (ErrorCode) {
        return;
    }
    ErrorObjectName.clear();
    std::memset(ObjectCount, 0, sizeof ObjectCount);
    std::memset(NodeKindCount, 0, sizeof NodeKindCount);
    std::memset(LinkKindCount, 0, sizeof LinkKindCount);
    int32_t section = -1, pending = ERR_NONE, errorCount = 0;
    long lineNumber = 0;
    char line[LINE_SIZE];
    while (errorCount < MAX_ERRORS && textfile_getLine(InputFile, line, LINE_SIZE)) {
        ++lineNumber;
        if (const int32_t error = countNextLine(line, section, pending)) {
            writeLineError(error, section, lineNumber, line);
            ++errorCount;
        }
    }
    if (errorCount > 0) {
        ErrorCode = ERR_INPUT;
    }
}

// --- second pass ---------------------------------------------------------------------------------------------------

/// Takes the next row of a table. False if the first pass counted fewer: it takes words raw and this pass unquotes
/// them, so the counts can differ.
static bool takeRow(int32_t& running, int32_t count, int32_t& row) {
    row = running++;
    return row < count;
}

static int32_t parseNode(const Tokens& tokens, int32_t kind) {
    int32_t node, row;
    const bool isNodeFree = takeRow(Running.objects[NODE], ObjectCount[NODE], node);
    const bool isRowFree = takeRow(Running.nodes[kind], NodeKindCount[kind], row);
    return isNodeFree && isRowFree ? nodekinds_readLine(tokens, kind, node, row)
                                   : errors_setName(ERR_DUPLICATE_ID, tokens[0]);
}

static int32_t parseLink(const Tokens& tokens, int32_t kind) {
    int32_t link, row;
    const bool isLinkFree = takeRow(Running.objects[LINK], ObjectCount[LINK], link);
    const bool isRowFree = takeRow(Running.links[kind], LinkKindCount[kind], row);
    return isLinkFree && isRowFree ? linkkinds_readLine(tokens, kind, link, row)
                                   : errors_setName(ERR_DUPLICATE_ID, tokens[0]);
}

/// Sections with one line for each object that is neither node nor link.
static int32_t parseObject(const Tokens& tokens, int32_t type) {
    int32_t row;
    if (!takeRow(Running.objects[type], ObjectCount[type], row)) {
        return errors_setName(ERR_DUPLICATE_ID, tokens[0]);
    }
    switch (type) {
        case GAGE: return gage_readLine(tokens, row);
        case SUBCATCH: return subcatch_readLine(tokens, row);
        case POLLUT: return pollut_readLine(tokens, row);
        case LANDUSE: return landuse_readLine(tokens, row);
        default: return ERR_NONE;
    }
}

/// A definition of a coupled node, or one of the exchange records of the node defined last.
static int32_t parseCoupledNode(const Tokens& tokens, int32_t kind) {
    if (tokens_findKeyword(tokens[0], nodekinds_getRecordWords(kind)) >= 0) {
        // A definition with an error counts as well: its records go with it, and meet no error of their own.
        const int32_t row = Running.nodes[kind] - 1;
        return row < 0 ? errors_setName(ERR_LINE, "") : nodekinds_readLine(tokens, kind, -1, row);
    }
    // A name that was a node before was not counted as a definition, so no row waits for it. Neither does one if the
    // first pass took the word for something else. No row is used up then.
    const int32_t known = names_find(NODE, tokens[0]);
    const bool isRowFree = Running.nodes[kind] < NodeKindCount[kind] && Running.objects[NODE] < ObjectCount[NODE];
    if (!isRowFree || (known >= 0 && known != Running.objects[NODE])) {
        return errors_setName(ERR_DUPLICATE_ID, tokens[0]);
    }
    return nodekinds_readLine(tokens, kind, Running.objects[NODE]++, Running.nodes[kind]++);
}

static int32_t parseRule(const Tokens& tokens) {
    if (tokens.count < 2) {
        return errors_setName(ERR_ITEMS, "");
    }
    const int32_t clause = tokens_findKeyword(tokens[0], ClauseWords);
    int32_t& running = Running.objects[RULE];
    if (clause < 0) {
        return errors_setName(ERR_RULE_CLAUSE, tokens[0]);
    }
    if (clause == CLAUSE_RULE) {
        if (running >= ObjectCount[RULE]) {
            return errors_setName(ERR_DUPLICATE_ID, tokens[0]);
        }
        // A rule of a known name is refused whole; the clauses behind it go to the last good rule.
        if (names_add(RULE, tokens[1], running) != 1) {
            return errors_setName(ERR_DUPLICATE_ID, tokens[1]);
        }
        ++running;
    }
    return running > 0 ? rulereader_readLine(tokens, running - 1, clause) : errors_setName(ERR_RULE_CLAUSE, "");
}

static void storeDescription(const char* rawLine) {
    for (std::string& description : Description) {
        if (description.empty()) {
            description = rawLine;
            if (description.back() == '\n') {
                description.back() = ' ';
            }
            return;
        }
    }
}

/// Takes the line, which stands as `rawLine` in the file, in the second pass. An error index, or 0.
static int32_t parseLine(const Tokens& tokens, int32_t number, const char* rawLine) {
    const Section& section = Sections[number];
    switch (section.countRule) {
        case COUNT_NODE: return parseNode(tokens, section.type);
        case COUNT_LINK: return parseLink(tokens, section.type);
        case COUNT_OBJECT: return parseObject(tokens, section.type);
        case COUNT_COUPLED_NODE: return parseCoupledNode(tokens, section.type);
        case COUNT_RULE: return parseRule(tokens);
        default: break;
    }
    switch (number) {
        case SECTION_DESCRIPTION: storeDescription(rawLine); return ERR_NONE;
        case SECTION_EVAPORATION: return evap_readLine(tokens);
        case SECTION_INFLOWS: return inflows_readExternal(tokens);
        case SECTION_DWFS: return inflows_readDryWeather(tokens);
        case SECTION_REACTORS_DECAY: return reactor_readDecay(tokens);
        case SECTION_REACTORS_EMPTYING: return reactor_readEmptying(tokens);
        case SECTION_DECAY_COEFFICIENT: return qualityreader_readDecay(tokens);
        case SECTION_INITIAL_CONCENTRATION: return qualityreader_readInitial(tokens);
        case SECTION_COVERAGES: return subcatch_readCoverage(tokens);
        case SECTION_BUILDUP: return landuse_readBuildup(tokens);
        case SECTION_WASHOFF: return landuse_readWashoff(tokens);
        case SECTION_LOADINGS: return subcatch_readLoading(tokens);
        case SECTION_LIDS: return lid_readLine(tokens);
        case SECTION_LID_GROUPS: return lidgroup_readLine(tokens);
        case SECTION_CURVES: return curve_readLine(tokens);
        case SECTION_TIMESERIES: return timeseries_readLine(tokens);
        case SECTION_PATTERNS: return pattern_read(tokens);
        case SECTION_CONVERTERS: return converter_readLine(tokens);
        default: return ERR_NONE;
    }
}

/// Whether every table is filled as it was counted. Rules may be fewer: a rule refused is no row that anybody names.
static bool areTablesFilled() {
    bool isFilled = std::memcmp(Running.nodes, NodeKindCount, sizeof NodeKindCount) == 0 &&
                    std::memcmp(Running.links, LinkKindCount, sizeof LinkKindCount) == 0;
    for (const int32_t type : {GAGE, SUBCATCH, NODE, LINK, POLLUT, LANDUSE}) {
        isFilled = isFilled && Running.objects[type] == ObjectCount[type];
    }
    return isFilled;
}

/// Reads all lines; gives the number of errors.
static int32_t readLines() {
    int32_t section = SECTION_DESCRIPTION;  // text before the first header describes the project
    int32_t errorCount = 0;
    long lineNumber = 0;
    char line[LINE_SIZE], words[LINE_SIZE];
    while (textfile_getLine(InputFile, line, LINE_SIZE)) {
        ++lineNumber;
        std::strcpy(words, line);
        const Tokens tokens = tokens_split(words);
        if (tokens.count == 0 || tokens[0][0] == '/') {
            continue;
        }
        if (tokens[0][0] == '[') {
            const int32_t found = sections_find(tokens[0]);
            if (found < 0) {
                // Only quotes hide an unknown header from the first pass.
                writeLineError(errors_setName(ERR_KEYWORD, tokens[0]), section, lineNumber, line);
                return errorCount + 1;
            }
            section = found;
            continue;
        }
        const int32_t error = parseLine(tokens, section, line);
        if (error && ++errorCount > MAX_ERRORS) {
            reportfile_writeLine("\n  Maximum error count exceeded.");
            break;
        }
        if (error) {
            writeLineError(error, section, lineNumber, line);
        }
    }
    return errorCount;
}

/// Second pass: fills the tables.
static void readData() {
    if (ErrorCode) {
        return;
    }
    Running = RunningIndices{};
    for (Series& series : TimeSeries) {
        series.dateInForce = StartDate + StartTime;
    }
    textfile_setPosition(InputFile, 0);
    const int32_t errorCount = readLines();
    if (errorCount > 0) {
        ErrorCode = ERR_INPUT;
    } else if (!areTablesFilled()) {
        errors_report(ERR_LINE, "");
        ErrorCode = ERR_INPUT;
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

static void setDuration() {
    StartDateTime = StartDate + StartTime;
    EndDateTime = EndDate + EndTime;
    if (ReportStep < RoutingStep) {
        errors_report(ERR_REPORT_STEP, "");
    }
    if (StartDateTime >= EndDateTime) {
        errors_report(ERR_START_AFTER_END, "");
        return;
    }
    // The floor of the product as it is: where the difference of two dates falls just short of a whole second, that
    // second is lost.
    TotalDuration = std::floor((EndDateTime - StartDateTime) * SECONDS_PER_DAY) * MS_PER_SECOND;
}

void reader_readProject() {
    names_clear();
    countObjects();
    objects_create();
    readData();
    if (!ErrorCode) {
        setDuration();
    }
}
