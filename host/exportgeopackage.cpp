// OGC GeoPackage 1.3: an SQLite database of features, made directly. It is written aside, so it needs no journal: what
// isn't whole is thrown away.

#include <sqlite3.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "exportmap.h"

namespace {

constexpr int UNKNOWN_PLANE = -1;  ///< the number that GeoPackages have for a plane of which nothing is known
constexpr int WGS84 = 4326;

constexpr const char* WGS84_TEXT =
    "GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,298.257223563,AUTHORITY[\"EPSG\",\"7030\"]],"
    "AUTHORITY[\"EPSG\",\"6326\"]],PRIMEM[\"Greenwich\",0,AUTHORITY[\"EPSG\",\"8901\"]],UNIT[\"degree\","
    "0.0174532925199433,AUTHORITY[\"EPSG\",\"9122\"]],AUTHORITY[\"EPSG\",\"4326\"]]";

constexpr const char* ETRS89_TEXT =
    "GEOGCS[\"ETRS89\",DATUM[\"European_Terrestrial_Reference_System_1989\",SPHEROID[\"GRS 1980\",6378137,"
    "298.257222101,AUTHORITY[\"EPSG\",\"7019\"]],AUTHORITY[\"EPSG\",\"6258\"]],PRIMEM[\"Greenwich\",0,AUTHORITY["
    "\"EPSG\",\"8901\"]],UNIT[\"degree\",0.0174532925199433,AUTHORITY[\"EPSG\",\"9122\"]],AUTHORITY[\"EPSG\","
    "\"4258\"]]";

constexpr const char* TABLES =
    "CREATE TABLE gpkg_spatial_ref_sys (srs_name TEXT NOT NULL, srs_id INTEGER NOT NULL PRIMARY KEY, organization TEXT "
    "NOT NULL, organization_coordsys_id INTEGER NOT NULL, definition TEXT NOT NULL, description TEXT);"
    "CREATE TABLE gpkg_contents (table_name TEXT NOT NULL PRIMARY KEY, data_type TEXT NOT NULL, identifier TEXT "
    "UNIQUE, "
    "description TEXT DEFAULT '', last_change DATETIME NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ','now')), min_x "
    "DOUBLE, min_y DOUBLE, max_x DOUBLE, max_y DOUBLE, srs_id INTEGER, CONSTRAINT fk_gc_r_srs_id FOREIGN KEY (srs_id) "
    "REFERENCES gpkg_spatial_ref_sys(srs_id));"
    "CREATE TABLE gpkg_geometry_columns (table_name TEXT NOT NULL, column_name TEXT NOT NULL, geometry_type_name TEXT "
    "NOT NULL, srs_id INTEGER NOT NULL, z TINYINT NOT NULL, m TINYINT NOT NULL, CONSTRAINT pk_geom_cols PRIMARY KEY "
    "(table_name, column_name), CONSTRAINT uk_gc_table_name UNIQUE (table_name), CONSTRAINT fk_gc_tn FOREIGN KEY "
    "(table_name) REFERENCES gpkg_contents(table_name), CONSTRAINT fk_gc_srs FOREIGN KEY (srs_id) REFERENCES "
    "gpkg_spatial_ref_sys (srs_id));";

[[noreturn]] void fail(const GeoPackage& package) {
    throw ResultError("cannot write " + package.name + ": " + sqlite3_errmsg(package.database));
}

void execute(const GeoPackage& package, const std::string& statement) {
    if (sqlite3_exec(package.database, statement.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail(package);
    }
}

/// A statement with its values, run once.
struct Statement {
    sqlite3_stmt* prepared = nullptr;

    Statement() = default;
    ~Statement() { sqlite3_finalize(prepared); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
};

sqlite3_stmt* prepare(const GeoPackage& package, const std::string& text) {
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(package.database, text.c_str(), -1, &prepared, nullptr) != SQLITE_OK) {
        fail(package);
    }
    return prepared;
}

void bindText(const GeoPackage& package, sqlite3_stmt* statement, int place, const std::string& text) {
    if (sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8) != SQLITE_OK) {
        fail(package);
    }
}

void step(const GeoPackage& package, sqlite3_stmt* statement) {
    if (sqlite3_step(statement) != SQLITE_DONE || sqlite3_reset(statement) != SQLITE_OK) {
        fail(package);
    }
}

std::string quote(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + '"';
}

// --- systems of coordinates ----------------------------------------------------------------------------------------

/// The zone of a transverse Mercator grid, of the European system of 1989 or the world's of 1984.
std::string describeZone(int epsg, const char* datum, const char* name, int zone, bool isSouth) {
    return "PROJCS[\"" + std::string(name) + " / UTM zone " + std::to_string(zone) + (isSouth ? "S" : "N") + "\"," +
           datum +
           ",PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"latitude_of_origin\",0],PARAMETER["
           "\"central_meridian\"," +
           std::to_string(zone * 6 - 183) +
           "],PARAMETER[\"scale_factor\",0.9996],PARAMETER[\"false_easting\",500000]," +
           "PARAMETER[\"false_northing\"," + (isSouth ? "10000000" : "0") +
           "],UNIT[\"metre\",1,AUTHORITY[\"EPSG\",\"9001\"]],AXIS[\"Easting\",EAST],AXIS[\"Northing\",NORTH]," +
           "AUTHORITY[\"EPSG\",\"" + std::to_string(epsg) + "\"]]";
}

/// A system by its number. Of most this program knows no more: readers look them up.
std::string describeCrs(int epsg) {
    if (epsg > 25827 && epsg < 25839) {
        return describeZone(epsg, ETRS89_TEXT, "ETRS89", epsg - 25800, false);
    }
    if ((epsg > 32600 && epsg <= 32660) || (epsg > 32700 && epsg <= 32760)) {
        return describeZone(epsg, WGS84_TEXT, "WGS 84", epsg % 100, epsg > 32700);
    }
    return "undefined";
}

int getSystem(const MapHead& head) {
    const int epsg = exportmap_isWgs84(head.crs) ? WGS84 : exportmap_getEpsg(head.crs);
    return epsg > 0 ? epsg : UNKNOWN_PLANE;
}

void addSystems(const GeoPackage& package, const MapHead& head) {
    const std::string into = "INSERT INTO gpkg_spatial_ref_sys VALUES ";
    execute(package, into +
                         "('Undefined Cartesian SRS', -1, 'NONE', -1, 'undefined', 'undefined Cartesian coordinate "
                         "reference system')");
    execute(package, into +
                         "('Undefined geographic SRS', 0, 'NONE', 0, 'undefined', 'undefined geographic coordinate "
                         "reference system')");
    execute(package, into + "('WGS 84 geodetic', 4326, 'EPSG', 4326, '" + WGS84_TEXT +
                         "', 'longitude/latitude coordinates in decimal degrees on the WGS 84 spheroid')");
    const int epsg = getSystem(head);
    if (epsg != UNKNOWN_PLANE && epsg != WGS84) {
        const std::string number = std::to_string(epsg);
        execute(package, into + "('EPSG:" + number + "', " + number + ", 'EPSG', " + number + ", '" +
                             describeCrs(epsg) + "', NULL)");
    }
}

// --- layers --------------------------------------------------------------------------------------------------------

const char* getGeometry(const MapLayer& layer, size_t number) {
    return number == LAYER_LINKS                         ? "LINESTRING"
           : number == LAYER_NODES || !layer.hasOutlines ? "POINT"
           : layer.hasCentres                            ? "GEOMETRY"
                                                         : "POLYGON";
}

std::string describeUnits(const MapLayer& layer) {
    std::string units;
    for (const MapField& field : layer.fields) {
        if (!field.unit.empty()) {
            units += (units.empty() ? "; units: " : ", ") + field.name + " " + field.unit;
        }
    }
    return units;
}

/// The date of the last report is given as that of the last change: the same results give the same file.
void addContents(const GeoPackage& package, const MapHead& head, size_t number) {
    const MapLayer& layer = head.layers[number];
    Statement contents;
    contents.prepared = prepare(package, "INSERT INTO gpkg_contents VALUES (?, 'features', ?, ?, ?, ?, ?, ?, ?, ?)");
    std::string date = head.end;
    date[date.find(' ')] = 'T';
    bindText(package, contents.prepared, 1, layer.name);
    bindText(package, contents.prepared, 2, layer.name);
    bindText(package, contents.prepared, 3, head.description + describeUnits(layer));
    bindText(package, contents.prepared, 4, date + ".000Z");
    int place = 5;
    for (const double bound : {head.least[number].x, head.least[number].y, head.most[number].x, head.most[number].y}) {
        (void)sqlite3_bind_double(contents.prepared, place++, bound);
    }
    (void)sqlite3_bind_int(contents.prepared, place, getSystem(head));
    step(package, contents.prepared);
    execute(package, "INSERT INTO gpkg_geometry_columns VALUES ('" + std::string(layer.name) + "', 'geom', '" +
                         getGeometry(layer, number) + "', " + std::to_string(getSystem(head)) + ", 0, 0)");
}

void addLayer(GeoPackage& package, const MapHead& head, size_t number) {
    const MapLayer& layer = head.layers[number];
    package.inserts.push_back(nullptr);
    if (layer.features == 0) {
        return;
    }
    std::string create = "CREATE TABLE " + quote(layer.name) +
                         " (fid INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, geom " + getGeometry(layer, number);
    std::string insert = "INSERT INTO " + quote(layer.name) + " VALUES (NULL, ?";
    for (const MapField& field : layer.fields) {
        create += ", " + quote(field.name) + (field.isText ? " TEXT" : " DOUBLE");
        insert += ", ?";
    }
    execute(package, create + ")");
    addContents(package, head, number);
    package.inserts.back() = prepare(package, insert + ")");
}

// --- geometry ------------------------------------------------------------------------------------------------------

void addInteger(std::string& bytes, uint32_t number) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(static_cast<unsigned char>(number >> shift));
    }
}

