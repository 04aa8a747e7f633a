// GeoJSON (RFC 7946): one collection of features of all layers, a line each. The standard knows degrees of the World
// Geodetic System of 1984 alone; the system of others is told by a member "crs", as the older form of GeoJSON had it,
// which readers that don't know it pass over.

#include "exportmap.h"
#include "json.h"

namespace {

void writePoint(std::FILE* stream, const MapPoint& point) {
    std::fprintf(stream, "[%s, %s]", json_formatNumber(point.x).c_str(), json_formatNumber(point.y).c_str());
}

void writePoints(std::FILE* stream, const std::vector<MapPoint>& points) {
    for (size_t k = 0; k < points.size(); ++k) {
        std::fputs(k == 0 ? "[" : ", ", stream);
        writePoint(stream, points[k]);
    }
    std::fputs("]", stream);
}

void writeGeometry(std::FILE* stream, const MapFeature& feature) {
    switch (feature.geometry) {
        case MapGeometry::POINT:
            std::fputs(R"({"type": "Point", "coordinates": )", stream);
            writePoint(stream, feature.points[0]);
            break;
        case MapGeometry::LINE:
            std::fputs(R"({"type": "LineString", "coordinates": )", stream);
            writePoints(stream, feature.points);
            break;
        case MapGeometry::AREA:
            std::fputs(R"({"type": "Polygon", "coordinates": [)", stream);
            writePoints(stream, feature.points);
            std::fputs("]", stream);
            break;
    }
    std::fputs("}", stream);
}

/// A system of coordinates as a name that programs know.
std::string nameCrs(const std::string& crs) {
    const int number = exportmap_getEpsg(crs);
    return number > 0 ? "urn:ogc:def:crs:EPSG::" + std::to_string(number) : crs;
}

/// A number that readers don't take for a whole one, which would decide on the type of its column.
std::string formatNumber(double number) {
    const std::string text = json_formatNumber(number);
    return text.find_first_of(".en") == std::string::npos ? text + ".0" : text;
}

void writeUnits(std::FILE* stream, const MapHead& head) {
    std::fputs(",\n\"units\": {", stream);
    bool isFirst = true;
    for (const MapLayer& layer : head.layers) {
        for (const MapField& field : layer.fields) {
            if (field.isText || field.unit.empty() || layer.features == 0) {
                continue;
            }
            std::fprintf(stream, "%s%s: %s", isFirst ? "" : ", ",
                         json_quote(std::string(layer.element) + "." + field.name).c_str(),
                         json_quote(field.unit).c_str());
            isFirst = false;
        }
    }
    std::fputs("}", stream);
}

}  // namespace

void geojson_begin(std::FILE* stream, const MapHead& head) {
    std::fprintf(stream, "{\"type\": \"FeatureCollection\",\n\"name\": %s,\n\"description\": %s",
                 json_quote(head.name).c_str(), json_quote(head.description).c_str());
    if (!head.crs.empty() && !exportmap_isWgs84(head.crs)) {
        std::fprintf(stream, ",\n\"crs\": {\"type\": \"name\", \"properties\": {\"name\": %s}}",
                     json_quote(nameCrs(head.crs)).c_str());
    }
    writeUnits(stream, head);
    std::fputs(",\n\"features\": [", stream);
}

void geojson_add(std::FILE* stream, const MapHead& head, const MapFeature& feature, bool isFirst) {
    const MapLayer& layer = head.layers[feature.layer];
    std::fprintf(stream, "%s\n{\"type\": \"Feature\", \"geometry\": ", isFirst ? "" : ",");
    writeGeometry(stream, feature);
    std::fprintf(stream, ", \"properties\": {\"element\": %s", json_quote(layer.element).c_str());
    for (size_t k = 0; k < layer.fields.size(); ++k) {
        const MapValue& value = feature.values[k];
        if (value.isThere) {
            std::fprintf(stream, ", %s: %s", json_quote(layer.fields[k].name).c_str(),
                         (layer.fields[k].isText ? json_quote(value.text) : formatNumber(value.number)).c_str());
        }
    }
    std::fputs("}}", stream);
}

void geojson_end(std::FILE* stream) {
    std::fputs("\n]}\n", stream);
}
