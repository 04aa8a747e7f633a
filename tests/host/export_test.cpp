// What `tarnvelde export` writes is read back by other programs, and compared with what `tarnvelde results` shows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

#include "host/jsontext.h"
#include "host/resultsfixture.h"
#include "host/resultsimage.h"
#include "host/smalldisk.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr double MARCH = 44256.0;  ///< 1 March 2021, days since 30 December 1899

/// The model of the fixture on a plane: J1 at 10, 20 and O_1 at 40, 60, C1 with a bend.
constexpr const char* PLANE = "[MAP]\nCRS EPSG:25832\nNODE J1 10 20\nNODE O_1 40 60.5\nLINK C1 10 60\n";

std::vector<std::string> splitLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> splitCells(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> cells;
    for (std::string cell; std::getline(stream, cell, ',');) {
        cells.push_back(cell);
    }
    return cells;
}

/// Columns of a table separated by commas, by their titles.
std::map<std::string, std::vector<std::string>> readColumns(const std::string& text) {
    const std::vector<std::string> lines = splitLines(text);
    std::map<std::string, std::vector<std::string>> columns;
    const std::vector<std::string> titles = splitCells(lines.at(0));
    for (size_t k = 1; k < lines.size(); ++k) {
        const std::vector<std::string> cells = splitCells(lines[k]);
        for (size_t c = 0; c < titles.size(); ++c) {
            columns[titles[c]].push_back(c < cells.size() ? cells[c] : "");
        }
    }
    return columns;
}

/// Values of a variable of a netCDF file, as ncdump shows them with all their figures.
std::vector<std::string> dumpVariable(const std::string& file, const std::string& variable) {
    const ProcessResult result = process_run({"ncdump", "-p", "9,17", "-v", variable, file});
    EXPECT_EQ(result.status, 0) << result.err;
    const size_t at = result.out.find("\n " + variable + " =", result.out.find("\ndata:"));
    const size_t begin = at + variable.size() + 4;
    std::string text = result.out.substr(begin, result.out.find(';', begin) - begin);
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    std::vector<std::string> values;
    for (std::string word; words >> word;) {
        values.push_back(word);
    }
    return values;
}

std::string dumpHead(const std::string& file) {
    return process_run({"ncdump", "-h", "-s", file}).out;
}

std::string query(const std::string& file, const std::string& question) {
    const ProcessResult result = process_run({"sqlite3", "-separator", "|", file, question});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

/// What GDAL reads of a file of features.
std::string readFeatures(const std::string& file) {
    const ProcessResult result = process_run({"ogrinfo", "-al", file});
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
}

/// The figure of a field of the first feature of an ID, as GDAL shows it.
double readField(const std::string& features, const std::string& id, const std::string& field) {
    const size_t feature = features.find(" (String) = " + id + "\n");
    const size_t end = std::min(features.find("OGRFeature", feature), features.size());
    const size_t at = features.find("  " + field + " (Real) = ", feature);
    if (feature == std::string::npos || at == std::string::npos || at > end) {
        ADD_FAILURE() << "no " << field << " of " << id;
        return 0.0;
    }
    return std::stod(features.substr(features.find("= ", at) + 2, 40));
}

struct Export : Results {
    /// The fixture's model with a map, in another file.
    std::string addMap(const std::string& map) const { return folder.write("mapped.inp", readFile(model) + map); }

    static void expectDone(const std::vector<std::string>& arguments, const std::string& message = "") {
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, message);
    }

    static void expectMisuse(const std::vector<std::string>& arguments, const std::string& message) {
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, HasSubstr(message));
    }
};

}  // namespace

// --- values separated by commas --------------------------------------------------------------------------------------

TEST_F(Export, ATableGetsAFileWithAColumnForEachValue) {
    for (const std::string& file : {binary, database}) {
        expectDone({"export", file, "-o", folder.file("out.csv")});
        EXPECT_FALSE(folder.has("out.csv"));
        EXPECT_FALSE(folder.has("out-Outfall.csv.part"));
        for (const std::string table : {"System", "Junction", "Outfall", "Connection"}) {
            const auto all = readColumns(readFile(folder.file("out-" + table + ".csv")));
            const std::string object = table == "System"     ? "System"
                                       : table == "Outfall"  ? "O_1"
                                       : table == "Junction" ? "J1"
                                                             : "C1";
            const auto shown = readColumns(
                runProgram({"results", file, "--object", std::string(table).append(":").append(object), "--csv"}).out);
            ASSERT_GT(shown.size(), 3U);
            EXPECT_EQ(all.size(), shown.size());
            for (const auto& [title, values] : shown) {
                const std::string wide = title == "Date" ? title : std::string(object).append(":").append(title);
                ASSERT_TRUE(all.contains(wide)) << wide;
                EXPECT_EQ(all.at(wide), values) << wide;
            }
        }
    }
    // The delay of C1 is two minutes.
    const auto outfall = readColumns(readFile(folder.file("out-Outfall.csv")));
    EXPECT_THAT(outfall.at("O_1:TotInflow (m3/s)"), ElementsAre("0", "0", "0.5", "0.5"));
    EXPECT_THAT(outfall.at("Date"), ElementsAre("2021-03-01 00:01:00", "2021-03-01 00:02:00", "2021-03-01 00:03:00",
                                                "2021-03-01 00:04:00"));
}

