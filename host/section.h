#pragma once
// A way through the network, from one node down to another, with the levels that a run reached along it. What has a
// length and a slope in a project are conduits; levels above sea, falls at nodes and ground it has none.

#include <string>
#include <vector>

#include "plot.h"
#include "resultfile.h"

/// A conduit of the way, or a tank, which has no length. Heights are those above the bed at the end of the way, m.
struct SectionPiece {
    std::string id;
    bool isTank = false;
    double begin = 0.0, length = 0.0;     ///< m, from the beginning of the way on
    double bedBegin = 0.0, bedEnd = 0.0;  ///< m
    double height = 0.0;                  ///< m, of the full section or the full tank; NaN of an IRREGULAR one
    double peak = 0.0;                    ///< m, greatest depth; NaN without a number
    std::vector<double> depths{};         ///< m, at the dates that were asked for
};

/// A node of the way.
struct SectionNode {
    std::string id;
    double place = 0.0;  ///< m
};

struct Section {
    std::vector<SectionPiece> pieces{};  ///< from the beginning on
    std::vector<SectionNode> nodes{};
    std::vector<std::string> others{};  ///< links without a length, as "P1 (pipe)"
    std::vector<double> otherPlaces{};  ///< m
    std::vector<double> dates{};        ///< of the reports that show the levels asked for
    double length = 0.0;                ///< m
};

/// Reads the project and the results. False if the project can't be opened, which it tells on standard error. Throws
/// ResultError.
[[nodiscard]] bool section_read(const PlotRequest& request, const ResultWindow& window, Section& section);
