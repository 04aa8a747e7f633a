// The project is read once more, for the lines that define objects. That is only done where an error has no place.

#include "errorplaces.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <string_view>

#include "files.h"
#include "projectlines.h"
#include "remedies.h"
#include "seriesfaults.h"

namespace {

// --- objects -------------------------------------------------------------------------------------------------------

constexpr std::string_view NODE = "node";
constexpr std::string_view LINK = "link";
constexpr std::string_view GENERAL = "[GENERAL]";
constexpr std::string_view SERIES = "[TIMESERIES]";

/// A section whose lines begin with IDs, and the set of names that these belong to: the section itself, or one that it
/// shares with others.
struct NamedSection {
    std::string_view name;
    std::string_view set;
    size_t lagged;  ///< of links: the word that says whether it is
};

constexpr auto SECTIONS = std::to_array<NamedSection>({{"[JUNCTIONS]", NODE, 0},
                                                       {"[TANKS]", NODE, 0},
                                                       {"[OUTFALLS]", NODE, 0},
                                                       {"[SPLITTERS]", NODE, 0},
                                                       {"[SWMM_INPS]", NODE, 0},
                                                       {"[REACTORS]", NODE, 0},
                                                       {"[LID_MONOS]", NODE, 0},
                                                       {"[VORN_INPS]", NODE, 0},
                                                       {"[PIPES]", LINK, 3},
                                                       {"[PUMPS]", LINK, 4},
                                                       {"[CONNECTIONS]", LINK, 3},
                                                       {"[CONDUITS]", LINK, 3},
                                                       {"[WEIRS]", LINK, 3},
                                                       {"[ORIFICES]", LINK, 3},
                                                       {"[SUBCATCHS]", "[SUBCATCHS]", 0},
                                                       {"[RAINGAGES]", "[RAINGAGES]", 0},
                                                       {"[CURVES]", "[CURVES]", 0},
                                                       {"[PATTERNS]", "[PATTERNS]", 0},
                                                       {"[LIDS]", "[LIDS]", 0},
                                                       {"[CONVERTERS]", "[CONVERTERS]", 0},
                                                       {SERIES, SERIES, 0},
                                                       {GENERAL, GENERAL, 0}});

/// What codes without a place are about.
struct CodeObject {
    int32_t code;
    std::string_view set;
    const char* option;  ///< of [GENERAL]; for others the message names the object
};

constexpr auto CODES = std::to_array<CodeObject>({{131, LINK, ""},
                                                  {131, NODE, ""},
                                                  {133, NODE, ""},
                                                  {137, NODE, ""},
                                                  {139, NODE, ""},
                                                  {141, LINK, ""},
                                                  {145, NODE, ""},
                                                  {149, NODE, ""},
                                                  {151, NODE, ""},
                                                  {153, LINK, ""},
                                                  {155, LINK, ""},
                                                  {157, NODE, ""},
                                                  {159, "[RAINGAGES]", ""},
                                                  {161, "[CURVES]", ""},
                                                  {163, SERIES, ""},
                                                  {171, GENERAL, "END_DATE"},
                                                  {173, GENERAL, "REPORT_STEP"},
                                                  {175, NODE, ""},
                                                  {177, NODE, ""},
                                                  {179, GENERAL, "RUNOFF_STEP"},
                                                  {181, LINK, ""},
                                                  {183, NODE, ""},
                                                  {361, SERIES, ""},
                                                  {363, SERIES, ""},
                                                  {500, LINK, ""},
                                                  {503, LINK, ""},
                                                  {505, LINK, ""},
                                                  {507, "[PATTERNS]", ""},
                                                  {509, "[PATTERNS]", ""},
                                                  {511, LINK, ""},
                                                  {513, NODE, ""},
                                                  {515, NODE, ""},
                                                  {517, "[SUBCATCHS]", ""},
                                                  {700, "[LIDS]", ""},
                                                  {701, "[LIDS]", ""},
                                                  {703, "[LIDS]", ""},
                                                  {705, "[SUBCATCHS]", ""},
                                                  {707, "[SUBCATCHS]", ""},
                                                  {900, "[RAINGAGES]", ""},
                                                  {910, "[CONVERTERS]", ""},
                                                  {911, "[CONVERTERS]", ""}});

/// The first line of an object; of an option of [GENERAL] the last one, which counts.
struct ObjectLine {
    const NamedSection* section;
    std::string id;
    int64_t number;
    std::string bytes;
};

using ObjectLines = std::map<std::pair<std::string_view, std::string>, ObjectLine>;

const NamedSection* findSection(std::string_view header) {
    const std::string name = projectlines_fold(header);
    const auto* const found = std::find_if(SECTIONS.begin(), SECTIONS.end(),
                                           [&](const NamedSection& section) { return section.name == name; });
    return found == SECTIONS.end() ? nullptr : found;
}

ObjectLines readObjects(const std::string& project) {
    ObjectLines objects;
    if (!files_isRegular(project)) {
        return objects;
    }
    std::ifstream file(files_toPath(project), std::ios::binary);
    const NamedSection* section = nullptr;
    ProjectPiece piece;
    for (int64_t number = 1; file.is_open() && projectlines_read(*file.rdbuf(), piece); ++number) {
        const std::string_view word = projectlines_findFirst(piece.bytes);
        if (word.starts_with('[')) {
            section = findSection(word);
        } else if (section != nullptr && !word.empty() && !word.starts_with('/')) {
            const std::string id(word);
            const ObjectLine line{section, id, number, piece.bytes.substr(0, piece.bytes.find_last_not_of("\r\n") + 1)};
            const auto [place, isNew] = objects.try_emplace({section->set, projectlines_fold(id)}, line);
            if (!isNew && section->set == GENERAL) {
                place->second = line;
            }
        }
    }
    return objects;
}

const ObjectLine* findObject(const ObjectLines& objects, const HostMessage& message) {
    for (const CodeObject& known : CODES) {
        if (known.code == message.code) {
            const std::string id = *known.option ? known.option : message.object;
            const auto found = objects.find({known.set, projectlines_fold(id)});
            if (found != objects.end()) {
                return &found->second;
            }
        }
    }
    return nullptr;
}

// --- the network ---------------------------------------------------------------------------------------------------

constexpr size_t MOST_NAMES = 12;  ///< in a message

struct LinkEnds {
    std::string id, from, to;  ///< nodes folded
    std::string toName;        ///< as it is written
    bool isLagged;
    int64_t line;
};

struct Network {
    std::vector<LinkEnds> links;                         ///< in the order of the file
    std::map<std::string, std::vector<size_t>> outlets;  ///< of a node, folded
};

Network readNetwork(const ObjectLines& objects) {
    Network network;
    for (const auto& [key, object] : objects) {
        const std::vector<std::string> words = projectlines_split(object.bytes);
        if (key.first == LINK && words.size() > object.section->lagged) {
            network.links.push_back({words[0], projectlines_fold(words[1]), projectlines_fold(words[2]), words[2],
                                     projectlines_fold(words[object.section->lagged]) == "YES", object.number});
        }
    }
    std::sort(network.links.begin(), network.links.end(),
              [](const LinkEnds& a, const LinkEnds& b) { return a.line < b.line; });
    for (size_t k = 0; k < network.links.size(); ++k) {
        network.outlets[network.links[k].from].push_back(k);
    }
    return network;
}

const std::vector<size_t>& findOutlets(const Network& network, const std::string& node) {
    static const std::vector<size_t> NONE;
    const auto found = network.outlets.find(node);
    return found == network.outlets.end() ? NONE : found->second;
}

std::string joinNames(const std::vector<std::string>& names) {
    std::string text;
    for (size_t k = 0; k < std::min(MOST_NAMES, names.size()); ++k) {
        text += (k == 0 ? "" : ", ") + names[k];
    }
    return text + (names.size() > MOST_NAMES ? " and " + std::to_string(names.size() - MOST_NAMES) + " more" : "");
}

std::string describeOutlets(const Network& network, const std::string& node) {
    std::vector<std::string> names;
    for (const size_t k : findOutlets(network, projectlines_fold(node))) {
        names.push_back(network.links[k].id + " in line " + std::to_string(network.links[k].line));
    }
    return names.empty() ? "" : ": its links are " + joinNames(names);
}

/// The way from the end of a link back to its beginning, over links that aren't lagged, the one with the fewest.
std::string describeLoop(const Network& network, const std::string& id) {
    const std::vector<LinkEnds>& links = network.links;
    const auto closing = std::find_if(links.begin(), links.end(), [&](const LinkEnds& link) {
        return projectlines_fold(link.id) == projectlines_fold(id);
    });
    if (closing == links.end()) {
        return {};
    }
    std::map<std::string, size_t> arrivals;  // by node: the link that came there first
    std::vector<size_t> way{static_cast<size_t>(closing - links.begin())};
    arrivals.emplace(closing->to, way[0]);
    for (size_t at = 0; at < way.size() && !arrivals.contains(closing->from); ++at) {
        for (const size_t k : findOutlets(network, links[way[at]].to)) {
            if (!links[k].isLagged && arrivals.emplace(links[k].to, k).second) {
                way.push_back(k);
            }
        }
    }
    if (!arrivals.contains(closing->from)) {
        return {};
    }
    std::vector<std::string> names;
    for (size_t k = arrivals.at(closing->from); k != way[0]; k = arrivals.at(links[k].from)) {
        names.insert(names.end(), {links[k].toName, links[k].id});
    }
    names.insert(names.end(), {closing->toName, closing->id});
    std::reverse(names.begin(), names.end());
    return ": the way round is " + joinNames(names);
}

// --- messages ------------------------------------------------------------------------------------------------------

/// What helps to see the fault of an object.
std::string describeFault(const HostMessage& message, const ObjectLine& object, const Network& network,
                          const std::string& project) {
    switch (message.code) {
        case 131: return describeLoop(network, message.object);
        case 133:
        case 139:
        case 145:
        case 157: return describeOutlets(network, message.object);
        case 363: {
            const std::vector<std::string> words = projectlines_split(object.bytes);
            const std::string fault = words.size() > 2 ? seriesfaults_find(project, words[2]) : "";
            return fault.empty() ? "" : ": " + fault;
        }
        default: return {};
    }
}

void fillPlace(HostMessage& message, const ObjectLines& objects, const Network& network, const std::string& project) {
    const ObjectLine* const object = findObject(objects, message);
    if (object == nullptr) {
        return;
    }
    const std::string fault = describeFault(message, *object, network, project);
    if (message.text.ends_with('.')) {
        message.text.pop_back();
    }
    message.text += fault;
    message.section = object->section->name;
    message.line = object->number;
    message.words = object->bytes;
    message.column = static_cast<int32_t>(object->bytes.find(object->id)) + 1;
    message.length = static_cast<int32_t>(object->id.size());
}

bool hasPlace(int32_t code) {
    return std::any_of(CODES.begin(), CODES.end(), [code](const CodeObject& known) { return known.code == code; });
}

bool isOfLine(int32_t code) {
    return code >= 200 && code < 230;
}

/// What a line shows that the code alone doesn't.
std::string findAdvice(const HostMessage& message) {
    static constexpr std::string_view BLANK_OF_ANOTHER_KIND = "\xC2\xA0";
    if (message.words.find(BLANK_OF_ANOTHER_KIND) != std::string::npos) {
        return "Write a plain blank in place of the non-breaking one in the line, which parts no words.";
    }
    if (message.code == 209 && message.section == "[DWFS]" && projectlines_fold(message.object) == "FLOW") {
        return "Write FLOW in capitals; in other letters it is looked for as a pollutant.";
    }
    return remedies_find(message.code);
}

}  // namespace

bool errorplaces_isOfProject(int32_t code) {
    return isOfLine(code) || hasPlace(code) || code == 135;
}

void errorplaces_fill(const std::string& project, std::vector<HostMessage>& messages) {
    const bool isPlaceMissing = std::any_of(messages.begin(), messages.end(), [](const HostMessage& message) {
        return message.level == TV_ERROR && message.line <= 0 && hasPlace(message.code);
    });
    const ObjectLines objects = isPlaceMissing ? readObjects(project) : ObjectLines();
    const Network network = readNetwork(objects);
    for (HostMessage& message : messages) {
        if (message.level == TV_ERROR) {
            if (message.line <= 0) {
                fillPlace(message, objects, network, project);
            }
            message.advice = findAdvice(message);
        }
    }
}