TEST_F(Export, AFolderGetsTheTablesByTheirNames) {
    expectDone({"export", binary, "-o", folder.file("new/tables/"), "--table", "Outfall", "--table", "junction",
                "--column", "totinflow", "--from", "2021/03/01 0:03"});
    EXPECT_EQ(readFile(folder.file("new/tables/Outfall.csv")),
              "Date,O_1:TotInflow (m3/s)\n2021-03-01 00:03:00,0.5\n2021-03-01 00:04:00,0.5\n");
    EXPECT_EQ(countFiles(folder.file("new/tables")), 2U);
    fs::create_directory(folder.file("there"));
    expectDone({"export", binary, "-o", folder.file("there"), "--object", "o_1"});
    EXPECT_TRUE(folder.has("there/Outfall.csv"));
}

TEST_F(Export, AListHasALineForEachValue) {
    expectDone({"export", binary, "-o", folder.file("list.csv"), "--long", "--object", "O_1", "--object", "J1",
                "--column", "TotInflow", "--from", "2021/03/01 0:02", "--to", "2021/03/01 0:03"});
    EXPECT_EQ(readFile(folder.file("list.csv")),
              "Date,Table,Object,Column,Unit,Value\n2021-03-01 00:02:00,Junction,J1,TotInflow,m3/s,0.5\n"
              "2021-03-01 00:03:00,Junction,J1,TotInflow,m3/s,0.5\n2021-03-01 00:02:00,Outfall,O_1,TotInflow,m3/s,0\n"
              "2021-03-01 00:03:00,Outfall,O_1,TotInflow,m3/s,0.5\n");
    expectDone({"export", binary, "-o", folder.file("all.csv"), "--long"});
    const std::string shown = runProgram({"results", binary, "--csv"}).out;
    EXPECT_EQ(splitLines(readFile(folder.file("all.csv"))).size(), splitLines(shown).size());
}

TEST_F(Export, IdsOfAnyBytesStayInTheirCells) {
    const std::string odd = folder.write("odd.bin", makeResults(MARCH, 60, 2, "a,\"b\xE4"));
    expectDone({"export", odd, "-o", folder.file("odd.csv"), "--table", "Junction"});
    EXPECT_THAT(readFile(folder.file("odd-Junction.csv")),
                StartsWith("Date,\"a,\"\"b\xC3\xA4:TotInflow (m3/s)\",\"a,\"\"b\xC3\xA4:LatInflow (m3/s)\"\n"
                           "2021-03-01 00:01:00,1,0\n2021-03-01 00:02:00,2,0\n"));
}

// --- netCDF --------------------------------------------------------------------------------------------------------

TEST_F(Export, NetcdfHoldsWhatResultsShow) {
    for (const std::string& file : {binary, database}) {
        const std::string out = folder.file("out.nc");
        expectDone({"export", file, "-o", out});
        EXPECT_THAT(dumpVariable(out, "time"), ElementsAre("60", "120", "180", "240"));
        EXPECT_THAT(dumpVariable(out, "outfall_id"), ElementsAre("\"O_1\""));
        const auto shown = readColumns(runProgram({"results", file, "--object", "O_1", "--csv"}).out);
        for (const auto& [title, values] : shown) {
            if (title == "Date") {
                continue;
            }
            std::string name = "outfall_" + title.substr(0, title.find(' '));
            std::replace(name.begin(), name.end(), '-', '_');
            const std::vector<std::string> dumped = dumpVariable(out, name);
            ASSERT_EQ(dumped.size(), values.size()) << name;
            for (size_t k = 0; k < values.size(); ++k) {
                EXPECT_EQ(std::strtof(dumped[k].c_str(), nullptr), std::strtof(values[k].c_str(), nullptr)) << name;
            }
        }
        const std::string head = dumpHead(out);
        for (const std::string words :
             {"time = 4 ;", "float outfall_TotInflow(time, outfall) ;", "string outfall_id(outfall) ;",
              "outfall_TotInflow:units = \"m3 s-1\" ;", "outfall_TotInflow:coordinates = \"outfall_id\" ;",
              "outfall_TotInflow:long_name = \"inflow\" ;", "outfall_NH4_N:units = \"mg L-1\" ;",
              "system_Rainfall:standard_name = \"rainfall_rate\" ;", "system_Rainfall:units = \"mm h-1\" ;",
              "time:units = \"seconds since 2021-03-01 00:00:00\" ;", ":Conventions = \"CF-1.8\" ;",
              "time:calendar = \"proleptic_gregorian\" ;", "outfall_TotInflow:_DeflateLevel = 4 ;"}) {
            EXPECT_THAT(head, HasSubstr(words));
        }
        EXPECT_THAT(head, Not(HasSubstr("cell_methods"))) << "without the project it isn't known what rows are";
        EXPECT_FALSE(folder.has("out.nc.part"));
    }
}

