// The reader of the project file. It goes through the file twice: the first pass counts the objects and learns their
// names, so that all tables can be made at their exact sizes and a line may name what comes later; the second one fills
// the tables. Both tell every wrong line with its place and go on, so that one reading shows all that is wrong.

#include "project/reader.h"

#include <cmath>
#include <cstring>
#include <string_view>

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
#include "model/messages.h"
#include "model/model.h"
#include "model/names.h"
#include "model/pattern.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/reportfile.h"
#include "model/timeseries.h"
#include "model/warnings.h"
#include "nodes/inflows.h"
#include "nodes/reactor.h"
#include "project/fingerprint.h"
#include "project/objects.h"
#include "project/oddlines.h"
#include "project/options.h"
#include "project/places.h"
#include "project/qualityreader.h"
#include "project/sections.h"
#include "routing/linkkinds.h"
#include "routing/nodekinds.h"
#include "text/tokens.h"
#include "text/units.h"

static constexpr int32_t MAX_ERRORS = 100;

/// Tells a wrong line: message, place, and the line as it stands.
static void writeLineError(Model& model, int32_t error, int32_t section, long lineNumber, const char* line) {
    messages_setPlace(model, section < 0 ? "" : Sections[section].name, lineNumber, line);
    errors_report(model, error, model.error.objectName.c_str());
    messages_setPlace(model, "", 0, "");
    if (section < 0) {
        reportfile_print(model, "at line %ld of input file:", lineNumber);
    } else {
        reportfile_print(model, "at line %ld of %s section:", lineNumber, Sections[section].name);
    }
    reportfile_writeLine(model, line);
}

// --- first pass ----------------------------------------------------------------------------------------------------

static constexpr size_t ID_COLUMN = 16;  ///< characters that the tables of the report leave for an ID

/// Keeps the longest ID beyond the columns of the report, of equal ones the first by its letters.
static void reviewId(const Model& model, const char* word, size_t length) {
    if (!warnings_isWanted(model)) {
        return;
    }
    WarningLog& warnings = model.log->warnings;
    if (length > warnings.longId.size() || (length == warnings.longId.size() && word < warnings.longId)) {
        warnings.longId = word;
        warnings.longIdPlace = warnings_getReading(warnings);
    }
}

/// Makes a name known; the error if it was known before. The counters grow all the same.
static int32_t addName(Model& model, int32_t type, const char* word) {
    switch (names_add(model, type, word, model.counts.objects[type]++)) {
        case 1: return ERR_NONE;
        case 0: return errors_setName(model, ERR_DUPLICATE_ID, word);
        default: return errors_setName(model, ERR_MEMORY, "");
    }
}

static int32_t countCoupledNode(Model& model, int32_t kind, const char* word) {
    if (tokens_findKeyword(word, nodekinds_getRecordWords(kind)) >= 0 || names_find(model, NODE, word) >= 0) {
        return ERR_NONE;
    }
    ++model.counts.nodeKinds[kind];
    return addName(model, NODE, word);
}

/// Takes the first word of a line of a section in the first pass. An error index, or 0.
static int32_t countLine(Model& model, int32_t number, const char* word) {
    const Section& section = Sections[number];
    switch (section.countRule) {
        case COUNT_OBJECT: return addName(model, section.type, word);
        case COUNT_NEW_OBJECT:
            return names_find(model, section.type, word) < 0 ? addName(model, section.type, word) : ERR_NONE;
        case COUNT_NODE: ++model.counts.nodeKinds[section.type]; return addName(model, NODE, word);
        case COUNT_LINK: ++model.counts.linkKinds[section.type]; return addName(model, LINK, word);
        case COUNT_RULE: model.counts.objects[RULE] += tokens_matchKeyword(word, "RULE"); return ERR_NONE;
        case COUNT_COUPLED_NODE: return countCoupledNode(model, section.type, word);
        default: return ERR_NONE;
    }
}

