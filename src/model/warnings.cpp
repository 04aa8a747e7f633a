// Warnings. A kind is a row of one list, from which the manual's chapter and the hosts' list are made as well.

#include "model/warnings.h"

#include <charconv>
#include <cstring>
#include <utility>

#include "model/model.h"
#include "text/tokens.h"
#include "text/units.h"

const WarningKind WarningKinds[WARNING_COUNT] = {
#define TARNVELDE_WARNING(enumerator, name, group, severity, text, effect, advice) \
    {name, group, severity, text, effect, advice},
#include "model/warnings.def"
};

static const char* const SectionNames[] = {
#define TARNVELDE_SECTION(number, name, countRule, type) name,
#define TARNVELDE_NODE_SECTION(number, name, kind) name,
#define TARNVELDE_COUPLED_SECTION(number, name, kind) name,
#define TARNVELDE_LINK_SECTION(number, name, kind) name,
#include "model/sections.def"
};

bool warnings_isWanted(const Model& model) {
    return model.log && model.log->warnings.isWanted;
}

// --- texts ---------------------------------------------------------------------------------------------------------

static std::string fillIn(const char* text, WarningFills fills) {
    std::string filled;
    for (const char* at = text; *at; ++at) {
        const auto index = static_cast<size_t>(at[1] - '1');
        if (*at == '%' && index < fills.size()) {
            filled += fills.begin()[index];
            ++at;
        } else {
            filled += *at;
        }
    }
    return filled;
}

std::string warnings_formatNumber(double value) {
    static constexpr std::ptrdiff_t SHORT = 7;
    char text[40];
    const char* end = std::to_chars(text, text + sizeof text, value).ptr;
    if (end - text > SHORT) {
        end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 4).ptr;
    }
    return {text, static_cast<size_t>(end - text)};
}

// --- places --------------------------------------------------------------------------------------------------------

static MessagePlace makePlace(const LinePlace& place, const char* line, int32_t word) {
    const bool hasSection = place.section >= 0;
    MessagePlace made{hasSection ? SectionNames[place.section] : "", place.line, line, 0, 0};
    made.words.erase(made.words.find_last_not_of(" \t\r\n") + 1);
    if (word < 0) {
        return made;
    }
    std::string copy = made.words;
    const Tokens tokens = tokens_split(copy.data());
    if (word < tokens.count) {
        made.column = static_cast<int32_t>(tokens[word] - copy.data()) + 1;
        made.length = static_cast<int32_t>(std::strlen(tokens[word]));
    }
    return made;
}

/// A line that was read before is read once more: few are ever asked for.
static MessagePlace findLine(const WarningLog& warnings, const LinePlace& place, int32_t word) {
    if (place.line == 0 || !warnings.source) {
        return {"", 0, "", 0, 0};
    }
    char line[LINE_SIZE];
    const int64_t position = textfile_getPosition(*warnings.source);
    textfile_setPosition(*warnings.source, place.offset);
    const bool isRead = textfile_getLine(*warnings.source, line, LINE_SIZE);
    textfile_setPosition(*warnings.source, position);
    return isRead ? makePlace(place, line, word) : makePlace(place, "", -1);
}

/// The place at which an object was defined. Most projects never need one, so all are found at the first need.
static MessagePlace findPlace(const Model& model, int32_t type, int32_t index) {
    WarningLog& warnings = model.log->warnings;
    if (warnings.findPlaces) {
        std::exchange(warnings.findPlaces, nullptr)(model, warnings);
    }
    const bool isKnown = index >= 0 && static_cast<size_t>(index) < warnings.places[type].size();
    return findLine(warnings, isKnown ? warnings.places[type][static_cast<size_t>(index)] : LinePlace{}, 0);
}

std::string warnings_formatLine(const LinePlace& place) {
    return place.line > 0 ? " (line " + std::to_string(place.line) + ")" : std::string();
}

// --- things given ----------------------------------------------------------------------------------------------------