TEST_F(Export, NetcdfIsTheSameAnyTimeAndEverywhere) {
    expectDone({"export", binary, "-o", folder.file("first.nc")});
    process_run({"sleep", "1.1"});  // times of files count seconds
    expectDone({"export", binary, "-o", folder.file("second.nc")});
    EXPECT_EQ(readFile(folder.file("first.nc")), readFile(folder.file("second.nc")));
}

TEST_F(Export, NetcdfTellsMeansFromSamplesByTheProject) {
    expectDone({"export", binary, "-o", folder.file("out.nc"), "--model", model});
    EXPECT_THAT(dumpHead(folder.file("out.nc")), HasSubstr("outfall_TotInflow:cell_methods = \"time: point\" ;"));
    std::string text = readFile(model);
    text.replace(text.find("REPORT_AVERAGE NO"), 17, "report_average YES");
    const std::string means = folder.write("means.inp", text);
    expectDone({"export", binary, "-o", folder.file("out.nc"), "--model", means});
    EXPECT_THAT(dumpHead(folder.file("out.nc")), HasSubstr("outfall_TotInflow:cell_methods = \"time: mean\" ;"));
    EXPECT_THAT(dumpHead(folder.file("out.nc")), HasSubstr("system_Runoff:cell_methods = \"time: point\" ;"));
}

// Ten thousand reports lie in three pieces of 4096. The inflow of the k-th one is k modulo 7.
TEST_F(Export, NetcdfOfManyReportsIsWrittenInPieces) {
    const std::string file = folder.write("long.bin", makeResults(MARCH, 60, 10000));
    expectDone({"export", file, "-o", folder.file("long.nc")});
    EXPECT_THAT(dumpHead(folder.file("long.nc")), HasSubstr("junction_TotInflow:_ChunkSizes = 4096, 1 ;"));
    const std::vector<std::string> values = dumpVariable(folder.file("long.nc"), "junction_TotInflow");
    const std::vector<std::string> times = dumpVariable(folder.file("long.nc"), "time");
    ASSERT_EQ(values.size(), 10000U);
    ASSERT_EQ(times.size(), 10000U);
    for (size_t k = 0; k < values.size(); ++k) {
        ASSERT_EQ(values[k], std::to_string((k + 1) % 7)) << k;
        ASSERT_EQ(std::stol(times[k]), static_cast<long>(60 * (k + 1)));
    }
}

// One row of the database is away, and one of its values.
TEST_F(Export, WhatIsMissingIsFilled) {
    query(database, "delete from Outfall where rowid = (select min(rowid) from Outfall)");
    query(database, "update Outfall set TotInflow = null where rowid = (select max(rowid) from Outfall)");
    expectDone({"export", database, "-o", folder.file("out.nc")});
    EXPECT_THAT(dumpVariable(folder.file("out.nc"), "outfall_TotInflow"), ElementsAre("_", "0", "0.5", "_"));
    EXPECT_THAT(dumpVariable(folder.file("out.nc"), "junction_TotInflow"), ElementsAre("0.5", "0.5", "0.5", "0.5"));
    expectDone({"export", database, "-o", folder.file("out.csv"), "--table", "Outfall", "--column", "TotInflow"});
    EXPECT_EQ(readFile(folder.file("out-Outfall.csv")),
              "Date,O_1:TotInflow (m3/s)\n2021-03-01 00:02:00,0\n2021-03-01 00:03:00,0.5\n2021-03-01 00:04:00,\n");
}

