// Nodes, links and subcatchments by their relations. Coordinates count if at least one node has some.

#include "pagenetwork.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>
#include <utility>

#include "characters.h"
#include "modelview.h"
#include "networklayout.h"

namespace {

/// IDs differ by more than the case of their ASCII letters.
std::string fold(std::string id) {
    for (char& c : id) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return id;
}

using Shapes = std::unordered_map<std::string, const MapShape*>;

Shapes foldShapes(const std::vector<MapShape>& shapes) {
    Shapes byId;
    for (const MapShape& shape : shapes) {
        if (!shape.points.empty()) {
            byId.emplace(fold(characters_toUtf8(shape.id)), &shape);
        }
    }
    return byId;
}

const MapShape* find(const Shapes& shapes, const std::string& id) {
    const auto found = shapes.find(fold(id));
    return found == shapes.end() ? nullptr : found->second;
}

/// The middle of an outline: the centre of its area, or of its corners if it has none.
MapPoint findMiddle(const std::vector<MapPoint>& points) {
    double area = 0.0, x = 0.0, y = 0.0, sumX = 0.0, sumY = 0.0;
    const MapPoint origin = points.front();  // coordinates of a country are large, areas of land small
    for (size_t k = 0; k < points.size(); ++k) {
        const MapPoint& next = points[(k + 1) % points.size()];
        const double ax = points[k].x - origin.x, ay = points[k].y - origin.y;
        const double bx = next.x - origin.x, by = next.y - origin.y;
        const double cross = ax * by - bx * ay;
        area += cross;
        x += (ax + bx) * cross;
        y += (ay + by) * cross;
        sumX += ax;
        sumY += ay;
    }
    const auto count = static_cast<double>(points.size());
    const MapPoint middle = area == 0.0 ? MapPoint{origin.x + sumX / count, origin.y + sumY / count}
                                        : MapPoint{origin.x + x / (3.0 * area), origin.y + y / (3.0 * area)};
    return std::isfinite(middle.x) && std::isfinite(middle.y) ? middle : origin;
}

void readNodes(PageNetwork& network, const tv_model* model, const Shapes& shapes) {
    for (int32_t k = 0; k < modelview_count(model, TV_NODE); ++k) {
        PageNode node{modelview_getId(model, TV_NODE, k), modelview_getKindName(model, TV_NODE, k), std::nan(""),
                      std::nan("")};
        if (const MapShape* shape = find(shapes, node.id)) {
            node.x = shape->points[0].x;
            node.y = shape->points[0].y;
            network.isGiven = true;
        }
        network.nodes.push_back(std::move(node));
    }
}

void readLinks(PageNetwork& network, const tv_model* model, const Shapes& shapes) {
    for (int32_t k = 0; k < modelview_count(model, TV_LINK); ++k) {
        PageLink link{modelview_getId(model, TV_LINK, k),
                      modelview_getKindName(model, TV_LINK, k),
                      modelview_getRelated(model, TV_LINK_FROM, k),
                      modelview_getRelated(model, TV_LINK_TO, k),
                      {}};
        if (const MapShape* shape = find(shapes, link.id); shape && network.isGiven) {
            link.points = shape->points;
        }
        network.links.push_back(std::move(link));
    }
}

void readAreas(PageNetwork& network, const tv_model* model, const Shapes& shapes) {
    for (int32_t k = 0; k < modelview_count(model, TV_SUBCATCHMENT); ++k) {
        PageArea area{modelview_getId(model, TV_SUBCATCHMENT, k),
                      std::nan(""),
                      std::nan(""),
                      modelview_getRelated(model, TV_SUBCATCHMENT_OUTLET, k),
                      {}};
        if (const MapShape* shape = find(shapes, area.id); shape && network.isGiven) {
            const MapPoint middle = findMiddle(shape->points);
            area.x = middle.x;
            area.y = middle.y;
            if (shape->points.size() > 2) {
                area.points = shape->points;
            }
        }
        network.areas.push_back(std::move(area));
    }
}

size_t toPlace(int32_t index) {
    return index < 0 ? LAYOUT_NONE : static_cast<size_t>(index);
}

/// Ways of the water: links, and what leaves a node without one.
std::vector<LayoutLink> listWays(const PageNetwork& network, const tv_model* model) {
    std::vector<LayoutLink> ways;
    for (const PageLink& link : network.links) {
        ways.push_back({toPlace(link.from), toPlace(link.to)});
    }
    for (const int32_t relation : {TV_REACTOR_SURPASS, TV_REACTOR_EMPTYING, TV_LID_NODE_DRAIN}) {
        for (size_t k = 0; k < network.nodes.size(); ++k) {
            const int32_t to = modelview_getRelated(model, relation, static_cast<int32_t>(k));
            if (to >= 0) {
                ways.push_back({k, toPlace(to)});
            }
        }
    }
    return ways;
}

void place(PageNetwork& network, const tv_model* model) {
    const std::vector<LayoutLink> ways = listWays(network, model);
    std::vector<LayoutPoint> points, areas;
    if (network.isGiven) {
        for (const PageNode& node : network.nodes) {
            points.push_back({node.x, node.y});
        }
        networklayout_fill(points, ways);
    } else {
        points = networklayout_arrange(network.nodes.size(), ways);
    }
    std::vector<size_t> outlets;
    for (const PageArea& area : network.areas) {
        areas.push_back({area.x, area.y});
        outlets.push_back(toPlace(area.to));
    }
    networklayout_attach(points, outlets, network.isGiven ? 0.0 : 1.0, areas);
    for (size_t k = 0; k < points.size(); ++k) {
        network.nodes[k].x = points[k].x;
        network.nodes[k].y = points[k].y;
    }
    for (size_t k = 0; k < areas.size(); ++k) {
        network.areas[k].x = areas[k].x;
        network.areas[k].y = areas[k].y;
    }
}

/// Links between the same two nodes would hide each other: those without bends of their own get one, to both sides of
/// the straight line.
void spreadParallels(PageNetwork& network) {
    constexpr double BEND = 0.1;  ///< of the length, from one to the next
    std::map<std::pair<int32_t, int32_t>, std::vector<size_t>> byEnds;
    for (size_t k = 0; k < network.links.size(); ++k) {
        const PageLink& link = network.links[k];
        if (link.points.empty() && link.from >= 0 && link.to >= 0) {
            byEnds[std::minmax(link.from, link.to)].push_back(k);
        }
    }
    for (const auto& [ends, links] : byEnds) {
        const PageNode &a = network.nodes[static_cast<size_t>(ends.first)],
                       &b = network.nodes[static_cast<size_t>(ends.second)];
        for (size_t k = 0; k < links.size() && links.size() > 1; ++k) {
            const double side = BEND * (static_cast<double>(k) - static_cast<double>(links.size() - 1) / 2.0);
            network.links[links[k]].points = {
                {(a.x + b.x) / 2.0 - (b.y - a.y) * side, (a.y + b.y) / 2.0 + (b.x - a.x) * side}};
        }
    }
}

/// A figure of up to three classes, by their variables; null for a class that has none of it.
struct Measure {
    const char *key, *title, *unit;
    const char *ofNodes, *ofLinks, *ofAreas;
};

constexpr Measure MEASURES[] = {{"peak", "Peak flow", "m3/s", "peak_inflow", "peak_flow", "peak_runoff"},
                                {"volume", "Volume", "m3", "inflow_volume", "flow_volume", "runoff_volume"},
                                {"flooding", "Flooded volume", "m3", "flooded_volume", "flooded_volume", nullptr},
                                {"depth", "Peak depth", "m", "peak_depth", "peak_depth", nullptr},
                                {"filling", "Peak filling", "", nullptr, "peak_filling", nullptr},
                                {"velocity", "Peak velocity", "m/s", nullptr, "peak_velocity", nullptr},
                                {"coefficient", "Runoff coefficient", "", nullptr, nullptr, "runoff_coefficient"}};

/// Empty if no object has the variable.
std::vector<double> readMeasure(const tv_model* model, int32_t objectClass, const char* variable) {
    std::vector<double> values;
    if (variable) {
        values = modelview_getValues(model, objectClass, variable);
        const bool isNone = std::all_of(values.begin(), values.end(), [](double value) { return std::isnan(value); });
        values = isNone ? std::vector<double>() : values;
    }
    return values;
}

}  // namespace

PageNetwork pagenetwork_read(const tv_model* model, const std::string& project, std::vector<HostMessage>& messages) {
    const ProjectMap map = map_read(project);
    for (const std::string& text : map.messages) {
        HostMessage message = messages_make(0, text);
        message.level = TV_INFO;
        messages.push_back(std::move(message));
    }
    PageNetwork network;
    readNodes(network, model, foldShapes(map.nodes));
    network.crs = network.isGiven ? map.crs : "";
    readLinks(network, model, foldShapes(map.links));
    readAreas(network, model, foldShapes(map.areas));
    place(network, model);
    spreadParallels(network);
    return network;
}

void pagenetwork_addMeasures(PageNetwork& network, const tv_model* model) {
    for (const Measure& measure : MEASURES) {
        PageMeasure figures{measure.key, measure.title, measure.unit};
        figures.nodes = readMeasure(model, TV_NODE, measure.ofNodes);
        figures.links = readMeasure(model, TV_LINK, measure.ofLinks);
        figures.areas = readMeasure(model, TV_SUBCATCHMENT, measure.ofAreas);
        if (!figures.nodes.empty() || !figures.links.empty() || !figures.areas.empty()) {
            network.measures.push_back(std::move(figures));
        }
    }
}
