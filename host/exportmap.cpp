// Puts the network on a map: what there is and how it hangs together is asked of the model, which isn't run, where it
// lies is read from the project's section [MAP], and the totals come from the results.

#include "exportmap.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <filesystem>
#include <unordered_map>

#include "characters.h"
#include "exporttotals.h"
#include "files.h"
#include "messages.h"
#include "results.h"

namespace {

// --- the network ---------------------------------------------------------------------------------------------------

/// An object of the model.
struct MapObject {
    std::string id;            ///< in UTF-8
    std::string kind;          ///< as tables of results are called
    std::string from{}, to{};  ///< of a link its ends, of an area its outlet as the second
    MapGeometry geometry = MapGeometry::POINT;
    std::vector<MapPoint> points{};  ///< none if it has no place
    bool isChosen = false;
};

struct MapNetwork {
    std::vector<MapObject> layers[LAYER_COUNT];
    std::unordered_map<std::string, std::pair<MapLayerNumber, size_t>> places;  ///< by "Kind:ID"
};

constexpr std::array<int32_t, LAYER_COUNT> CLASSES = {TV_SUBCATCHMENT, TV_LINK, TV_NODE};

/// The name of a kind: that of its table of results, if it has one.
std::string findKind(const tv_model* model, int32_t objectClass, int32_t kind) {
    tv_table table{};
    for (int32_t k = 0; tv_getTable(model, k, &table) == TV_OK; ++k) {
        if (table.objectClass == objectClass && (table.kind == kind || table.kind < 0)) {
            return table.name;
        }
    }
    return objectClass == TV_NODE && kind == TV_SWMM_NODE    ? "SWMM"
           : objectClass == TV_NODE && kind == TV_PLANT_NODE ? "Plant"
                                                             : "";
}

std::string getId(const tv_model* model, int32_t objectClass, int32_t index) {
    const char* id = nullptr;
    return index >= 0 && tv_getId(model, objectClass, index, &id) == TV_OK ? characters_toUtf8(id) : std::string();
}

/// IDs of a map, as the model has them.
std::unordered_map<std::string, const MapShape*> listShapes(const std::vector<MapShape>& shapes) {
    std::unordered_map<std::string, const MapShape*> list;
    for (const MapShape& shape : shapes) {
        list.emplace(characters_toUtf8(shape.id), &shape);
    }
    return list;
}

/// The outline against the clock, its first point at its end once more.
std::vector<MapPoint> closeOutline(std::vector<MapPoint> points) {
    double doubled = 0.0;               // area, positive against the clock
    const MapPoint origin = points[0];  // coordinates may be large beside the area
    for (size_t k = 0; k < points.size(); ++k) {
        const MapPoint &a = points[k], &b = points[(k + 1) % points.size()];
        doubled += (a.x - origin.x) * (b.y - origin.y) - (b.x - origin.x) * (a.y - origin.y);
    }
    if (doubled < 0.0) {
        std::reverse(points.begin(), points.end());
    }
    points.push_back(points.front());
    return points;
}

void placeArea(MapObject& area, const MapShape& shape) {
    const bool isOutline = shape.points.size() > 1;
    area.geometry = isOutline ? MapGeometry::AREA : MapGeometry::POINT;
    area.points = isOutline ? closeOutline(shape.points) : shape.points;
}

/// A link goes from node to node, by the points between; without the place of both ends it has none.
void placeLink(MapObject& link, const MapShape* shape, const MapPoint* from, const MapPoint* to) {
    link.geometry = MapGeometry::LINE;
    if (from == nullptr || to == nullptr) {
        return;
    }
    link.points.push_back(*from);
    if (shape != nullptr) {
        link.points.insert(link.points.end(), shape->points.begin(), shape->points.end());
    }
    link.points.push_back(*to);
}

MapObject makeObject(const tv_model* model, MapLayerNumber layer, int32_t index) {
    int32_t kind = 0;
    tv_getKind(model, CLASSES.at(layer), index, &kind);
    MapObject object{getId(model, CLASSES.at(layer), index), findKind(model, CLASSES.at(layer), kind)};
    int32_t other = -1;
    if (layer == LAYER_LINKS && tv_getRelation(model, TV_LINK_FROM, index, &other) == TV_OK) {
        object.from = getId(model, TV_NODE, other);
    }
    if (layer != LAYER_NODES &&
        tv_getRelation(model, layer == LAYER_LINKS ? TV_LINK_TO : TV_SUBCATCHMENT_OUTLET, index, &other) == TV_OK) {
        object.to = getId(model, TV_NODE, other);
    }
    return object;
}

MapNetwork readNetwork(const tv_model* model, const ProjectMap& map) {
    MapNetwork network;
    const auto areas = listShapes(map.areas), links = listShapes(map.links), nodes = listShapes(map.nodes);
    const auto find = [](const auto& shapes, const std::string& id) {
        const auto found = shapes.find(id);
        return found == shapes.end() ? nullptr : found->second;
    };
    const auto findPoint = [&](const std::string& id) {
        const MapShape* const shape = find(nodes, id);
        return shape == nullptr ? nullptr : shape->points.data();
    };
    for (size_t k = 0; k < LAYER_COUNT; ++k) {
        const auto layer = static_cast<MapLayerNumber>(k);
        int32_t count = 0;
        tv_getCount(model, CLASSES.at(layer), &count);
        for (int32_t index = 0; index < count; ++index) {
            MapObject object = makeObject(model, layer, index);
            const MapShape* const area = layer == LAYER_AREAS ? find(areas, object.id) : nullptr;
            const MapPoint* const point = layer == LAYER_NODES ? findPoint(object.id) : nullptr;
            if (area != nullptr) {
                placeArea(object, *area);
            } else if (layer == LAYER_LINKS) {
                placeLink(object, find(links, object.id), findPoint(object.from), findPoint(object.to));
            } else if (point != nullptr) {
                object.points = {*point};
            }
            network.places.emplace(object.kind + ':' + object.id, std::pair{layer, network.layers[layer].size()});
            network.layers[layer].push_back(std::move(object));
        }
    }
    return network;
}

// --- the model -----------------------------------------------------------------------------------------------------

/// Throws if a call has failed, once its messages are told.
void demand(const ModelHandle& model, const ExportRequest& request, int32_t code) {
    if (code != TV_OK) {
        messages_show(messages_read(model.get(), {request.model, "", "", ""}), {false, false, false, INT_MAX});
        throw ResultError(request.model + ": " +
                          (code > 0 ? "the engine ended with code " + std::to_string(code) : tv_describeCode(code)));
    }
}

/// Whether the project reads what stands where the export goes is known of a run that is started, which makes no step.
ModelHandle openModel(const ExportRequest& request) {
    ModelHandle model = handle_make(request.engines);
    (void)tv_setWarnings(model.get(), 0);
    demand(model, request, tv_open(model.get(), request.model.c_str(), nullptr));
    demand(model, request, tv_start(model.get(), nullptr, nullptr));
    demand(model, request, tv_testOutput(model.get(), "export", request.output.c_str()));
    (void)tv_end(model.get());
    return model;
}

ProjectMap readMap(const ExportRequest& request) {
    ProjectMap map = map_read(request.model);
    for (const std::string& message : map.messages) {
        export_tell(request.model + ": " + message);
    }
    if (map.nodes.empty() && map.links.empty() && map.areas.empty()) {
        throw ResultError(request.model + " has no coordinates: they belong in its section [MAP]");
    }
    return map;
}

// --- what goes on the map ------------------------------------------------------------------------------------------

/// What the features are made of.
struct MapWork {
    const ExportWork& work;
    MapNetwork network;
    MapHead head{};
    std::vector<TotalsPlan> plans{};
    ResultWindow window{};
    ExportForm form = ExportForm::NONE;
    std::FILE* stream = nullptr;
    GeoPackage package{};
    bool isFirst = true;
};

/// Chooses what the parts name. Without names all is meant, objects without rows, too.
void chooseObjects(MapWork& map) {
    const ExportRequest& request = map.work.request;
    const bool isAll = request.objects.empty() && request.tables.empty();
    for (std::vector<MapObject>& layer : map.network.layers) {
        for (MapObject& object : layer) {
            object.isChosen = isAll;
        }
    }
    for (const ResultPart& part : map.work.parts) {
        const ResultTable& table = map.work.file.tables[part.table];
        for (size_t k = 0; k < part.objects.size() && table.name != "System"; ++k) {
            const std::string& id = table.objects[part.objects[k]];
            const auto place = map.network.places.find(table.name + ':' + id);
            if (place == map.network.places.end()) {
                throw ResultError(map.work.file.name + " doesn't belong to " + request.model + ", which has no " +
                                  table.name + " " + id);
            }
            map.network.layers[place->second.first][place->second.second].isChosen = true;
        }
    }
}

/// Adds to the bounds of a layer.
void addBounds(MapHead& head, MapLayerNumber layer, const std::vector<MapPoint>& points) {
    MapPoint &least = head.least[layer], &most = head.most[layer];
    if (head.layers[layer].features == 0) {
        least = most = points[0];
    }
    for (const MapPoint& point : points) {
        least = {std::min(least.x, point.x), std::min(least.y, point.y)};
        most = {std::max(most.x, point.x), std::max(most.y, point.y)};
    }
}

/// Counts what goes on the map, and tells what doesn't.
void countObjects(MapWork& map) {
    std::string lost;
    for (size_t k = 0; k < LAYER_COUNT; ++k) {
        const auto number = static_cast<MapLayerNumber>(k);
        MapLayer& layer = map.head.layers[k];
        size_t chosen = 0;
        for (const MapObject& object : map.network.layers[k]) {
            chosen += object.isChosen ? 1 : 0;
            if (object.isChosen && !object.points.empty()) {
                addBounds(map.head, number, object.points);
                ++layer.features;
                layer.hasOutlines = layer.hasOutlines || object.geometry == MapGeometry::AREA;
                layer.hasCentres = layer.hasCentres || (k == LAYER_AREAS && object.geometry == MapGeometry::POINT);
            }
        }
        if (chosen > layer.features) {
            lost += (lost.empty() ? "" : ", ") + std::to_string(chosen - layer.features) + " of " +
                    std::to_string(chosen) + ' ' + layer.name;
        }
    }
    if (!lost.empty()) {
        export_tell(lost + " left out: " + map.work.request.model + " doesn't say where they are");
    }
}

MapHead makeHead(const ExportWork& work, const std::string& crs) {
    MapHead head;
    head.name = files_toPath(work.file.name).filename().string();
    head.crs = crs;
    const int64_t start = export_getTime(work.file, work.file.startDate);
    const int64_t end = start + int64_t{work.file.periods} * work.file.reportStep;
    head.end = result_formatDate(static_cast<double>(end) / 86400.0);
    head.description = "totals of " + head.name + ", report periods from " +
                       result_formatDate(std::max(work.file.startDate, work.window.from)) + " to " +
                       result_formatDate(std::min(static_cast<double>(end) / 86400.0, work.window.to));
    head.layers = {{"subcatchments", "subcatchment", {{"id", "", true}, {"kind", "", true}, {"outlet", "", true}}},
                   {"links", "link", {{"id", "", true}, {"kind", "", true}, {"from", "", true}, {"to", "", true}}},
                   {"nodes", "node", {{"id", "", true}, {"kind", "", true}}}};
    return head;
}

/// Says of the coordinates what a reader of the form can't take for granted.
void tellCrs(const MapWork& map) {
    const std::string& crs = map.head.crs;
    if (crs.empty()) {
        export_tell(map.work.request.model +
                    " names no system of coordinates (CRS in [MAP]): they are written as they are");
    } else if (map.form == ExportForm::GEOJSON && !exportmap_isWgs84(crs)) {
        export_tell("coordinates are written as they are, in " + crs +
                    ", which the member \"crs\" names; RFC 7946 allows EPSG:4326 alone");
    } else if (map.form == ExportForm::GEOPACKAGE && exportmap_getEpsg(crs) == 0 && !exportmap_isWgs84(crs)) {
        export_tell("the system of coordinates " + crs + " is no number of EPSG: it is written as an unknown one");
    }
}

void writeFeature(MapWork& map, const MapFeature& feature) {
    if (map.form == ExportForm::GEOJSON) {
        geojson_add(map.stream, map.head, feature, map.isFirst);
    } else {
        geopackage_add(map.package, map.head, feature);
    }
    map.isFirst = false;
}

void writeObject(MapWork& map, MapLayerNumber layer, MapObject& object, std::vector<MapValue>& values) {
    object.isChosen = false;  // it is there
    if (object.points.empty()) {
        return;
    }
    std::vector<std::string> texts{object.id, object.kind};
    if (layer == LAYER_LINKS) {
        texts.push_back(object.from);
    }
    if (layer != LAYER_NODES) {
        texts.push_back(object.to);
    }
    for (size_t k = 0; k < texts.size(); ++k) {
        values[k] = {!texts[k].empty(), 0.0, texts[k]};
    }
    writeFeature(map, {layer, object.geometry, object.points, values});
}

void writePlan(MapWork& map, const TotalsPlan& plan) {
    constexpr uint64_t MOST = uint64_t{64} << 20;  // bytes
    const ResultTable& table = map.work.file.tables[plan.part.table];
    for (size_t begin = 0; begin < plan.part.objects.size();) {
        const ResultPart cut = results_cut(plan.part, begin, MOST, [&](size_t) { return totals_measure(plan); });
        std::vector<std::vector<MapValue>> values(cut.objects.size());
        const MapLayerNumber layer = map.network.places.at(table.name + ':' + table.objects[cut.objects[0]]).first;
        for (std::vector<MapValue>& set : values) {
            set.resize(map.head.layers[layer].fields.size());
        }
        totals_fill(map.work.file, plan, cut, map.window, values);
        for (size_t k = 0; k < cut.objects.size(); ++k) {
            const size_t place = map.network.places.at(table.name + ':' + table.objects[cut.objects[k]]).second;
            writeObject(map, layer, map.network.layers[layer][place], values[k]);
        }
        begin += cut.objects.size();
    }
}

void writeFeatures(MapWork& map) {
    for (const TotalsPlan& plan : map.plans) {
        writePlan(map, plan);
    }
    for (size_t k = 0; k < LAYER_COUNT; ++k) {  // what has no rows
        for (MapObject& object : map.network.layers[k]) {
            if (object.isChosen) {
                std::vector<MapValue> values(map.head.layers[k].fields.size());
                writeObject(map, static_cast<MapLayerNumber>(k), object, values);
            }
        }
    }
}

void planTotals(MapWork& map) {
    for (const ResultPart& part : map.work.parts) {
        const ResultTable& table = map.work.file.tables[part.table];
        if (table.name != "System") {
            const auto place = map.network.places.at(table.name + ':' + table.objects[part.objects[0]]);
            map.plans.push_back(totals_plan(map.work.file, part, map.head.layers[place.first]));
        }
    }
}

void writeMap(MapWork& map) {
    const std::string& output = map.work.request.output;
    if (map.form == ExportForm::GEOJSON) {
        ExportText text = export_beginText(output);
        map.stream = text.stream;
        geojson_begin(map.stream, map.head);
        writeFeatures(map);
        geojson_end(map.stream);
        export_closeText(text);
        export_placeText(text);
        return;
    }
    AsideFile aside;
    export_refuse(aside_begin(aside, output));
    geopackage_begin(map.package, aside, map.head);
    writeFeatures(map);
    geopackage_end(map.package);
    export_refuse(aside_end(aside));
}

}  // namespace