/// The slot of a key: where it stands, or a free one. There is always one.
static GivenLine& findSlot(std::vector<GivenLine>& slots, uint64_t key) {
    const size_t mask = slots.size() - 1;
    size_t at = static_cast<size_t>((key * 0x9E3779B97F4A7C15u) >> 32) & mask;
    while (slots[at].place.line != 0 && slots[at].key != key) {
        at = (at + 1) & mask;
    }
    return slots[at];
}

static uint64_t makeKey(int32_t section, int32_t first, int32_t second) {
    return static_cast<uint64_t>(section) << 56 | static_cast<uint64_t>(first) << 28 | static_cast<uint64_t>(second);
}

[[gnu::cold]] static void growSlots(std::vector<GivenLine>& slots) {
    std::vector<GivenLine> larger(slots.empty() ? 64 : slots.size() * 2);
    for (const GivenLine& slot : slots) {
        if (slot.place.line != 0) {
            findSlot(larger, slot.key) = slot;
        }
    }
    slots = std::move(larger);
}

void warnings_noteGiven(const Model& model, int32_t first, int32_t second, const char* object, const char* what) {
    if (!warnings_isWanted(model)) {
        return;
    }
    WarningLog& warnings = model.log->warnings;
    if (warnings.givenCount * 2 >= warnings.given.size()) {
        growSlots(warnings.given);
    }
    const LinePlace place = warnings_getReading(warnings);
    const uint64_t key = makeKey(place.section, first, second);
    warnings.sections |= uint64_t{1} << place.section;
    GivenLine& slot = findSlot(warnings.given, key);
    if (slot.place.line != 0) {
        warnings_addAtLine(model, WARN_LINE_REPLACED, -1, object, {what, warnings_formatLine(slot.place)});
    } else {
        ++warnings.givenCount;
    }
    slot = {key, place};
}

LinePlace warnings_findGiven(const Model& model, int32_t section, int32_t first, int32_t second) {
    if (!warnings_isWanted(model) || model.log->warnings.given.empty()) {
        return {};
    }
    return findSlot(model.log->warnings.given, makeKey(section, first, second)).place;
}

// --- the line that is read -------------------------------------------------------------------------------------------

ReadingGuard::ReadingGuard(const Model& model, const LinePlace& place, const char* words) : log(model.log) {
    if (log) {
        log->warnings.reading = &place;
        log->warnings.words = words;
    }
}

ReadingGuard::~ReadingGuard() {
    if (log) {
        log->warnings.reading = nullptr;
        log->warnings.words = nullptr;
    }
}

void ReadingGuard::setWords(const char* words) const {
    if (log) {
        log->warnings.words = words;
    }
}

LinePlace warnings_getReading(const WarningLog& warnings) {
    return warnings.reading ? *warnings.reading : LinePlace{};
}

// --- telling -------------------------------------------------------------------------------------------------------

static constexpr size_t SEVERITY_COUNT = 3;

/// Counts one of a kind and weight, so that many notes hide no warning. Whether it is one of those that are told.
static bool takeOne(WarningLog& warnings, int32_t warning, int32_t severity) {
    warnings.counts.resize(WARNING_COUNT * SEVERITY_COUNT);
    return warnings.counts[static_cast<size_t>(warning) * SEVERITY_COUNT + static_cast<size_t>(severity)]++ <
           WARNINGS_KEPT;
}

static bool takeOne(WarningLog& warnings, int32_t warning) {
    return takeOne(warnings, warning, WarningKinds[warning].severity);
}

static void tell(MessageLog& log, int32_t warning, int32_t severity, MessagePlace&& place, const char* object,
                 WarningFills fills, double date) {
    const WarningKind& kind = WarningKinds[warning];
    messages_add(log, {MESSAGE_WARNING, 0, kind.name, fillIn(kind.text, fills), std::move(place), object, severity,
                       kind.effect, kind.advice, date});
}

void warnings_addAtLine(const Model& model, int32_t warning, int32_t severity, int32_t word, const char* object,
                        WarningFills fills) {
    if (!warnings_isWanted(model) || !takeOne(model.log->warnings, warning, severity)) {
        return;
    }
    const WarningLog& warnings = model.log->warnings;
    const char* words = warnings.words ? warnings.words : "";
    tell(*model.log, warning, severity, makePlace(warnings_getReading(warnings), words, word), object, fills, 0.0);
}