void addDouble(std::string& bytes, double number) {
    const auto word = std::bit_cast<uint64_t>(number);
    for (unsigned shift = 0; shift < 64; shift += 8) {
        bytes += static_cast<char>(static_cast<unsigned char>(word >> shift));
    }
}

void addPoints(std::string& bytes, const std::vector<MapPoint>& points) {
    for (const MapPoint& point : points) {
        addDouble(bytes, point.x);
        addDouble(bytes, point.y);
    }
}

/// The head of a geometry with its bounds, which a point does without, and the geometry as the OGC has it ("well-known
/// binary"); the lowest byte of each number comes first.
std::string makeGeometry(const MapFeature& feature, int system) {
    constexpr unsigned char LOWEST_FIRST = 1, BOUNDS = 2;
    const bool isPoint = feature.geometry == MapGeometry::POINT;
    std::string bytes("GP\0", 3);
    bytes += static_cast<char>(isPoint ? LOWEST_FIRST : LOWEST_FIRST | BOUNDS);
    addInteger(bytes, static_cast<uint32_t>(system));
    if (!isPoint) {
        MapPoint least = feature.points[0], most = least;
        for (const MapPoint& point : feature.points) {
            least = {std::fmin(least.x, point.x), std::fmin(least.y, point.y)};
            most = {std::fmax(most.x, point.x), std::fmax(most.y, point.y)};
        }
        for (const double bound : {least.x, most.x, least.y, most.y}) {
            addDouble(bytes, bound);
        }
    }
    bytes += static_cast<char>(LOWEST_FIRST);
    addInteger(bytes, isPoint ? 1 : feature.geometry == MapGeometry::LINE ? 2 : 3);
    if (feature.geometry == MapGeometry::AREA) {
        addInteger(bytes, 1);  // ring
    }
    if (!isPoint) {
        addInteger(bytes, static_cast<uint32_t>(feature.points.size()));
    }
    addPoints(bytes, feature.points);
    return bytes;
}

}  // namespace

