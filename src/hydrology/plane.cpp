// Overland flow. A plane is a nonlinear reservoir: what exceeds its depression storage flows off as a sheet by
// Manning's law over its width (Chen and Shubinski 1971). Subcatchments call this room for either of their parts in
// each runoff step.

#include "hydrology/plane.h"

#include <cmath>

/// What changes the depth of a plane: inflow less the sheet that flows off.
struct Reservoir {
    double inflow;   ///< m/s, rain less losses
    double storage;  ///< m, depression storage
    double alpha;    ///< outflow (m/s) at 1 m above the storage
};

static double getDepthRate(const Reservoir& reservoir, double depth) {
    if (!(depth > reservoir.storage)) {
        return reservoir.inflow;
    }
    return reservoir.inflow - reservoir.alpha * std::pow(depth - reservoir.storage, MANNING_EXPONENT);
}

/// The power of a sheet, which mostly is the one taken last.
static double getPower(SheetPower& sheet, double height) {
    if (sheet.height != height) {
        sheet = {height, std::pow(height, MANNING_EXPONENT)};
    }
    return sheet.power;
}

/// One step of the classical Runge-Kutta method; neither iterated nor bounded.
static double stepDepth(const Reservoir& reservoir, double depth, SheetPower& sheet, double dt) {
    const double k1 = depth > reservoir.storage
                          ? reservoir.inflow - reservoir.alpha * getPower(sheet, depth - reservoir.storage)
                          : reservoir.inflow;
    const double k2 = getDepthRate(reservoir, depth + k1 * dt / 2.0);
    const double k3 = getDepthRate(reservoir, depth + k2 * dt / 2.0);
    const double k4 = getDepthRate(reservoir, depth + k3 * dt);
    return depth + (k1 + 2.0 * k2 + 2.0 * k3 + k4) * dt / 6.0;
}

double plane_drain(const Plane& plane, double& depth, SheetPower& sheet, SlopeRoot& root, double dt) {
    if (!(plane.evap + plane.infil < depth / dt + plane.rain)) {
        depth = 0.0;
        return 0.0;
    }
    const double inflow = plane.rain - plane.evap - plane.infil;
    const double filled = inflow * dt + depth;
    if (!(filled > plane.storage)) {
        depth = filled;
        return 0.0;
    }
    if (depth < plane.storage && (plane.storage - depth) / dt < inflow) {
        dt = dt - (plane.storage - depth) / inflow;
        depth = plane.storage;
    }
    if (root.slope != plane.slope) {
        root = {plane.slope, std::pow(plane.slope, 0.5)};
    }
    // A part without area has an infinite alpha, and ends at its storage with no flow.
    const Reservoir reservoir = {inflow, plane.storage, root.root * plane.width / plane.area / plane.roughness};
    depth = stepDepth(reservoir, depth, sheet, dt);
    if (!(depth > plane.storage)) {
        depth = plane.storage;
        return 0.0;
    }
    return getPower(sheet, depth - plane.storage) * reservoir.alpha * plane.area;
}
