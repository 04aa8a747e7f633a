#pragma once
// Units of results and of dates, by the names and numbers with which the program shows and turns them.

inline constexpr double HOURS_PER_DAY = 24.0;       ///< dates, days
inline constexpr double SECONDS_PER_DAY = 86400.0;  ///< dates, days; clocks, s
inline constexpr double SECONDS_PER_HOUR = 3600.0;
inline constexpr double MM_PER_M = 1000.0;  ///< depths of water, m

inline constexpr const char* FLOW_UNIT = "m3/s";
inline constexpr const char* CONCENTRATION_UNIT = "mg/L";
