// See unitwater.h.

#include "bare/unitwater.h"

#include <cmath>

namespace {

constexpr double DT = BARE_STEP;

double getNonNegative(double value) {
    return 0.0 < value ? value : 0.0;
}

double limit(double value, double high) {
    const double low = value < 0.0 ? 0.0 : value;
    return bare_getMinimum(low, high);
}

// --- fluxes that several types share -------------------------------------------------------------------------------

/// What the surface lets go over its berm.
double getOverflow(const BareLayers& l, const BareUnits& b, size_t k, double surface) {
    const double head = surface - l.berm;
    if (head < 0.0) {
        return 0.0;
    }
    return bare_getMinimum(std::pow(head, 1.6666666666666667) * l.surfaceAlpha * b.width[k] / b.area[k], head / DT);
}

void evaporate(BareFluxes& s, double potential, double surface, double pavement, double soil, double storage) {
    s.surfaceEvap = getNonNegative(bare_getMinimum(potential, surface / DT));
    if (s.infil > 0.0) {
        return;
    }
    double rest = getNonNegative(potential - s.surfaceEvap);
    s.pavementEvap = bare_getMinimum(rest, pavement / DT);
    rest = getNonNegative(rest - s.pavementEvap);
    s.soilEvap = bare_getMinimum(rest, soil / DT);
    rest = getNonNegative(rest - s.soilEvap);
    s.storageEvap = bare_getMinimum(rest, storage / DT);
}

double getPercolation(const BareLayers& l, const BareFluxes& s, double moisture) {
    const double rate = moisture > l.field ? l.conductivity * std::exp(-(l.porosity - moisture) * l.soilSlope) : 0.0;
    return getNonNegative(bare_getMinimum(rate, getNonNegative((moisture - l.field) * l.soil) / DT - s.soilEvap));
}

double getDrain(const BareLayers& l, double head) {
    head -= l.drainOffset;
    return head > 1e-10 ? std::pow(head * 1000.0, 0.5) * l.drain / 3600000.0 : 0.0;
}

double getDrainLimit(const BareLayers& l, const BareFluxes& s, double level, double arriving, double exfil) {
    double available = -exfil - s.storageEvap;
    if (!(level < l.storage)) {
        available += arriving;
    }
    if (!(level < l.drainOffset)) {
        available += (level - l.drainOffset) * l.storageVoid / DT;
    }
    return getNonNegative(available);
}

double getSoilRoom(const BareLayers& l, double moisture) {
    return (l.porosity - moisture) * l.soil / DT;
}

double getStorageRoom(const BareLayers& l, double level) {
    return (l.storage - level) * l.storageVoid / DT;
}

/// Head on the drain below a soil.
double getHead(const BareLayers& l, double surface, double moisture, double level) {
    double head = level;
    if (!(head < l.storage) && moisture > l.field) {
        head += (moisture - l.field) / (l.porosity - l.field) * l.soil;
        if (!(moisture < l.porosity)) {
            head += surface;
        }
    }
    return head;
}

double getSoilLimit(const BareLayers& l, const BareFluxes& s, double moisture) {
    return bare_getMinimum(bare_getMinimum(l.conductivity, s.inflow), getSoilRoom(l, moisture));
}

void moveSoil(const BareLayers& l, BareUnits& b, size_t k, double rate) {
    const double moisture = rate * DT + b.moisture[k];
    b.moisture[k] = bare_getMinimum(moisture < l.wilting ? l.wilting : moisture, l.porosity);
}

void moveSurface(const BareLayers& l, BareUnits& b, size_t k, const BareFluxes& s) {
    b.surface[k] = limit((s.inflow - s.surfaceEvap - s.infil - s.out) / l.surfaceVoid * DT + b.surface[k], 1e10);
}

// --- bio-retention cell and rain garden ----------------------------------------------------------------------------

void limitCell(const BareLayers& l, BareFluxes& s, double moisture, double level) {
    if (l.storage == 0.0) {
        s.storageEvap = 0.0;
        s.perc = bare_getMinimum(s.perc, s.exfil);
        s.exfil = s.perc;
        s.infil = bare_getMinimum(s.infil, getSoilRoom(l, moisture) + s.perc + s.soilEvap);
    }
    if (!(moisture < l.porosity) && !(level < l.storage)) {
        double through = s.drain + s.exfil;
        if (s.perc < through) {
            through = s.perc;
            if (!(s.perc > s.exfil)) {
                s.drain = 0.0;
                s.exfil = s.perc;
            } else {
                s.drain = s.perc - s.exfil;
            }
        }
        s.perc = through;
        s.infil = bare_getMinimum(s.infil, through);
        return;
    }
    s.exfil = getNonNegative(bare_getMinimum(s.exfil, level * l.storageVoid / DT + s.perc - s.storageEvap));
    if (s.drain > 0.0) {
        s.drain = bare_getMinimum(s.drain, getDrainLimit(l, s, level, s.perc, s.exfil));
    }
    s.perc = bare_getMinimum(s.perc, getStorageRoom(l, level) + s.drain + s.exfil + s.storageEvap);
    s.infil = bare_getMinimum(s.infil, getSoilRoom(l, moisture) + s.perc + s.soilEvap);
}

double stepCell(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s, double potential) {
    const double surface = b.surface[k], moisture = b.moisture[k], level = b.storage[k];
    const double surfaceVolume = surface * l.surfaceVoid, soilVolume = moisture * l.soil;
    const double storageVolume = level * l.storageVoid;
    s.infil = getSoilLimit(l, s, moisture);
    evaporate(s, potential, surfaceVolume, 0.0, soilVolume - l.soil * l.wilting, storageVolume);
    if (!(moisture < l.porosity)) {
        s.storageEvap = 0.0;
    }
    s.perc = getPercolation(l, s, moisture);
    s.exfil = l.seepage;
    s.drain = l.drain > 0.0 ? getDrain(l, getHead(l, surface, moisture, level)) : 0.0;
    limitCell(l, s, moisture, level);
    s.out = getOverflow(l, b, k, surface);
    moveSoil(l, b, k, (s.infil - s.soilEvap - s.perc) / l.soil);
    if (l.storage > 0.0) {
        b.storage[k] = limit((s.perc - s.storageEvap - s.exfil - s.drain) / l.storageVoid * DT + level, l.storage);
    }
    moveSurface(l, b, k, s);
    return 0.0 + surfaceVolume + soilVolume + storageVolume;
}

// --- green roof ----------------------------------------------------------------------------------------------------

double stepRoof(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s, double potential) {
    const double surface = b.surface[k], moisture = b.moisture[k], level = b.storage[k];
    const double surfaceVolume = surface * l.surfaceVoid, soilVolume = moisture * l.soil;
    const double storageVolume = level * l.storageVoid;
    s.infil = getSoilLimit(l, s, moisture);
    evaporate(s, potential, surfaceVolume, 0.0, soilVolume - l.soil * l.wilting, storageVolume);
    if (!(moisture < l.porosity)) {
        s.storageEvap = 0.0;
    }
    s.perc = getPercolation(l, s, moisture);
    double drain = std::pow(level, 1.6666666666666667) * l.matAlpha * b.width[k] / b.area[k] * l.storageVoid;
    if (!(moisture < l.porosity) && !(level < l.storage)) {
        s.perc = bare_getMinimum(s.perc, drain);
        drain = s.perc;
        s.infil = bare_getMinimum(s.infil, s.perc);
    } else {
        double available = storageVolume / DT - s.storageEvap;
        if (!(level < l.storage)) {
            available += s.perc;
        }
        drain = bare_getMinimum(drain, getNonNegative(available));
        s.perc = bare_getMinimum(s.perc, getStorageRoom(l, level) + drain + s.storageEvap);
        s.infil = bare_getMinimum(s.infil, getSoilRoom(l, moisture) + s.perc + s.soilEvap);
    }
    s.drain = drain;
    s.out = getOverflow(l, b, k, surface);
    moveSoil(l, b, k, (s.infil - s.soilEvap - s.perc) / l.soil);
    b.storage[k] = limit((s.perc - s.storageEvap - drain) / l.storageVoid * DT + level, l.storage);
    moveSurface(l, b, k, s);
    return 0.0 + surfaceVolume + soilVolume + storageVolume;
}

// --- infiltration trench -------------------------------------------------------------------------------------------

double stepTrench(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s, double potential) {
    const double surface = b.surface[k], level = b.storage[k];
    const double surfaceVolume = surface * l.surfaceVoid, storageVolume = level * l.storageVoid;
    s.infil = bare_getMinimum(bare_getMinimum(l.seepage, s.inflow), getStorageRoom(l, level));
    evaporate(s, potential, surfaceVolume, 0.0, 0.0, storageVolume);
    if (surface > 0.0) {
        s.storageEvap = 0.0;
    }
    const double arriving = surfaceVolume / DT + s.inflow;
    s.drain = getDrain(l, level);
    s.exfil = getNonNegative(bare_getMinimum(l.seepage, arriving - s.storageEvap + storageVolume / DT));
    if (s.drain > 0.0) {
        s.drain = bare_getMinimum(s.drain, getDrainLimit(l, s, level, arriving, s.exfil));
    }
    s.storageInflow = bare_getMinimum(arriving, getStorageRoom(l, level) + s.exfil + s.storageEvap + s.drain);
    s.infil = s.storageInflow;
    s.out = getOverflow(l, b, k, surface);
    b.storage[k] = limit((s.storageInflow - s.storageEvap - s.exfil - s.drain) / l.storageVoid * DT + level, l.storage);
    moveSurface(l, b, k, s);
    return 0.0 + surfaceVolume + 0.0 + storageVolume;
}

// --- rain barrel and swale -----------------------------------------------------------------------------------------

double stepBarrel(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s) {
    const double surface = b.surface[k], level = b.storage[k];
    if (!(b.dryTime[k] < l.drainDelay) && level > l.drainOffset) {
        s.drain = bare_getMinimum(getDrain(l, level), (level - l.drainOffset) / DT);
    }
    s.storageInflow = bare_getMinimum(s.inflow, (l.storage - level) / DT + s.drain);
    s.infil = s.storageInflow;
    s.out = s.inflow - s.storageInflow;
    b.surface[k] = limit(s.out * DT + surface, 1e10);
    b.storage[k] = limit((s.storageInflow - s.drain) * DT + level, l.storage);
    return level;
}

/// Rate of change of the level at a level, and the fluxes that make it; gives the water per area, m.
double getSwaleRate(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s, double potential, double& rate) {
    const double area = b.area[k], width = b.width[k], full = l.berm;
    const double depth = bare_getMinimum(b.surface[k], full);
    double slope = l.sideSlope;
    double bottom = width - 2.0 * slope * full;
    if (bottom < 0.5) {
        bottom = 0.5;
        slope = (width - 0.5) * 0.5 / full;
    }
    const double section = (slope * depth + bottom) * depth * l.surfaceVoid;
    const double surfaceArea = (2.0 * slope * depth + bottom) * (area / width);
    const double volume = section * (area / width);
    const double in = s.inflow * area, evap = bare_getMinimum(potential * surfaceArea, volume / DT);
    const double infil = s.infil * surfaceArea;
    double out = 0.0;
    if (depth > 1e-10 && section >= 1e-10) {
        const double radius = section / (std::sqrt(slope * slope + 1.0) * 2.0 * depth + bottom);
        out = std::pow(radius, 0.6666666666666666) * section * l.surfaceAlpha;
    }
    double net = in - evap - infil - out;
    if (depth == full && net > 0.0) {
        out += net;
        net = 0.0;
    }
    s.surfaceEvap = evap / area;
    s.exfil = infil / area;
    s.out = out / area;
    rate = net / surfaceArea / l.surfaceVoid;
    return volume / area;
}

double stepSwale(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s, double potential) {
    s.infil = bare_getMinimum(bare_getMinimum(l.seepage, s.inflow), getStorageRoom(l, b.storage[k]));
    const double before = b.surface[k], oldRate = b.surfaceChange[k];
    double held = 0.0;
    for (int pass = 1; pass <= 19; ++pass) {
        double rate = 0.0;
        held = getSwaleRate(l, b, k, s, potential, rate);
        const double level = limit((0.5 * rate + 0.5 * oldRate) * DT + before, 1e10);
        const bool isSteady = std::fabs(level - b.surface[k]) <= 0.00328;
        b.surface[k] = level;
        b.surfaceChange[k] = rate;
        if (isSteady) {
            break;
        }
    }
    return 0.0 + held + 0.0 + 0.0;
}

// --- permeable pavement --------------------------------------------------------------------------------------------

void limitFullStack(BareFluxes& s) {
    const double outflow = s.drain + s.exfil;
    double through = outflow;
    if (outflow > s.perc) {
        through = s.perc;
    } else if (!(s.pavementPerc > outflow)) {
        through = s.pavementPerc;
    }
    if (!(through > s.exfil)) {
        s.exfil = through;
        s.drain = 0.0;
    } else {
        s.drain = through - s.exfil;
    }
    s.pavementPerc = s.perc = through;
    s.infil = bare_getMinimum(s.infil, through);
}

void limitPavement(const BareLayers& l, BareFluxes& s, double pavement, double moisture, double level) {
    const bool isStorageFull = !(level < l.storage), isPavementFull = !(pavement < l.pavement);
    const bool isSoilFull = !(moisture < l.porosity);
    if (isStorageFull && isPavementFull && isSoilFull) {
        limitFullStack(s);
        return;
    }
    if (isStorageFull && isSoilFull) {
        const double outflow = s.drain + s.exfil;
        if (!(s.perc > outflow)) {
            s.exfil = bare_getMinimum(s.exfil, s.perc);
            s.drain = s.perc - s.exfil;
        } else {
            s.perc = outflow;
        }
    } else if (isPavementFull && isSoilFull) {
        s.pavementPerc = s.perc = s.perc < s.pavementPerc ? s.perc : s.pavementPerc;
        s.infil = bare_getMinimum(s.infil, s.perc);
        return;
    } else {
        s.exfil = bare_getMinimum(s.exfil, getNonNegative(s.perc - s.storageEvap + level * l.storageVoid / DT));
        if (s.drain > 0.0) {
            s.drain = bare_getMinimum(s.drain, getDrainLimit(l, s, level, s.perc, s.exfil));
        }
        s.perc = bare_getMinimum(s.perc, getNonNegative(getStorageRoom(l, level) + s.storageEvap + s.drain + s.exfil));
        s.pavementPerc = bare_getMinimum(s.pavementPerc, getSoilRoom(l, moisture) + s.perc);
    }
    s.infil = bare_getMinimum(s.infil, (l.pavement - pavement) * l.pavementVoid / DT + s.pavementPerc + s.pavementEvap);
}

double getPavementHead(const BareLayers& l, double pavement, double moisture, double level) {
    double head = level;
    if (!(head < l.storage) && moisture > l.field) {
        head += (moisture - l.field) / (l.porosity - l.field) * l.soil;
        if (!(moisture < l.porosity)) {
            head += pavement;
        }
    }
    return head;
}

double stepPavement(const BareLayers& l, BareUnits& b, size_t k, BareFluxes& s, double potential) {
    const double surface = b.surface[k], moisture = b.moisture[k], level = b.storage[k], pavement = b.pavement[k];
    const double surfaceVolume = surface * l.surfaceVoid, pavementVolume = pavement * l.pavementVoid;
    const double soilVolume = moisture * l.soil, storageVolume = level * l.storageVoid;
    evaporate(s, potential, surfaceVolume, pavementVolume, soilVolume - l.soil * l.wilting, storageVolume);
    if (!(pavement < l.pavement) || !(moisture < l.porosity)) {
        s.storageEvap = 0.0;
    }
    s.infil = bare_getMinimum(l.pavementRate, surfaceVolume / DT + s.inflow);
    s.pavementPerc = bare_getMinimum(l.pavementRate, getNonNegative(pavementVolume / DT + s.infil - s.pavementEvap));
    s.perc = getPercolation(l, s, moisture);
    s.exfil = l.seepage;
    s.drain = getDrain(l, getPavementHead(l, pavement, moisture, level));
    limitPavement(l, s, pavement, moisture, level);
    s.out = getOverflow(l, b, k, surface);
    moveSoil(l, b, k, (s.pavementPerc - s.soilEvap - s.perc) / l.soil);
    b.storage[k] = limit((s.perc - s.storageEvap - s.exfil - s.drain) / l.storageVoid * DT + level, l.storage);
    b.pavement[k] = limit((s.infil - s.pavementEvap - s.pavementPerc) / l.pavementVoid * DT + pavement, l.pavement);
    b.surface[k] = limit((s.inflow - s.surfaceEvap - s.infil - s.out) * DT + surface, 1e10);
    return pavementVolume + surfaceVolume + soilVolume + storageVolume;
}

}  // namespace

double bareUnits_moveWater(BareUnits& b, size_t k, BareFluxes& s, double potential) {
    const BareLayers& l = b.layers;
    switch (b.type) {
        case BareUnit::CELL:
        case BareUnit::GARDEN: return stepCell(l, b, k, s, potential);
        case BareUnit::ROOF: return stepRoof(l, b, k, s, potential);
        case BareUnit::TRENCH: return stepTrench(l, b, k, s, potential);
        case BareUnit::PAVEMENT: return stepPavement(l, b, k, s, potential);
        case BareUnit::BARREL: return stepBarrel(l, b, k, s);
        default: return stepSwale(l, b, k, s, potential);
    }
}
