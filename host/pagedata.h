#pragma once
// What a page shows, ahead of its JSON. docs/page.md describes each part for its readers.

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "mapfile.h"
#include "messages.h"
#include "pageseries.h"
#include "verdict.h"

struct PageColumn {
    std::string name;
    std::string unit;
    const char* kind;  ///< "text", "number" or "date"
    int digits = 3;    ///< behind the point, of a number
};

/// A table. Cells are pieces of JSON.
struct PageTable {
    std::string key;
    std::string title;
    std::string note;
    std::vector<PageColumn> columns{};
    int object = -1;            ///< column with IDs; -1 for none
    std::string objectClass{};  ///< "nodes", "links" or "areas": what the IDs are of; empty for others
    std::vector<std::vector<std::string>> rows{};
};

/// A figure of each object, by which the network can be coloured. NaN for none; a list may be empty.
struct PageMeasure {
    std::string key, title, unit;
    std::vector<double> nodes{}, links{}, areas{};
};

struct PageNode {
    std::string id;
    const char* kind;
    double x, y;
};

struct PageLink {
    std::string id;
    const char* kind;
    int32_t from, to;              ///< nodes
    std::vector<MapPoint> points;  ///< between the ends
};

struct PageArea {
    std::string id;
    double x, y;
    int32_t to;                    ///< node; -1 for none
    std::vector<MapPoint> points;  ///< its outline
};

struct PageNetwork {
    bool isGiven = false;  ///< by coordinates of the project
    std::string crs{};
    std::vector<PageNode> nodes{};
    std::vector<PageLink> links{};
    std::vector<PageArea> areas{};
    std::vector<PageMeasure> measures{};
};

/// A run, or results of one.
struct PageRun {
    std::string name;
    const char* source;  ///< "model" or "results"
    std::vector<std::string> description{};
    std::vector<std::pair<std::string, std::string>> facts{};
    double start = std::nan(""), end = std::nan("");  ///< dates; NaN if there is no run
    std::vector<HostVerdict> verdicts{};
    std::vector<HostMessage> messages{};
    PageNetwork network{};
    std::vector<PageTable> tables{};
    double firstReport = std::nan("");  ///< date
    int32_t reportStep = 0;             ///< s
    PageSeries series{};
    std::string note{};
};

/// A moment as a cell: seconds since 1970, by the clock of the model; null for what is no date.
[[nodiscard]] std::string pagedata_formatDate(double date);

/// A name of the project in UTF-8, quoted.
[[nodiscard]] std::string pagedata_quote(const std::string& name);

/// Class of the objects of a table of results: "nodes", "links", "areas", or empty for others.
[[nodiscard]] std::string pagedata_getClass(const std::string& table);

/// The data of a page: JSON that can stand in HTML, and an element for each object of the series.
[[nodiscard]] std::string pagedata_write(const std::string& title, const std::vector<PageRun>& runs);