GeoPackage::~GeoPackage() {
    for (sqlite3_stmt* const insert : inserts) {
        sqlite3_finalize(insert);
    }
    sqlite3_close(database);
}

void geopackage_begin(GeoPackage& package, const AsideFile& aside, const MapHead& head) {
    package.name = aside.name;
    if (sqlite3_open_v2(aside.aside.c_str(), &package.database, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        fail(package);
    }
    execute(package,
            "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA encoding = 'UTF-8'; "
            "PRAGMA application_id = 1196444487; PRAGMA user_version = 10300; BEGIN");  // "GPKG"
    execute(package, TABLES);
    addSystems(package, head);
    for (size_t k = 0; k < head.layers.size(); ++k) {
        addLayer(package, head, k);
    }
}

void geopackage_add(GeoPackage& package, const MapHead& head, const MapFeature& feature) {
    sqlite3_stmt* const insert = package.inserts[feature.layer];
    const std::string geometry = makeGeometry(feature, getSystem(head));
    if (sqlite3_bind_blob64(insert, 1, geometry.data(), geometry.size(), SQLITE_TRANSIENT) != SQLITE_OK) {
        fail(package);
    }
    const std::vector<MapField>& fields = head.layers[feature.layer].fields;
    for (size_t k = 0; k < fields.size(); ++k) {
        const MapValue& value = feature.values[k];
        const int place = static_cast<int>(k) + 2;
        if (!value.isThere) {
            (void)sqlite3_bind_null(insert, place);
        } else if (fields[k].isText) {
            bindText(package, insert, place, value.text);
        } else {
            (void)sqlite3_bind_double(insert, place, value.number);
        }
    }
    step(package, insert);
}

void geopackage_end(GeoPackage& package) {
    for (sqlite3_stmt*& insert : package.inserts) {
        sqlite3_finalize(insert);
        insert = nullptr;
    }
    execute(package, "COMMIT");
    if (sqlite3_close(package.database) != SQLITE_OK) {
        fail(package);
    }
    package.database = nullptr;
}