int exportmap_getEpsg(const std::string& crs) {
    static constexpr std::string_view PREFIX = "EPSG:";
    const bool isEpsg =
        crs.size() > PREFIX.size() && std::equal(PREFIX.begin(), PREFIX.end(), crs.begin(), [](char a, char b) {
            return a == b || (b >= 'a' && b <= 'z' && b - 'a' + 'A' == a);
        });
    int number = 0;
    const char* const end = crs.data() + crs.size();
    const bool isNumber =
        isEpsg && std::from_chars(crs.data() + PREFIX.size(), end, number) == std::from_chars_result{end, std::errc()};
    return isNumber && number > 0 ? number : 0;
}

bool exportmap_isWgs84(const std::string& crs) {
    return exportmap_getEpsg(crs) == 4326 || crs == "OGC:CRS84" || crs == "CRS84" || crs == "WGS84";
}

void exportmap_write(const ExportWork& work) {
    const ModelHandle model = openModel(work.request);
    const ProjectMap coordinates = readMap(work.request);
    MapWork map{work, readNetwork(model.get(), coordinates)};
    map.form = export_getForm(work.request.output);
    // Whole report periods alone, as in statistics: that which ends as the window begins stands for the time ahead.
    map.window = {work.window.from + work.file.reportStep / 86400.0, work.window.to};
    result_checkWindow(work.file, map.window);
    map.head = makeHead(work, coordinates.crs);
    chooseObjects(map);
    planTotals(map);
    countObjects(map);
    tellCrs(map);
    writeMap(map);
}