// --- maps ----------------------------------------------------------------------------------------------------------

// O_1 gets 0.5 m3/s with 4 mg/L in two of four minutes: 60 m3 and 0.24 kg; J1 all the time, 120 m3.
TEST_F(Export, GeojsonHasTheNetworkWithItsTotals) {
    const std::string mapped =
        addMap("[MAP]\nCRS EPSG:4326\nNODE J1 8.25 51.5\nNODE O_1 8.5 51.75\nLINK C1 8.25 51.75\n");
    for (const std::string& file : {binary, database}) {
        const std::string out = folder.file("out.geojson");
        expectDone({"export", file, "-o", out, "--model", mapped});
        const std::string text = readFile(out);
        EXPECT_TRUE(isJson(text));
        EXPECT_THAT(text, Not(HasSubstr("\"crs\"")));
        EXPECT_THAT(text, HasSubstr("{\"type\": \"LineString\", \"coordinates\": [[8.25, 51.5], [8.25, 51.75], [8.5, "
                                    "51.75]]}, \"properties\": {\"element\": \"link\", \"id\": \"C1\", \"kind\": "
                                    "\"Connection\", \"from\": \"J1\", \"to\": \"O_1\""));
        EXPECT_THAT(text, HasSubstr("\"node.volume\": \"m3\""));
        EXPECT_THAT(text, HasSubstr("\"peak_time\": \"2021-03-01 00:03:00\""));
        const std::string features = readFeatures(out);
        EXPECT_THAT(features, HasSubstr("Feature Count: 3"));
        EXPECT_THAT(features, HasSubstr("POINT (8.5 51.75)"));
        const std::string pollutant = file == binary ? "NH4-N" : "NH4_N";
        EXPECT_NEAR(readField(features, "O_1", "volume"), 60.0, 1e-9);
        EXPECT_EQ(readField(features, "O_1", "peak_flow"), 0.5);
        EXPECT_EQ(readField(features, "O_1", "mean_flow"), 0.25);
        EXPECT_NEAR(readField(features, "O_1", "load_" + pollutant), 0.24, 1e-7);
        EXPECT_NEAR(readField(features, "O_1", "conc_" + pollutant), 4.0, 1e-6);
        EXPECT_EQ(readField(features, "O_1", "max_" + pollutant), 4.0);
        EXPECT_NEAR(readField(features, "J1", "volume"), 120.0, 1e-9);
    }
}

TEST_F(Export, VolumesAndLoadsAreThoseOfStats) {
    const std::string file =
        folder.write("town.inp", readFile(TARNVELDE_SOURCE_DIR "/examples/first-storm/first-storm.inp"));
    ASSERT_EQ(runProgram({"run", file, "--quiet"}).status, 0);
    const std::string results = folder.file("town.bin"), out = folder.file("town.gpkg");
    const std::vector<std::string> window{"--from", "2024/06/10 6:00", "--to", "2024/06/10 18:00"};
    std::vector<std::string> arguments{"export", results, "-o", out, "--model", file};
    arguments.insert(arguments.end(), window.begin(), window.end());
    expectDone(arguments);
    arguments = {"stats", results, "--object", "BROOK", "--object", "S07", "--object", "N4_T1", "--json"};
    arguments.insert(arguments.end(), window.begin(), window.end());
    const std::string stats = runProgram(arguments).out;
    for (const std::string id : {"BROOK", "S07", "N4_T1"}) {
        const std::string table = id == "BROOK" ? "nodes" : id == "S07" ? "subcatchments" : "links";
        const size_t object = stats.find("\"" + id + "\"");
        const auto read = [&](const std::string& name, size_t from) {
            const std::string mark = "\"" + name + "\": ";
            return std::stod(stats.substr(stats.find(mark, from) + mark.size(), 40));
        };
        const std::string of = std::string(" from ").append(table).append(" where id = '").append(id).append("'");
        EXPECT_NEAR(std::stod(query(out, "select volume" + of)), read("volume", object), 1e-9) << id;
        EXPECT_NEAR(std::stod(query(out, "select load_TSS" + of)), read("load", stats.find("\"TSS\"", object)), 1e-9)
            << id;
        EXPECT_GT(std::stod(query(out, "select load_TSS" + of)), 0.1) << id;
    }
}

