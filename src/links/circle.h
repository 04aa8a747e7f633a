#pragma once
// The circle of pipes and round openings. So many digits and no more: every area, and so every flow, rests on them.

inline constexpr double PI = 3.14159265;
inline constexpr double TWO_PI = 6.2831853;
