// Beds are laid backwards from the end of the way, each conduit with its slope, bed to bed: the engine knows no level
// of a node. Links without a length stand where they are, without a fall.

#include "section.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>

#include "characters.h"
#include "dates.h"
#include "messages.h"
#include "results.h"

namespace {

constexpr std::array<const char*, 6> LINK_KINDS = {"pipe", "pump", "connection", "conduit", "weir", "orifice"};

/// A project, and who is connected to whom.
struct Network {
    const tv_model* model;
    std::vector<int32_t> ends{};                ///< node below each link
    std::vector<int32_t> begins{};              ///< node above each link
    std::vector<std::vector<int32_t>> below{};  ///< links that begin at each node, in the order of the file
};

std::string getId(const Network& network, int32_t objectClass, int32_t index) {
    const char* id = "";
    (void)tv_getId(network.model, objectClass, index, &id);
    return characters_toUtf8(id);
}

int32_t getKind(const Network& network, int32_t objectClass, int32_t index) {
    int32_t kind = 0;
    (void)tv_getKind(network.model, objectClass, index, &kind);
    return kind;
}

/// A parameter of a link or a node; NaN if it has none of this name.
double getValue(const Network& network, int32_t objectClass, const char* name, int32_t index) {
    int32_t variable = 0;
    double value = 0.0;
    const bool isKnown = tv_findVariable(objectClass, name, &variable) == TV_OK &&
                         tv_getValue(network.model, variable, index, TV_NO_POLLUTANT, &value) == TV_OK;
    return isKnown ? value : std::nan("");
}

Network readNetwork(const tv_model* model) {
    Network network{model};
    int32_t nodes = 0, links = 0;
    (void)tv_getCount(model, TV_NODE, &nodes);
    (void)tv_getCount(model, TV_LINK, &links);
    network.below.resize(static_cast<size_t>(nodes));
    for (int32_t link = 0; link < links; ++link) {
        int32_t from = -1, to = -1;
        (void)tv_getRelation(model, TV_LINK_FROM, link, &from);
        (void)tv_getRelation(model, TV_LINK_TO, link, &to);
        network.begins.push_back(from);
        network.ends.push_back(to);
        if (from >= 0 && from < nodes && to >= 0 && to < nodes) {
            network.below[static_cast<size_t>(from)].push_back(link);
        }
    }
    return network;
}

/// A node by its ID, whose bytes may be those of another encoding in the project.
int32_t findNode(const Network& network, const PlotRequest& request, const std::string& id) {
    int32_t node = -1;
    if (tv_findObject(network.model, TV_NODE, id.c_str(), &node) == TV_OK) {
        return node;
    }
    for (int32_t k = 0; k < static_cast<int32_t>(network.below.size()); ++k) {
        if (getId(network, TV_NODE, k) == id) {
            return k;
        }
    }
    throw ResultError("no node " + id + " in " + request.model);
}

/// Links from one node down to another, as few as there can be; of ways of one length that which comes first in the
/// file. None if no water flows that way.
std::vector<int32_t> findWay(const Network& network, int32_t from, int32_t to) {
    std::vector<int32_t> reachedBy(network.below.size(), -1), queue{from};
    for (size_t k = 0; k < queue.size() && queue[k] != to; ++k) {
        for (const int32_t link : network.below[static_cast<size_t>(queue[k])]) {
            const int32_t node = network.ends[static_cast<size_t>(link)];
            if (node != from && reachedBy[static_cast<size_t>(node)] < 0) {
                reachedBy[static_cast<size_t>(node)] = link;
                queue.push_back(node);
            }
        }
    }
    std::vector<int32_t> way;
    for (int32_t node = to; node != from;) {
        const int32_t link = reachedBy[static_cast<size_t>(node)];
        if (link < 0) {
            return {};
        }
        way.push_back(link);
        node = network.begins[static_cast<size_t>(link)];
    }
    std::reverse(way.begin(), way.end());
    return way;
}

std::vector<int32_t> findWayVia(const Network& network, const PlotRequest& request) {
    std::vector<std::string> stops{request.section[0]};
    stops.insert(stops.end(), request.via.begin(), request.via.end());
    stops.push_back(request.section[1]);
    std::vector<int32_t> all;
    for (size_t k = 0; k + 1 < stops.size(); ++k) {
        const int32_t from = findNode(network, request, stops[k]), to = findNode(network, request, stops[k + 1]);
        if (from == to) {
            throw ResultError(stops[k] + " and " + stops[k + 1] + " are one node: there is no way between them");
        }
        const std::vector<int32_t> way = findWay(network, from, to);
        if (way.empty()) {
            throw ResultError("no way leads from " + stops[k] + " down to " + stops[k + 1] + " in " + request.model +
                              (findWay(network, to, from).empty() ? "" : "; one leads up to it: change the two"));
        }
        all.insert(all.end(), way.begin(), way.end());
    }
    return all;
}

// --- lengths and heights -------------------------------------------------------------------------------------------

void addNode(const Network& network, int32_t node, Section& section) {
    section.nodes.push_back({getId(network, TV_NODE, node), section.length});
    if (getKind(network, TV_NODE, node) == TV_TANK) {
        SectionPiece tank{getId(network, TV_NODE, node), true};
        tank.begin = section.length;
        tank.height = getValue(network, TV_NODE, "max_depth", node);
        section.pieces.push_back(tank);
    }
}

void addLink(const Network& network, int32_t link, Section& section) {
    const std::string id = getId(network, TV_LINK, link);
    const int32_t kind = getKind(network, TV_LINK, link);
    if (kind != TV_CONDUIT) {
        section.others.push_back(id + " (" + LINK_KINDS.at(static_cast<size_t>(kind)) + ')');
        section.otherPlaces.push_back(section.length);
        return;
    }
    SectionPiece conduit{id};
    conduit.begin = section.length;
    conduit.length = getValue(network, TV_LINK, "length", link);
    conduit.bedBegin = conduit.length * getValue(network, TV_LINK, "slope", link) / 100.0;  // its fall, so far
    conduit.height = getValue(network, TV_LINK, "conduit_height", link);
    section.length += conduit.length;
    section.pieces.push_back(conduit);
}

/// Falls become heights above the end of the way.
void layBeds(Section& section) {
    double bed = 0.0;
    for (size_t k = section.pieces.size(); k-- > 0;) {
        SectionPiece& piece = section.pieces[k];
        piece.bedEnd = bed;
        bed += piece.bedBegin;
        piece.bedBegin = bed;
    }
}

Section makeSection(const Network& network, const PlotRequest& request) {
    Section section;
    const std::vector<int32_t> way = findWayVia(network, request);
    addNode(network, network.begins[static_cast<size_t>(way[0])], section);
    for (const int32_t link : way) {
        addLink(network, link, section);
        addNode(network, network.ends[static_cast<size_t>(link)], section);
    }
    if (section.length == 0.0) {
        std::string others;
        for (const std::string& other : section.others) {
            others += (others.empty() ? "" : ", ") + other;
        }
        throw ResultError(
            "the way from " + request.section[0] + " to " + request.section[1] +
            " has no conduit, and nothing else has a length and a slope: " + characters_shorten(others, 400));
    }
    layBeds(section);
    return section;
}

// --- levels --------------------------------------------------------------------------------------------------------

/// Dates of levels on the command line.
std::vector<double> readDates(const PlotRequest& request) {
    std::vector<double> dates;
    for (const std::string& text : request.at) {
        double date = 0.0;
        (void)dates_parse(text, &date);  // has been found to be a date
        dates.push_back(date);
    }
    return dates;
}

/// The reports that show the levels asked for: the first one that isn't earlier, whose period holds the date.
void findReports(const ResultFile& file, const PlotRequest& request, Section& section) {
    const std::vector<double> asked = readDates(request);
    section.dates.assign(asked.size(), HUGE_VAL);
    const ResultPart dates{0, {0}, {}};  // of the system
    ResultRows rows(file, dates, {});
    double last = 0.0;
    while (result_nextRow(rows)) {
        last = rows.date;
        for (size_t k = 0; k < asked.size(); ++k) {
            if (dates_countSeconds(rows.date) >= dates_countSeconds(asked[k]) && rows.date < section.dates[k]) {
                section.dates[k] = rows.date;
            }
        }
    }
    for (size_t k = 0; k < asked.size(); ++k) {
        if (std::isinf(section.dates[k]) || asked[k] < file.startDate) {
            throw ResultError(file.name + " has no level at " + request.at[k] + ": it goes from " +
                              result_formatDate(file.startDate) + " to " + result_formatDate(last));
        }
    }
}

/// Places of the pieces of a table by their objects in the file.
std::unordered_map<size_t, std::vector<size_t>> findObjects(const ResultFile& file, size_t table,
                                                            const PlotRequest& request, const Section& section) {
    const ResultTable& results = file.tables[table];
    std::unordered_map<std::string, size_t> objects;
    for (size_t k = 0; k < results.objects.size(); ++k) {
        objects.emplace(characters_toUtf8(results.objects[k]), k);
    }
    std::unordered_map<size_t, std::vector<size_t>> places;
    for (size_t k = 0; k < section.pieces.size(); ++k) {
        const SectionPiece& piece = section.pieces[k];
        if (piece.isTank != (results.name == "Tank")) {
            continue;
        }
        const auto object = objects.find(piece.id);
        if (object == objects.end()) {
            throw ResultError("no " + results.name + ' ' + piece.id + " in " + file.name + ": are these results of " +
                              request.model + '?');
        }
        places[object->second].push_back(k);
    }
    return places;
}

void takeDepth(double date, double depth, const ResultWindow& window, const Section& section, SectionPiece& piece) {
    if (result_isWithin(window, date) && std::isfinite(depth) && !(depth <= piece.peak)) {
        piece.peak = depth;
    }
    for (size_t k = 0; k < section.dates.size(); ++k) {
        if (date == section.dates[k]) {
            piece.depths[k] = depth;
        }
    }
}

void readDepths(const ResultFile& file, size_t table, const PlotRequest& request, const ResultWindow& window,
                Section& section) {
    const std::unordered_map<size_t, std::vector<size_t>> places = findObjects(file, table, request, section);
    ResultPart part{table, {}, {result_findColumnOf(file.tables[table], "Depth")}};
    for (const auto& place : places) {
        part.objects.push_back(place.first);
    }
    std::sort(part.objects.begin(), part.objects.end());
    if (part.objects.empty()) {
        return;
    }
    if (part.columns[0] == RESULT_NONE) {
        throw ResultError(file.name + " has no depths of " + file.tables[table].name);
    }
    ResultRows rows(file, part, {});
    while (result_nextRow(rows)) {
        for (const size_t k : places.at(part.objects[rows.object])) {
            takeDepth(rows.date, rows.values[0], window, section, section.pieces[k]);
        }
    }
}

void readLevels(const PlotRequest& request, const ResultWindow& window, Section& section) {
    ResultFile file;
    results_open(file, request.file);
    result_checkWindow(file, window);
    findReports(file, request, section);
    for (SectionPiece& piece : section.pieces) {
        piece.peak = std::nan("");
        piece.depths.assign(section.dates.size(), std::nan(""));
    }
    for (const char* name : {"Conduit", "Tank"}) {
        const bool isTank = name == std::string("Tank");
        const bool isNeeded = std::any_of(section.pieces.begin(), section.pieces.end(),
                                          [&](const SectionPiece& piece) { return piece.isTank == isTank; });
        if (isNeeded) {
            readDepths(file, result_findTable(file, name), request, window, section);
        }
    }
}

}  // namespace

bool section_read(const PlotRequest& request, const ResultWindow& window, Section& section) {
    const ModelHandle model = handle_make(request.engines);
    (void)tv_setWarnings(model.get(), 0);
    const int32_t code = tv_open(model.get(), request.model.c_str(), nullptr);
    if (code != TV_OK) {
        messages_show(messages_read(model.get(), {request.model, "", "", ""}), {false, false, false, INT32_MAX});
        messages_showEnd(code, request.model);
        return false;
    }
    section = makeSection(readNetwork(model.get()), request);
    readLevels(request, window, section);
    return true;
}