TEST_F(Export, AGeopackageIsOneToOthers) {
    const std::string mapped = addMap(PLANE), out = folder.file("out.gpkg");
    expectDone({"export", binary, "-o", out, "--model", mapped});
    EXPECT_EQ(query(out, "pragma application_id; pragma user_version; pragma integrity_check"),
              "1196444487\n10300\nok\n");
    EXPECT_EQ(query(out,
                    "select table_name, data_type, last_change, min_x, min_y, max_x, max_y, srs_id from "
                    "gpkg_contents order by 1"),
              "links|features|2021-03-01T00:04:00.000Z|10.0|20.0|40.0|60.5|25832\n"
              "nodes|features|2021-03-01T00:04:00.000Z|10.0|20.0|40.0|60.5|25832\n");
    EXPECT_EQ(query(out,
                    "select table_name, column_name, geometry_type_name, srs_id, z, m from gpkg_geometry_columns "
                    "order by 1"),
              "links|geom|LINESTRING|25832|0|0\nnodes|geom|POINT|25832|0|0\n");
    EXPECT_EQ(query(out, "select srs_id, organization from gpkg_spatial_ref_sys order by 1"),
              "-1|NONE\n0|NONE\n4326|EPSG\n25832|EPSG\n");
    // 'GP', version 0, lowest byte first without bounds, 25832 = 0x64E8; a point at 10, 20.
    EXPECT_EQ(query(out, "select hex(geom) from nodes where id = 'J1'"),
              "47500001E86400000101000000000000000000244000000000000034" + std::string("40\n"));
    EXPECT_EQ(query(out, "select volume, peak_flow, kind from nodes where id = 'O_1'"), "60.0|0.5|Outfall\n");
    const std::string features = readFeatures(out);
    EXPECT_THAT(features, HasSubstr("LINESTRING (10 20,10 60,40.0 60.5)"));
    EXPECT_THAT(features, HasSubstr("ID[\"EPSG\",25832]"));
    EXPECT_NEAR(readField(features, "O_1", "volume"), 60.0, 1e-9);
    process_run({"sleep", "1.1"});
    expectDone({"export", binary, "-o", folder.file("again.gpkg"), "--model", mapped});
    EXPECT_EQ(readFile(out), readFile(folder.file("again.gpkg")));
    EXPECT_FALSE(folder.has("out.gpkg.part"));
}

TEST_F(Export, OtherSystemsOfCoordinatesAreTold) {
    const std::string mapped = addMap(PLANE), out = folder.file("out.geojson");
    expectDone({"export", binary, "-o", out, "--model", mapped},
               "tarnvelde: coordinates are written as they are, in EPSG:25832, which the member \"crs\" names; RFC "
               "7946 allows "
               "EPSG:4326 alone\n");
    EXPECT_THAT(readFile(out), HasSubstr("\"crs\": {\"type\": \"name\", \"properties\": {\"name\": "
                                         "\"urn:ogc:def:crs:EPSG::25832\"}}"));
    const std::string nameless = addMap("[MAP]\nNODE J1 10 20\nNODE O_1 1 2\n");
    const std::string package = folder.file("out.gpkg");
    expectDone(
        {"export", binary, "-o", package, "--model", nameless},
        "tarnvelde: " + nameless + " names no system of coordinates (CRS in [MAP]): they are written as they are\n");
    EXPECT_EQ(query(package, "select distinct srs_id from gpkg_contents"), "-1\n");
    const std::string local = addMap("[MAP]\nCRS site-grid\nNODE J1 10 20\nNODE O_1 1 2\n");
    expectDone(
        {"export", binary, "-o", package, "--model", local},
        "tarnvelde: the system of coordinates site-grid is no number of EPSG: it is written as an unknown one\n");
}

TEST_F(Export, WhatHasNoPlaceIsLeftOutAndCounted) {
    const std::string mapped = addMap("[MAP]\nCRS EPSG:4326\nNODE J1 10 20\nNODE J9 1 1\n");
    const std::string out = folder.file("out.geojson");
    expectDone({"export", binary, "-o", out, "--model", mapped},
               "tarnvelde: " + mapped + ": line " + std::to_string(splitLines(readFile(mapped)).size()) +
                   " of [MAP]: NODE J9: the project has no node of this ID\ntarnvelde: 1 of 1 links, 1 of 2 nodes "
                   "left out: " +
                   mapped + " doesn't say where they are\n");
    EXPECT_THAT(readFeatures(out), HasSubstr("Feature Count: 1"));
}

