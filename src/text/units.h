#pragma once
// Units. A project file is written in the units of the field (mm, mm/h, hours, %, ha), the engine computes in m, s,
// m3/s, kg/s and mg/L. Each constant is how many of one unit make one of another: a number is divided by it on the way
// to the larger unit and multiplied by it on the way back. Never multiply by its inverse, which binary numbers don't
// have.

// Length and area
inline constexpr double MM_PER_M = 1000.0;    ///< depths of rain, storage and layers, m
inline constexpr double M2_PER_HA = 10000.0;  ///< areas of land, m2
inline constexpr double HA_PER_M2 = 0.0001;   ///< the same the other way, the one inverse here: areas that are read are
                                              ///< divided by it, which gives other bits than a product with 10000

// Time
inline constexpr double SECONDS_PER_MINUTE = 60.0;  ///< the gap between rain events, s
inline constexpr double SECONDS_PER_HOUR = 3600.0;  ///< delays and retention times, s; rates per hour, per s
inline constexpr double SECONDS_PER_DAY = 86400.0;  ///< dates, days; rates per day, per s
inline constexpr double HOURS_PER_DAY = 24.0;       ///< written times of day, days
inline constexpr double MS_PER_SECOND = 1000.0;     ///< clocks of the run, ms, and steps, s
inline constexpr double MS_PER_DAY = 86400000.0;    ///< clocks of the run, ms, and days

// Rates
inline constexpr double MM_PER_HOUR = 3600000.0;  ///< mm/h in one m/s: rain, infiltration, conductivity, runoff
inline constexpr double MM_PER_DAY = 86400000.0;  ///< mm/day in one m/s: evaporation

// Mass and shares
inline constexpr double G_PER_KG = 1000.0;  ///< 1 mg/L is 1 g/m3: a concentration times a flow, by this, is kg/s
inline constexpr double PERCENT = 100.0;    ///< of the whole: shares, slopes, saturations