static bool isSeparator(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Copies the first word of a line as it stands, quotes and all. Its length, 0 if there is none.
static size_t copyFirstWord(const char* line, char* word) {
    while (isSeparator(*line)) {
        ++line;
    }
    size_t length = 0;
    while (line[length] && !isSeparator(line[length])) {
        word[length] = line[length];
        ++length;
    }
    word[length] = 0;
    return length;
}

/// IDs that the first pass has met so far.
static int32_t countIds(const Model& model) {
    int32_t sum = 0;
    for (const int32_t count : model.counts.objects) {
        sum += count;
    }
    return sum - model.counts.objects[RULE];
}

/// One line of the first pass; gives the error to be told. `section` moves with the headers. `pending` is the error of
/// the line before: after an unknown header every data line repeats it, until a good header comes.
static int32_t countNextLine(Model& model, char* line, int32_t& section, int32_t& pending) {
    char word[LINE_SIZE];
    const size_t length = copyFirstWord(line, word);
    if (length == 0 || word[0] == '/') {
        return ERR_NONE;
    }
    if (word[0] == '[') {
        section = sections_find(word);
        if (section >= 0) {
            return ERR_NONE;
        }
        oddlines_reviewHeader(model, word);
        pending = ERR_KEYWORD;
        return pending;
    }
    if (word[0] == ';' && section > SECTION_DESCRIPTION && section < SECTION_RTC) {
        warnings_addAtLine(model, WARN_SEMICOLON, 0, word);
    }
    if (section == SECTION_GENERAL) {
        // The line itself is cut up here, so its echo shows the first word only.
        pending = options_readLine(model, tokens_split(line));
    } else if (section >= 0) {
        const int32_t known = length > ID_COLUMN ? countIds(model) : 0;
        pending = countLine(model, section, word);
        if (length > ID_COLUMN && countIds(model) > known) {
            reviewId(model, word, length);
        }
    }
    return pending;
}

/// Class of the objects that the lines of a section make known; -1 for none.
static int32_t findCountedClass(int32_t section) {
    switch (section < 0 ? COUNT_NOTHING : Sections[section].countRule) {
        case COUNT_OBJECT: return Sections[section].type;
        case COUNT_NODE: return NODE;
        case COUNT_LINK: return LINK;
        default: return -1;
    }
}

/// Asks for the memory of the name in the next line while this one is taken: in a large project the names are too many
/// for the caches.
static void fetchNextName(const Model& model, int32_t section) {
    static constexpr size_t LONGEST = 24;  // longer ones are few
    const int32_t type = findCountedClass(section);
    if (type < 0) {
        return;
    }
    const std::string_view next = textfile_peek(model.files.input);
    char word[LONGEST + 1];
    size_t length = 0;
    while (length < next.size() && length < LONGEST && next[length] > ' ') {
        word[length] = next[length];
        ++length;
    }
    word[length] = 0;
    if (length > 0) {
        names_fetch(model, type, word);
    }
}

/// First pass: counts and names all objects, and takes the general options.
static void countObjects(Model& model) {
    if (model.error.code) {
        return;
    }
    model.error.objectName.clear();
    std::memset(model.counts.objects, 0, sizeof model.counts.objects);
    std::memset(model.counts.nodeKinds, 0, sizeof model.counts.nodeKinds);
    std::memset(model.counts.linkKinds, 0, sizeof model.counts.linkKinds);
    LinePlace place{0, 0, -1};
    int32_t pending = ERR_NONE, errorCount = 0;
    char line[LINE_SIZE], whole[LINE_SIZE];
    int64_t offset = 0;
    bool isLookedAt = true;
    const ReadingGuard guard(model, place, line);
    fingerprint_begin(model);
    while (errorCount < MAX_ERRORS && textfile_getLine(model.files.input, line, LINE_SIZE)) {
        ++place.line;
        place.offset = offset;
        fetchNextName(model, place.section);
        const bool isCut = place.section == SECTION_GENERAL;
        if (isCut) {
            guard.setWords(std::strcpy(whole, line));
        }
        offset = textfile_getPosition(model.files.input);
        const RawLine raw{line, std::strlen(line), offset - place.offset};
        oddlines_reviewLine(model, place.section, raw, place.offset, isLookedAt);
        fingerprint_addLine(model, line, raw.length);
        if (const int32_t error = countNextLine(model, line, place.section, pending)) {
            writeLineError(model, error, place.section, place.line, line);
            ++errorCount;
        }
        if (isCut) {
            guard.setWords(line);
        }
    }
    oddlines_reviewEnd(model);
    if (errorCount > 0) {
        model.error.code = ERR_INPUT;
    }
}

// --- second pass ---------------------------------------------------------------------------------------------------

/// Takes the next row of a table. False if the first pass counted fewer: it takes words raw and this pass unquotes
/// them, so the counts can differ.
static bool takeRow(int32_t& running, int32_t count, int32_t& row) {
    row = running++;
    return row < count;
}

static int32_t parseNode(Model& model, const Tokens& tokens, int32_t kind) {
    int32_t node, row;
    const bool isNodeFree = takeRow(model.running->objects[NODE], model.counts.objects[NODE], node);
    const bool isRowFree = takeRow(model.running->nodes[kind], model.counts.nodeKinds[kind], row);
    return isNodeFree && isRowFree ? nodekinds_readLine(model, tokens, kind, node, row)
                                   : errors_setName(model, ERR_DUPLICATE_ID, tokens[0]);
}

static int32_t parseLink(Model& model, const Tokens& tokens, int32_t kind) {
    int32_t link, row;
    const bool isLinkFree = takeRow(model.running->objects[LINK], model.counts.objects[LINK], link);
    const bool isRowFree = takeRow(model.running->links[kind], model.counts.linkKinds[kind], row);
    return isLinkFree && isRowFree ? linkkinds_readLine(model, tokens, kind, link, row)
                                   : errors_setName(model, ERR_DUPLICATE_ID, tokens[0]);
}

/// Sections with one line for each object that is neither node nor link.
static int32_t parseObject(Model& model, const Tokens& tokens, int32_t type) {
    int32_t row;
    if (!takeRow(model.running->objects[type], model.counts.objects[type], row)) {
        return errors_setName(model, ERR_DUPLICATE_ID, tokens[0]);
    }
    switch (type) {
        case GAGE: return gage_readLine(model, tokens, row);
        case SUBCATCH: return subcatch_readLine(model, tokens, row);
        case POLLUT: return pollut_readLine(model, tokens, row);
        case LANDUSE: return landuse_readLine(model, tokens, row);
        default: return ERR_NONE;
    }
}

/// A definition of a coupled node, or one of the exchange records of the node defined last.
static int32_t parseCoupledNode(Model& model, const Tokens& tokens, int32_t kind) {
    if (tokens_findKeyword(tokens[0], nodekinds_getRecordWords(kind)) >= 0) {
        // A definition with an error counts as well: its records go with it, and meet no error of their own.
        const int32_t row = model.running->nodes[kind] - 1;
        return row < 0 ? errors_setName(model, ERR_LINE, "") : nodekinds_readLine(model, tokens, kind, -1, row);
    }
    // A name that was a node before was not counted as a definition, so no row waits for it. Neither does one if the
    // first pass took the word for something else. No row is used up then.
    const int32_t known = names_find(model, NODE, tokens[0]);
    const bool isRowFree = model.running->nodes[kind] < model.counts.nodeKinds[kind] &&
                           model.running->objects[NODE] < model.counts.objects[NODE];
    if (!isRowFree || (known >= 0 && known != model.running->objects[NODE])) {
        return errors_setName(model, ERR_DUPLICATE_ID, tokens[0]);
    }
    return nodekinds_readLine(model, tokens, kind, model.running->objects[NODE]++, model.running->nodes[kind]++);
}

static int32_t parseRule(Model& model, const Tokens& tokens) {
    if (tokens.count < 2) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t clause = tokens_findKeyword(tokens[0], ClauseWords);
    int32_t& running = model.running->objects[RULE];
    if (clause < 0) {
        return errors_setName(model, ERR_RULE_CLAUSE, tokens[0]);
    }
    if (clause == CLAUSE_RULE) {
        if (running >= model.counts.objects[RULE]) {
            return errors_setName(model, ERR_DUPLICATE_ID, tokens[0]);
        }
        // A rule of a known name is refused whole; the clauses after it go to the last good rule.
        if (names_add(model, RULE, tokens[1], running) != 1) {
            return errors_setName(model, ERR_DUPLICATE_ID, tokens[1]);
        }
        ++running;
    }
    return running > 0 ? rulereader_readLine(model, tokens, running - 1, clause)
                       : errors_setName(model, ERR_RULE_CLAUSE, "");
}

static void storeDescription(Model& model, const char* rawLine) {
    for (std::string& description : model.description) {
        if (description.empty()) {
            description = rawLine;
            if (description.back() == '\n') {
                description.back() = ' ';
            }
            return;
        }
    }
    if (!model.running->isDescriptionFull) {
        model.running->isDescriptionFull = true;  // one of the further lines is told for all
        warnings_addAtLine(model, WARN_DESCRIPTION_LINES, -1, "");
    }
}

/// Takes the line, which stands as `rawLine` in the file, in the second pass. An error index, or 0.
static int32_t parseLine(Model& model, const Tokens& tokens, int32_t number, const char* rawLine) {
    const Section& section = Sections[number];
    switch (section.countRule) {
        case COUNT_NODE: return parseNode(model, tokens, section.type);
        case COUNT_LINK: return parseLink(model, tokens, section.type);
        case COUNT_OBJECT: return parseObject(model, tokens, section.type);
        case COUNT_COUPLED_NODE: return parseCoupledNode(model, tokens, section.type);
        case COUNT_RULE: return parseRule(model, tokens);
        default: break;
    }
    switch (number) {
        case SECTION_DESCRIPTION: storeDescription(model, rawLine); return ERR_NONE;
        case SECTION_EVAPORATION: return evap_readLine(model, tokens);
        case SECTION_INFLOWS: return inflows_readExternal(model, tokens);
        case SECTION_DWFS: return inflows_readDryWeather(model, tokens);
        case SECTION_REACTORS_DECAY: return reactor_readDecay(model, tokens);
        case SECTION_REACTORS_OXYGEN: return reactor_readOxygen(model, tokens);
        case SECTION_REACTORS_EMPTYING: return reactor_readEmptying(model, tokens);
        case SECTION_DECAY_COEFFICIENT: return qualityreader_readDecay(model, tokens);
        case SECTION_INITIAL_CONCENTRATION: return qualityreader_readInitial(model, tokens);
        case SECTION_COVERAGES: return subcatch_readCoverage(model, tokens);
        case SECTION_BUILDUP: return landuse_readBuildup(model, tokens);
        case SECTION_WASHOFF: return landuse_readWashoff(model, tokens);
        case SECTION_LOADINGS: return subcatch_readLoading(model, tokens);
        case SECTION_LIDS: return lid_readLine(model, tokens);
        case SECTION_LID_GROUPS: return lidgroup_readLine(model, tokens);
        case SECTION_CURVES: return curve_readLine(model, tokens);
        case SECTION_TIMESERIES: return timeseries_readLine(model, tokens);
        case SECTION_PATTERNS: return pattern_read(model, tokens);
        case SECTION_CONVERTERS: return converter_readLine(model, tokens);
        case SECTION_SENSORS: return rulereader_readSensor(model, tokens);
        default: return ERR_NONE;
    }
}

/// Whether every table is filled as it was counted. Rules may be fewer: a rule refused is no row that anybody names.
static bool areTablesFilled(const Model& model) {
    bool isFilled = std::memcmp(model.running->nodes, model.counts.nodeKinds, sizeof model.counts.nodeKinds) == 0 &&
                    std::memcmp(model.running->links, model.counts.linkKinds, sizeof model.counts.linkKinds) == 0;
    for (const int32_t type : {GAGE, SUBCATCH, NODE, LINK, POLLUT, LANDUSE}) {
        isFilled = isFilled && model.running->objects[type] == model.counts.objects[type];
    }
    return isFilled;
}

/// Reads all lines; gives the number of errors.
static int32_t readLines(Model& model) {
    const bool isReviewed = warnings_isWanted(model);
    LinePlace place{0, 0, SECTION_DESCRIPTION};  // text before the first header describes the project
    int32_t& section = place.section;
    WordLimit limit = oddlines_getLimit(section, isReviewed);
    int32_t errorCount = 0;
    char line[LINE_SIZE], words[LINE_SIZE];
    int64_t offset = 0;
    const ReadingGuard guard(model, place, line);
    while (textfile_getLine(model.files.input, line, LINE_SIZE)) {
        ++place.line;
        place.offset = offset;
        offset = textfile_getPosition(model.files.input);
        std::strcpy(words, line);
        const Tokens tokens = tokens_split(words);
        if (tokens.count == 0 || tokens[0][0] == '/') {
            continue;
        }
        if (tokens[0][0] == '[') {
            const int32_t found = sections_find(tokens[0]);
            if (found < 0) {
                // Only quotes hide an unknown header from the first pass.
                writeLineError(model, errors_setName(model, ERR_KEYWORD, tokens[0]), section, place.line, line);
                return errorCount + 1;
            }
            section = found;
            limit = oddlines_getLimit(section, isReviewed);
            if (line[std::strspn(line, " \t")] != '[') {
                warnings_addAtLine(model, WARN_SECTION_QUOTED, 0, tokens[0]);
            }
            continue;
        }
        const int32_t error = parseLine(model, tokens, section, line);
        if (error && ++errorCount > MAX_ERRORS) {
            reportfile_writeLine(model, "\n  Maximum error count exceeded.");
            messages_addInfo(model, "Maximum error count exceeded.");
            break;
        }
        if (error) {
            writeLineError(model, error, section, place.line, line);
        } else {
            oddlines_reviewWords(model, section, limit, tokens);
        }
    }
    return errorCount;
}

/// Second pass: fills the tables.
static void readData(Model& model) {
    if (model.error.code) {
        return;
    }
    *model.running = RunningIndices{};
    model.sensors.clear();
    for (Series& series : model.timeSeries) {
        series.dateInForce = model.options.startDate + model.options.startTime;
    }
    textfile_setPosition(model.files.input, 0);
    const int32_t errorCount = readLines(model);
    if (errorCount > 0) {
        model.error.code = ERR_INPUT;
    } else if (!areTablesFilled(model)) {
        errors_report(model, ERR_LINE, "");
        model.error.code = ERR_INPUT;
    }
}

// --- the whole -----------------------------------------------------------------------------------------------------

static void setDuration(Model& model) {
    model.options.startDateTime = model.options.startDate + model.options.startTime;
    model.options.endDateTime = model.options.endDate + model.options.endTime;
    if (model.options.reportStep < model.options.routingStep) {
        errors_report(model, ERR_REPORT_STEP, "");
    }
    if (model.options.startDateTime >= model.options.endDateTime) {
        errors_report(model, ERR_START_AFTER_END, "");
        return;
    }
    // The floor of the product as it is: where the difference of two dates falls just short of a whole second, that
    // second is lost.
    model.options.totalDuration =
        std::floor((model.options.endDateTime - model.options.startDateTime) * SECONDS_PER_DAY) * MS_PER_SECOND;
}

void reader_readProject(Model& model) {
    if (model.log) {
        model.log->warnings.findPlaces = places_find;
    }
    countObjects(model);
    objects_create(model);
    readData(model);
    if (!model.error.code) {
        setDuration(model);
    }
}