TEST_F(Export, AMapOfSomeObjectsAndColumns) {
    const std::string mapped = addMap("[MAP]\nCRS EPSG:4326\nNODE J1 10 20\nNODE O_1 11 21\n");
    const std::string out = folder.file("out.gpkg");
    expectDone({"export", database, "-o", out, "--model", mapped, "--object", "O_1", "--column", "NH4-N"});
    EXPECT_EQ(query(out, "select group_concat(name) from pragma_table_info('nodes')"),
              "fid,geom,id,kind,load_NH4_N,conc_NH4_N,max_NH4_N\n");
    EXPECT_EQ(query(out, "select id, round(load_NH4_N, 6) from nodes"), "O_1|0.24\n");
    EXPECT_EQ(query(out, "select count(*) from sqlite_master where name = 'links'"), "0\n");
}

// A square against the clock and one with it, from 0 to 2, and a centre.
TEST_F(Export, OutlinesGoAgainstTheClock) {
    const std::string text =
        "[GENERAL]\nSTART_DATE 2024/01/01\nEND_DATE 2024/01/01\nEND_TIME 1:00\n[RAINGAGES]\nG INTENSITY 1:00 R\n"
        "[TIMESERIES]\nR 2024/01/01 0:00 10 1:00 0\n[OUTFALLS]\nO\n[SUBCATCHS]\n"
        "A G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\nB G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n"
        "C G O 1 100 50 2 0.01 0.1 1 3 50 6 4 5 30\n[MAP]\nCRS EPSG:4326\nNODE O 0 0\n"
        "SUBCATCHMENT A 0 0 2 0 2 2 0 2\nSUBCATCHMENT B 0 0 0 2 2 2 2 0\nSUBCATCHMENT C 1 1\n";
    const std::string land = folder.write("land.inp", text), out = folder.file("land.geojson");
    ASSERT_EQ(runProgram({"run", land, "--quiet"}).status, 0);
    expectDone({"export", folder.file("land.bin"), "-o", out, "--model", land});
    const std::string map = readFile(out);
    EXPECT_THAT(map, HasSubstr("[[[0, 0], [2, 0], [2, 2], [0, 2], [0, 0]]]}, \"properties\": {\"element\": "
                               "\"subcatchment\", \"id\": \"A\", \"kind\": \"Subcatchment\", \"outlet\": \"O\""));
    EXPECT_THAT(map, HasSubstr("[[[2, 0], [2, 2], [0, 2], [0, 0], [2, 0]]]}, \"properties\": {\"element\": "
                               "\"subcatchment\", \"id\": \"B\""));
    EXPECT_THAT(map, HasSubstr("{\"type\": \"Point\", \"coordinates\": [1, 1]}, \"properties\": {\"element\": "
                               "\"subcatchment\", \"id\": \"C\""));
    const std::string package = folder.file("land.gpkg");
    expectDone({"export", folder.file("land.bin"), "-o", package, "--model", land});
    EXPECT_EQ(query(package, "select geometry_type_name from gpkg_geometry_columns where table_name = 'subcatchments'"),
              "GEOMETRY\n");
    EXPECT_THAT(readFeatures(package), HasSubstr("POLYGON ((2 0,2 2,0 2,0 0,2 0))"));
}

// A pollutant may be called as a column is, and IDs may hold what ends texts elsewhere. Byte E4 is an umlaut of an
// older alphabet.
TEST_F(Export, OddNamesStayApart) {
    std::string text = readFile(model);
    for (size_t at; (at = text.find("NH4-N")) != std::string::npos;) {
        text.replace(at, 5, "time");
    }
    for (size_t at; (at = text.find("O_1")) != std::string::npos;) {
        text.replace(at, 3, "a\"b',\xE4\\");
    }
    const std::string odd =
        folder.write("odd.inp", text + "[MAP]\nCRS EPSG:4326\nNODE J1 1 2\nNODE a\"b',\xE4\\ 3 4\n");
    ASSERT_EQ(runProgram({"run", odd, "--quiet"}).status, 0);
    const std::string results = folder.file("odd.bin");
    expectDone({"export", results, "-o", folder.file("odd.geojson"), "--model", odd});
    EXPECT_TRUE(isJson(readFile(folder.file("odd.geojson"))));
    EXPECT_THAT(readFeatures(folder.file("odd.geojson")), HasSubstr("id (String) = a\"b',\xC3\xA4\\\n"));
    expectDone({"export", results, "-o", folder.file("odd.gpkg"), "--model", odd});
    EXPECT_EQ(
        query(folder.file("odd.gpkg"), "select id, round(load_time, 6), max_time from nodes where kind = 'Outfall'"),
        "a\"b',\xC3\xA4\\|0.24|4.0\n");
    expectDone({"export", results, "-o", folder.file("odd.nc")});
    EXPECT_THAT(process_run({"ncdump", "-v", "outfall_id", folder.file("odd.nc")}).out, HasSubstr("\xC3\xA4"));
    EXPECT_THAT(dumpVariable(folder.file("odd.nc"), "outfall_time"), ElementsAre("0", "0", "4", "4"));
}

