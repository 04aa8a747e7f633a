// Reads the section [MAP] of a project file. It sees lines, words, headers and the IDs of objects as the engine does,
// which reads the file twice: names are collected from the first word as it stands, lines are taken apart with quotes.
//
// Two things are otherwise in [MAP] itself: a line may hold any number of words, and may be longer than the 1023 bytes
// that the engine takes at once, as an outline has as many points as it needs. What goes on behind these bytes belongs
// to the same line here, unless its first word is a header to the engine.

#include "mapfile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <set>
#include <string_view>

#include "characters.h"
#include "files.h"
#include "projectlines.h"

namespace {

// --- objects -------------------------------------------------------------------------------------------------------

enum ShapeKind : size_t { SHAPE_NODE, SHAPE_LINK, SHAPE_AREA, SHAPE_COUNT };

constexpr std::array<const char*, SHAPE_COUNT> ShapeWords = {"NODE", "LINK", "SUBCATCHMENT"};
constexpr std::array<const char*, SHAPE_COUNT> ShapeNames = {"node", "link", "subcatchment"};

/// Sections whose lines begin with the ID of an object that has a place.
struct ObjectSection {
    const char* name;
    ShapeKind kind;
    std::array<const char*, 2> records;  ///< first words of lines that go on with the object before
};

constexpr std::array<ObjectSection, 15> ObjectSections = {{{"[JUNCTIONS]", SHAPE_NODE, {}},
                                                           {"[TANKS]", SHAPE_NODE, {}},
                                                           {"[OUTFALLS]", SHAPE_NODE, {}},
                                                           {"[SPLITTERS]", SHAPE_NODE, {}},
                                                           {"[SWMM_INPS]", SHAPE_NODE, {"INFLOW", "OUTFLOW"}},
                                                           {"[REACTORS]", SHAPE_NODE, {}},
                                                           {"[LID_MONOS]", SHAPE_NODE, {}},
                                                           {"[VORN_INPS]", SHAPE_NODE, {"INFLUENT", "EFFLUENT"}},
                                                           {"[PIPES]", SHAPE_LINK, {}},
                                                           {"[PUMPS]", SHAPE_LINK, {}},
                                                           {"[CONNECTIONS]", SHAPE_LINK, {}},
                                                           {"[CONDUITS]", SHAPE_LINK, {}},
                                                           {"[WEIRS]", SHAPE_LINK, {}},
                                                           {"[ORIFICES]", SHAPE_LINK, {}},
                                                           {"[SUBCATCHS]", SHAPE_AREA, {}}}};

const ObjectSection* findSection(std::string_view header) {
    const std::string name = projectlines_fold(header);
    const auto* const found = std::find_if(ObjectSections.begin(), ObjectSections.end(),
                                           [&](const ObjectSection& section) { return section.name == name; });
    return found == ObjectSections.end() ? nullptr : &*found;
}

// --- the section ---------------------------------------------------------------------------------------------------

constexpr size_t MOST_MESSAGES = 100;

/// A line of the section.
struct MapLine {
    std::vector<std::string> words;
    int number;
};

/// What the file holds, with messages in the order of lines. Which objects there are is known at its end.
struct MapReading {
    std::array<std::map<std::string, std::string>, SHAPE_COUNT> ids;  ///< folded, and as first written
    std::vector<MapLine> lines;
};

struct MapReadingWork {
    const MapReading& reading;
    ProjectMap& map;
    std::array<std::set<std::string>, SHAPE_COUNT> taken;  ///< folded IDs
    std::set<std::string> unknownWords;
    size_t dropped = 0;  ///< messages beyond the most
};

void tell(MapReadingWork& work, const MapLine& line, const std::string& what) {
    if (work.map.messages.size() < MOST_MESSAGES) {
        work.map.messages.push_back("line " + std::to_string(line.number) +
                                    " of [MAP]: " + characters_makePrintable(what));
    } else {
        ++work.dropped;
    }
}

/// A finite decimal number, and nothing behind it.
bool readNumber(const std::string& word, double& number) {
    const size_t sign = word.size() > 1 && word[0] == '+' && word[1] != '-' ? 1 : 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data() + sign, end, number);
    return error == std::errc() && stop == end && std::isfinite(number);
}

