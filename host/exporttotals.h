#pragma once
// Totals of objects, for maps: which fields the rows of a table give, and their values.

#include <string>
#include <vector>

#include "exportmap.h"

/// Where the value of a field comes from.
enum class TotalsSource { PEAK, PEAK_TIME, MEAN_FLOW, VOLUME, LOAD, CONCENTRATION, MAXIMUM, MEAN };

struct TotalsUse {
    TotalsSource source;
    size_t column;  ///< of the part's; of a load that of its pollutant among those that are carried
    size_t field;   ///< of the layer
};

/// What is made of the rows of a table.
struct TotalsPlan {
    ResultPart part;                   ///< chosen objects, and the columns that are summarized
    size_t flow = RESULT_NONE;         ///< of the table: the flow of its volume and loads
    std::vector<size_t> pollutants{};  ///< of the table: concentrations that it carries
    std::vector<TotalsUse> uses{};
};

/// Adds the fields of a table to those of its layer.
[[nodiscard]] TotalsPlan totals_plan(const ResultFile& file, const ResultPart& part, MapLayer& layer);

/// Fills the values of some objects of a plan, one set of values for each.
void totals_fill(const ResultFile& file, const TotalsPlan& plan, const ResultPart& cut, const ResultWindow& window,
                 std::vector<std::vector<MapValue>>& values);

/// Bytes that an object takes meanwhile.
[[nodiscard]] uint64_t totals_measure(const TotalsPlan& plan);
