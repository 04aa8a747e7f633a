#pragma once
// The network as a map with totals: what the writers of maps share.

#include <string>
#include <vector>

#include "export.h"
#include "mapfile.h"

enum MapLayerNumber : size_t { LAYER_AREAS, LAYER_LINKS, LAYER_NODES, LAYER_COUNT };

enum class MapGeometry { POINT, LINE, AREA };

/// A property of the features of a layer.
struct MapField {
    std::string name;
    std::string unit;     ///< empty for a text and for a plain number
    bool isText = false;  ///< else a number
};

struct MapLayer {
    const char* name;     ///< "nodes"
    const char* element;  ///< one of them: "node"
    std::vector<MapField> fields;
    bool hasCentres = false;   ///< some areas have a centre alone
    bool hasOutlines = false;  ///< and some an outline
    size_t features = 0;       ///< that it will have
};

/// What a feature says of a field.
struct MapValue {
    bool isThere = false;
    double number = 0.0;
    std::string text{};
};

struct MapFeature {
    MapLayerNumber layer;
    MapGeometry geometry;
    std::vector<MapPoint> points;  ///< of an area its outline against the clock, closed
    std::vector<MapValue> values;  ///< by the fields of the layer
};

/// All that is known ahead of the features.
struct MapHead {
    std::string name;         ///< of the results
    std::string crs;          ///< as the project has it
    std::string end;          ///< date of the last report, "2021-03-01 06:00:00"
    std::string description;  ///< of what the numbers are
    std::vector<MapLayer> layers;
    MapPoint least[LAYER_COUNT] = {}, most[LAYER_COUNT] = {};  ///< bounds of each layer
};

/// The number of an EPSG system; 0 for what is none.
[[nodiscard]] int exportmap_getEpsg(const std::string& crs);

/// Whether a system is the World Geodetic System of 1984 in degrees.
[[nodiscard]] bool exportmap_isWgs84(const std::string& crs);

// --- GeoJSON -------------------------------------------------------------------------------------------------------

void geojson_begin(std::FILE* stream, const MapHead& head);
void geojson_add(std::FILE* stream, const MapHead& head, const MapFeature& feature, bool isFirst);
void geojson_end(std::FILE* stream);

// --- GeoPackage ----------------------------------------------------------------------------------------------------

/// A GeoPackage on its way.
struct GeoPackage {
    std::string name;  ///< for messages
    sqlite3* database = nullptr;
    std::vector<sqlite3_stmt*> inserts{};  ///< by layer; null for one that isn't there

    GeoPackage() = default;
    ~GeoPackage();
    GeoPackage(const GeoPackage&) = delete;
    GeoPackage& operator=(const GeoPackage&) = delete;
};

/// Makes the tables in an empty file. Throws ResultError, as do those below.
void geopackage_begin(GeoPackage& package, const AsideFile& aside, const MapHead& head);
void geopackage_add(GeoPackage& package, const MapHead& head, const MapFeature& feature);
void geopackage_end(GeoPackage& package);