/// Why a shape can't have so many points; empty if it can.
std::string refuseCount(ShapeKind kind, size_t points) {
    switch (kind) {
        case SHAPE_NODE: return points == 1 ? "" : "a node is at one point, x and y";
        case SHAPE_AREA:
            return points == 1 || points >= 3 ? "" : "an outline has three points or more, a centre is one";
        default: return points >= 1 ? "" : "no point between the ends of the link";
    }
}

/// The numbers of a line behind its ID. False, with a message, if they are no points.
bool readPoints(MapReadingWork& work, const MapLine& line, ShapeKind kind, std::vector<MapPoint>& points) {
    const std::string what = std::string(ShapeWords.at(kind)) + " " + line.words[1] + ": ";
    std::vector<double> numbers;
    for (size_t k = 2; k < line.words.size(); ++k) {
        double number = 0.0;
        if (!readNumber(line.words[k], number)) {
            tell(work, line, what + "no number: " + line.words[k]);
            return false;
        }
        numbers.push_back(number);
    }
    if (numbers.size() % 2 != 0) {
        tell(work, line, what + "an x without its y");
        return false;
    }
    for (size_t k = 0; k < numbers.size(); k += 2) {
        points.push_back({numbers[k], numbers[k + 1]});
    }
    const bool isClosed = kind == SHAPE_AREA && points.size() > 1 && points.front().x == points.back().x &&
                          points.front().y == points.back().y;
    if (isClosed) {
        points.pop_back();
    }
    const std::string failure = refuseCount(kind, points.size());
    if (!failure.empty()) {
        tell(work, line, what + failure);
    }
    return failure.empty();
}

void takeCrs(MapReadingWork& work, const MapLine& line) {
    if (line.words.size() < 2 || line.words[1].empty()) {
        tell(work, line, "CRS without its name, as EPSG:25832");
    } else if (!work.map.crs.empty()) {
        tell(work, line, "CRS " + line.words[1] + ": there is one already, " + work.map.crs);
    } else {
        work.map.crs = line.words[1];
    }
}

void takeShape(MapReadingWork& work, const MapLine& line, ShapeKind kind) {
    const std::string word = ShapeWords.at(kind), name = ShapeNames.at(kind);
    if (line.words.size() < 2) {
        tell(work, line, word + " without its ID");
        return;
    }
    const std::string key = projectlines_fold(line.words[1]);
    const auto& ids = work.reading.ids.at(kind);
    const auto id = ids.find(key);
    if (id == ids.end()) {
        tell(work, line, word + " " + line.words[1] + ": the project has no " + name + " of this ID");
        return;
    }
    if (work.taken.at(kind).contains(key)) {
        tell(work, line, word + " " + line.words[1] + ": it has a place already");
        return;
    }
    MapShape shape{id->second, {}, line.number};
    if (!readPoints(work, line, kind, shape.points)) {
        return;
    }
    work.taken.at(kind).insert(key);
    std::vector<MapShape>& shapes = kind == SHAPE_NODE   ? work.map.nodes
                                    : kind == SHAPE_LINK ? work.map.links
                                                         : work.map.areas;
    shapes.push_back(std::move(shape));
}

void takeLine(MapReadingWork& work, const MapLine& line) {
    const std::string word = projectlines_fold(line.words[0]);
    const auto* const found =
        std::find_if(ShapeWords.begin(), ShapeWords.end(), [&](const char* shape) { return word == shape; });
    if (word == "CRS") {
        takeCrs(work, line);
    } else if (found != ShapeWords.end()) {
        takeShape(work, line, static_cast<ShapeKind>(found - ShapeWords.begin()));
    } else if (work.unknownWords.insert(word).second) {  // a section of another program's would fill the screen
        tell(work, line, "unknown word " + line.words[0] + "; its lines are skipped");
    }
}

/// Whether a word begins a comment: that of the project file, or the semicolon of other programs.
bool beginsComment(const std::string& word) {
    return !word.empty() && (word[0] == '/' || word[0] == ';');
}