// Pollutants of an older alphabet: names of netCDF have letters alone, all else is UTF-8.
TEST_F(Export, PollutantsOfAnyBytes) {
    std::string text = readFile(model);
    for (size_t at; (at = text.find("NH4-N")) != std::string::npos;) {
        text.replace(at, 5, "\xE4'\"");
    }
    const std::string odd = folder.write("odd.inp", text + "[MAP]\nCRS EPSG:4326\nNODE J1 1 2\nNODE O_1 3 4\n");
    ASSERT_EQ(runProgram({"run", odd, "--quiet"}).status, 0);
    const std::string results = folder.file("odd.bin"), package = folder.file("odd.gpkg");
    expectDone({"export", results, "-o", folder.file("odd.nc")});
    EXPECT_THAT(dumpVariable(folder.file("odd.nc"), "outfall_____"), ElementsAre("0", "0", "4", "4"));
    EXPECT_THAT(dumpHead(folder.file("odd.nc")), HasSubstr("outfall_____:column = \"\xC3\xA4\\'\\\"\" ;"));
    expectDone({"export", results, "-o", package, "--model", odd});
    EXPECT_EQ(query(package, "select name from pragma_table_info('nodes') where name like 'load%'"),
              "load_\xC3\xA4'\"\n");
    EXPECT_EQ(query(package, "select round(\"load_\xC3\xA4'\"\"\", 6) from nodes where id = 'O_1'"), "0.24\n");
    expectDone({"export", results, "-o", folder.file("odd.geojson"), "--model", odd});
    EXPECT_THAT(readFile(folder.file("odd.geojson")), HasSubstr("\"load_\xC3\xA4'\\\"\": 0.24"));
}

// --- what can't be done --------------------------------------------------------------------------------------------

TEST_F(Export, WordsThatDontGoTogether) {
    expectMisuse({"export", binary, "-o", folder.file("out.xlsx")},
                 "an export ends with .csv, .nc, .geojson or .gpkg, or is a folder, not as ");
    expectMisuse({"export", binary}, "--output is required");
    expectMisuse({"export", binary, "-o", folder.file("out.gpkg")}, "a map needs the project of the results");
    for (const std::string name : {"out.nc", "tables/"}) {
        expectMisuse({"export", binary, "-o", folder.file(name), "--long"}, "--long makes one file");
    }
    expectMisuse({"export", binary, "-o", folder.file("o.csv"), "--from", "2021/03/02", "--to", "2021/03/01"},
                 "is later than");
    EXPECT_EQ(folder.list().size(), 5U);
}

TEST_F(Export, NothingThatIsReadIsWritten) {
    const std::string before = readFile(binary);
    for (const std::string name : {"same.nc", "same.csv"}) {
        const std::string same = folder.file(name);
        fs::copy(binary, same);
        expectMisuse({"export", same, "-o", same}, "the export would take the place of what it reads");
        fs::remove(folder.file("link.nc"));
        fs::create_symlink(same, folder.file("link.nc"));
        expectMisuse({"export", same, "-o", folder.file("link.nc")}, "would take the place");
        EXPECT_EQ(readFile(same), before);
        fs::remove(same);
    }
    const std::string table = folder.file("out-Outfall.csv"), aside = folder.file("out.nc.part");
    fs::copy(binary, table);
    fs::copy(binary, aside);
    expectFailure({"export", table, "-o", folder.file("out.csv")}, " would take the place of what is read");
    expectMisuse({"export", aside, "-o", folder.file("out.nc")}, "would take the place");
    EXPECT_EQ(readFile(table), before);
    EXPECT_EQ(readFile(aside), before);
    const std::string mapped = folder.write("mapped.gpkg", readFile(model) + PLANE);
    expectMisuse({"export", binary, "-o", mapped, "--model", mapped}, "would take the place");
    EXPECT_EQ(readFile(mapped), readFile(model) + PLANE);
}

TEST_F(Export, NorIsWhatTheProjectReads) {
    const std::string series = folder.write("rain.geojson", "2021/03/01 0:00 0\n");
    const std::string mapped = addMap("[TIMESERIES]\nRAIN FILE " + series + "\n" + PLANE);
    expectFailure({"export", binary, "-o", series, "--model", mapped}, "rain.geojson is ");
    EXPECT_EQ(readFile(series), "2021/03/01 0:00 0\n");
}