void warnings_addAtLine(const Model& model, int32_t warning, int32_t word, const char* object, WarningFills fills) {
    warnings_addAtLine(model, warning, WarningKinds[warning].severity, word, object, fills);
}

void warnings_addAbout(const Model& model, int32_t warning, int32_t severity, const ObjectKey& key, const char* object,
                       WarningFills fills) {
    if (warnings_isWanted(model) && takeOne(model.log->warnings, warning, severity)) {
        tell(*model.log, warning, severity, findPlace(model, key.type, key.index), object, fills, 0.0);
    }
}

void warnings_addAbout(const Model& model, int32_t warning, int32_t type, int32_t index, const char* object,
                       WarningFills fills) {
    warnings_addAbout(model, warning, WarningKinds[warning].severity, {type, index}, object, fills);
}

void warnings_addAtPlace(const Model& model, int32_t warning, const LinePlace& place, int32_t word, const char* object,
                         WarningFills fills) {
    if (warnings_isWanted(model) && takeOne(model.log->warnings, warning)) {
        tell(*model.log, warning, WarningKinds[warning].severity, findLine(model.log->warnings, place, word), object,
             fills, 0.0);
    }
}

void warnings_addAboutAll(const Model& model, int32_t warning, WarningFills fills) {
    if (warnings_isWanted(model) && takeOne(model.log->warnings, warning)) {
        tell(*model.log, warning, WarningKinds[warning].severity, {"", 0, "", 0, 0}, "", fills, 0.0);
    }
}

/// Whether an object is the first time told of in a run. What happens may happen in every step.
static bool takeFirst(WarningLog& warnings, int32_t warning, int32_t type, int32_t index) {
    const auto kind = static_cast<uint64_t>(warning) * OBJECT_TYPE_COUNT + static_cast<uint64_t>(type);
    return warnings.told.insert(kind << 32U | static_cast<uint32_t>(index)).second;
}

void warnings_addInRun(const Model& model, int32_t warning, int32_t type, int32_t index, const char* object) {
    if (!warnings_isWanted(model)) {
        return;
    }
    WarningLog& warnings = model.log->warnings;
    if (takeFirst(warnings, warning, type, index) && takeOne(warnings, warning)) {
        const double date = model.options.startDateTime + model.clock.newRoutingTime / MS_PER_DAY;
        tell(*model.log, warning, WarningKinds[warning].severity, findPlace(model, type, index), object, {}, date);
    }
}

void warnings_openRun(const Model& model) {
    if (!model.log) {
        return;
    }
    WarningLog& warnings = model.log->warnings;
    warnings.told.clear();
    warnings.isRunReviewed = warnings.isNumberTold = false;
    for (size_t k = 0; k < warnings.counts.size(); ++k) {
        warnings.counts[k] = WarningKinds[k / SEVERITY_COUNT].group == WARNING_RUN ? 0 : warnings.counts[k];
    }
}

void warnings_tellRest(const Model& model) {
    if (!warnings_isWanted(model)) {
        return;
    }
    WarningLog& warnings = model.log->warnings;
    for (size_t k = 0; k < warnings.counts.size(); ++k) {
        if (warnings.counts[k] > WARNINGS_KEPT) {
            const std::string more = std::to_string(warnings.counts[k] - WARNINGS_KEPT) + " more of this kind";
            const WarningKind& kind = WarningKinds[k / SEVERITY_COUNT];
            messages_add(*model.log, {MESSAGE_WARNING,
                                      0,
                                      kind.name,
                                      more,
                                      {"", 0, "", 0, 0},
                                      "",
                                      static_cast<int32_t>(k % SEVERITY_COUNT),
                                      kind.effect,
                                      kind.advice,
                                      0.0});
            warnings.counts[k] = WARNINGS_KEPT;
        }
    }
}