// --- the file ------------------------------------------------------------------------------------------------------

/// Where the reader is: the first pass of the engine sees headers as they stand, the second one between quotes too.
struct FilePlace {
    const ObjectSection* named = nullptr;
    bool isMap = false;
    bool isOpen = false;  ///< a line of the section goes on in the next piece
    std::string line;     ///< of the section, with all its pieces
    int lineNumber = 0;   ///< of its first piece
};

void endLine(FilePlace& place, MapReading& reading) {
    std::vector<std::string> words = projectlines_split(place.line);
    if (!words.empty() && !beginsComment(words[0])) {
        reading.lines.push_back({std::move(words), place.lineNumber});
    }
    place.isOpen = false;
}

void noteObject(const ObjectSection& section, std::string_view word, MapReading& reading) {
    const std::string key = projectlines_fold(word);
    const bool isRecord = std::any_of(section.records.begin(), section.records.end(),
                                      [&](const char* record) { return record != nullptr && key == record; });
    if (!isRecord) {
        reading.ids.at(section.kind).emplace(key, word);
    }
}

void takePiece(const ProjectPiece& piece, int number, FilePlace& place, MapReading& reading) {
    const std::string_view raw = projectlines_findFirst(piece.bytes);
    const std::vector<std::string> words =
        raw.starts_with('"') ? projectlines_split(piece.bytes) : std::vector<std::string>();
    const bool isQuotedHeader = !words.empty() && words[0].starts_with('[');
    if (raw.starts_with('[') || isQuotedHeader) {
        if (place.isOpen) {
            endLine(place, reading);
        }
        if (!isQuotedHeader) {
            place.named = findSection(raw);
        }
        place.isMap = projectlines_fold(isQuotedHeader ? std::string_view(words[0]) : raw) == "[MAP]";
        return;
    }
    if (place.named != nullptr && !raw.empty() && !raw.starts_with('/')) {
        noteObject(*place.named, raw, reading);
    }
    if (!place.isMap) {
        return;
    }
    if (!place.isOpen) {
        place.line.clear();
        place.lineNumber = number;
    }
    place.isOpen = true;
    place.line += piece.bytes;
    if (piece.isEnded) {
        endLine(place, reading);
    }
}

void readFile(std::streambuf& file, MapReading& reading) {
    FilePlace place;
    ProjectPiece piece;
    for (int number = 1; projectlines_read(file, piece); ++number) {
        takePiece(piece, number, place, reading);
    }
    if (place.isOpen) {
        endLine(place, reading);
    }
}

}  // namespace

ProjectMap map_read(const std::string& project) {
    ProjectMap map;
    if (!files_isRegular(project)) {
        map.messages.push_back(characters_makePrintable("cannot read " + project));
        return map;
    }
    std::ifstream file(project, std::ios::binary);
    if (!file.is_open()) {
        map.messages.push_back(characters_makePrintable("cannot read " + project));
        return map;
    }
    MapReading reading;
    readFile(*file.rdbuf(), reading);
    MapReadingWork work{reading, map, {}, {}};
    for (const MapLine& line : reading.lines) {
        takeLine(work, line);
    }
    if (work.dropped > 0) {
        map.messages.push_back("and " + std::to_string(work.dropped) + " more of [MAP]");
    }
    return map;
}

std::string map_readOption(const std::string& project, const std::string& option) {
    std::string value;
    std::ifstream file;
    if (files_isRegular(project)) {
        file.open(project, std::ios::binary);
    }
    ProjectPiece piece;
    for (bool isGeneral = false; file.is_open() && projectlines_read(*file.rdbuf(), piece);) {
        const std::vector<std::string> words = projectlines_split(piece.bytes);
        if (!words.empty() && words[0].starts_with('[')) {
            isGeneral = projectlines_fold(words[0]) == "[GENERAL]";
        } else if (isGeneral && words.size() > 1 && projectlines_fold(words[0]) == projectlines_fold(option)) {
            value = words[1];
        }
    }
    return value;
}
