#pragma once
// Overland flow: a plane that drains as a nonlinear reservoir.

inline constexpr double MANNING_EXPONENT = 1.6666666666666667;  ///< of the depth of a sheet of water, in its flow

/// A plane in one step: what falls on it and is lost, and its shape.
struct Plane {
    double rain;       ///< m/s
    double evap;       ///< m/s
    double infil;      ///< m/s
    double storage;    ///< m, depression storage
    double area;       ///< m2
    double width;      ///< m, of the overland flow
    double slope;      ///< m/m
    double roughness;  ///< Manning's n
};

/// The square root of a slope, kept from step to step. A host may change a slope in the run, otherwise the root stands.
struct SlopeRoot {
    double slope;  ///< m/m, that the root was taken of
    double root;
};

/// The power of a sheet of water, kept from step to step: a step ends with the sheet that the next one begins with.
struct SheetPower {
    double height;  ///< m, above the depression storage
    double power;   ///< of it, by Manning's exponent; that of 0 at first
};

/// Outflow at the end of a step of `dt` (s), m3/s. Updates the depth (m), the power of the sheet
/// and, where the slope is another one, its root.
[[nodiscard]] double plane_drain(const Plane& plane, double& depth, SheetPower& sheet, SlopeRoot& root, double dt);