TEST_F(Export, AModelThatDoesntFit) {
    const std::string out = folder.file("out.gpkg");
    expectFailure({"export", binary, "-o", out, "--model", model},
                  model + " has no coordinates: they belong in its section [MAP]");
    expectFailure({"export", binary, "-o", out, "--model", folder.file("none.inp")}, "none.inp");
    const std::string wrong = folder.write("wrong.inp", std::string(BAD_PROJECT) + "[MAP]\nNODE J1 1 2\n");
    expectFailure({"export", binary, "-o", out, "--model", wrong}, "the engine ended with code 200");
    const std::string other = folder.write("other.inp", std::string(GOOD_PROJECT) + "[MAP]\nNODE J1 1 2\n");
    expectFailure({"export", binary, "-o", out, "--model", other},
                  "model.bin doesn't belong to " + other + ", which has no Outfall O_1");
    EXPECT_FALSE(folder.has("out.gpkg"));
    EXPECT_FALSE(folder.has("out.gpkg.part"));
}

TEST_F(Export, ResultsThatCantBeRead) {
    const std::string mapped = addMap(PLANE);
    const std::string cut = folder.write("cut.bin", readFile(binary).substr(0, 60));
    const std::string none = folder.write("none.bin", makeResults(MARCH, 60, 0));
    for (const std::string name : {"old.csv", "old.nc", "old.geojson", "old.gpkg"}) {
        const std::string out = folder.write(name, "kept");
        expectFailure({"export", cut, "-o", out, "--model", mapped, "--table", "Outfall"}, "cut.bin");
        expectFailure({"export", none, "-o", out, "--model", mapped}, "none.bin holds no report");
        expectFailure({"export", folder.file("away.bin"), "-o", out, "--model", mapped}, "cannot open");
        expectFailure({"export", binary, "-o", out, "--model", mapped, "--object", "X9"}, "no object X9");
        expectFailure({"export", binary, "-o", out, "--model", mapped, "--from", "2022/01/01"}, "no report of");
        EXPECT_EQ(readFile(out), "kept");
        EXPECT_FALSE(folder.has(name + ".part"));
    }
}

// A date in the middle of the file that goes back ends the export; what stood there stays.
TEST_F(Export, DamageInTheMiddleOfResults) {
    const std::string mapped = addMap(PLANE);
    constexpr size_t RECORD = 8 + 4 * (12 + 3 * 3);
    const std::string damaged = patch(readFile(binary).size() - 28 - 2 * RECORD, getBytes(1e300));
    for (const std::string name : {"old.nc", "old.geojson", "old.gpkg", "old.csv"}) {
        const std::string out = folder.write(name, "kept");
        const ProcessResult result = runProgram({"export", damaged, "-o", out, "--model", mapped});
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("patched.bin is damaged")) << name;
        EXPECT_EQ(readFile(out), "kept");
        EXPECT_FALSE(folder.has(name + ".part")) << name;
    }
    EXPECT_FALSE(folder.has("old-Outfall.csv"));
}

TEST_F(Export, AFullDiskLeavesWhatWasThere) {
    const SmallDisk disk;
    if (!disk.isThere) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    std::string text = readFile(model);
    text.replace(text.find("END_TIME 0:04:30"), 16, "END_TIME 23:59:00");
    text += "[MAP]\nCRS EPSG:4326\nNODE J1 1 2\nNODE O_1 3 4\n[PIPES]\n";
    std::string junctions = "[JUNCTIONS]\n", points = "[MAP]\n";
    for (int k = 0; k < 300; ++k) {
        const std::string id = "X" + std::to_string(k);
        junctions += id + "\n";
        text.append("P").append(id).append(" ").append(id).append(" O_1 NO 300 1 0.2 0\n");
        points += "NODE " + id + " " + std::to_string(k) + ".25 7\n";
    }
    const std::string great = folder.write("great.inp", text + junctions + points);
    ASSERT_EQ(runProgram({"run", great, "--quiet"}).status, 0);
    for (const std::string name : {"old.nc", "old.geojson", "old.gpkg", "old.csv"}) {
        const std::string out = disk.folder.write(name, "kept");
        std::vector<std::string> arguments{"export", folder.file("great.bin"), "-o", out, "--model", great};
        if (name == "old.csv") {
            arguments.emplace_back("--long");
        }
        const ProcessResult result = runProgram(arguments);
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_THAT(result.err, HasSubstr("cannot write " + out)) << name;
        EXPECT_EQ(readFile(out), "kept") << name;
        EXPECT_THAT(disk.folder.list(), ElementsAre(name)) << name;
        fs::remove(out);
    }
}
