#pragma once
// Inflow of a plant that runs alone: a table with commas, the first line naming its columns.

#include <string>
#include <string_view>
#include <vector>

#include "modelfile.h"

/// A row holds until the day of the next one.
struct InflowRow {
    double day = 0.0;   ///< since the start
    double flow = 0.0;  ///< m3/d
    std::vector<double> components;
};

/// Columns: day, flow, and constituents or components. What isn't there is that of the design.
[[nodiscard]] std::vector<FileMessage> series_read(std::string_view text, const PlantModel& model,
                                                   std::vector<InflowRow>& rows);
