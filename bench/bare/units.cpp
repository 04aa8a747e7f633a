// See units.h.

#include "bare/units.h"

#include <algorithm>
#include <cmath>

#include "bare/unitwater.h"
#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr double DT = BARE_STEP;
constexpr double DRY_RATE = 7.056e-10;
constexpr double MIN_VOLUME = 0.01;  ///< m3, below which a layer counts as dry
constexpr double MM_PER_HOUR = 3600000.0;

constexpr int64_t SATURATION = 30;  ///< %, at the start, unless nothing is to move

double getAlpha(double slope, double roughness) {
    return std::sqrt(slope / 100.0) * (1.0 / roughness);
}

/// Lines of the project, and the same layers in m and m/s.
const char* getDefinition(BareUnit type) {
    switch (type) {
        case BareUnit::CELL:
            return "U BC\nU SURFACE 150 0.1 0.1 1 0\nU SOIL 500 0.45 0.2 0.1 40 10\nU STORAGE 300 0.67 3\n"
                   "U DRAIN 3 0.5 100\n";
        case BareUnit::GARDEN:
            return "U RG\nU SURFACE 150 0.1 0.1 1 0\nU SOIL 500 0.45 0.2 0.1 40 10\nU STORAGE 0 0 8\n";
        case BareUnit::ROOF:
            return "U GR\nU SURFACE 20 0 0.1 2 0\nU SOIL 100 0.5 0.3 0.1 80 10\nU DRAINMAT 25 0.5 0.3\n";
        case BareUnit::TRENCH: return "U IT\nU SURFACE 50 0 0.1 1 0\nU STORAGE 900 0.67 12\nU DRAIN 4 0.5 600\n";
        case BareUnit::PAVEMENT:
            return "U PP\nU SURFACE 5 0 0.02 1 0\nU PAVEMENT 120 0.2 500\nU SOIL 100 0.4 0.2 0.1 60 10\n"
                   "U STORAGE 300 0.67 3\nU DRAIN 3 0.5 150\n";
        case BareUnit::BARREL: return "U RB\nU STORAGE 1500 1 0\nU DRAIN 6 0.5 50 0.25\n";
        default: return "U VS\nU SURFACE 400 0.1 0.15 1 3\nU STORAGE 100 1 5\n";
    }
}

void setSoil(BareLayers& l, double depth, double porosity, double field, double conductivity) {
    l.soil = depth / 1000.0;
    l.porosity = porosity;
    l.field = field;
    l.wilting = 0.1;
    l.conductivity = conductivity / MM_PER_HOUR;
    l.soilSlope = 10;
}

void setStorage(BareLayers& l, double depth, double ratio, double seepage) {
    l.storage = depth / 1000.0;
    l.storageVoid = depth > 0.0 ? ratio / (ratio + 1.0) : 1.0;
    l.seepage = seepage / MM_PER_HOUR;
}

void setSurface(BareLayers& l, double berm, double plants, double roughness, double slope) {
    l.berm = berm / 1000.0;
    l.surfaceVoid = 1.0 - plants;
    l.surfaceAlpha = getAlpha(slope, roughness);
}

void setDrain(BareLayers& l, double coefficient, double offset) {
    l.drain = coefficient;
    l.drainOffset = offset / 1000.0;
}

BareLayers makeLayers(BareUnit type) {
    BareLayers l{};
    switch (type) {
        case BareUnit::CELL:
        case BareUnit::GARDEN:
            setSurface(l, 150, 0.1, 0.1, 1);
            setSoil(l, 500, 0.45, 0.2, 40);
            setStorage(l, type == BareUnit::CELL ? 300 : 0, 0.67, type == BareUnit::CELL ? 3 : 8);
            setDrain(l, type == BareUnit::CELL ? 3 : 0, type == BareUnit::CELL ? 100 : 0);
            break;
        case BareUnit::ROOF:
            setSurface(l, 20, 0, 0.1, 2);
            setSoil(l, 100, 0.5, 0.3, 80);
            l.storage = 25 / 1000.0;
            l.storageVoid = 0.5;
            l.matAlpha = getAlpha(2, 0.3);
            break;
        case BareUnit::TRENCH:
            setSurface(l, 50, 0, 0.1, 1);
            setStorage(l, 900, 0.67, 12);
            setDrain(l, 4, 600);
            break;
        case BareUnit::PAVEMENT:
            setSurface(l, 5, 0, 0.02, 1);
            setSoil(l, 100, 0.4, 0.2, 60);
            setStorage(l, 300, 0.67, 3);
            setDrain(l, 3, 150);
            l.pavement = 120 / 1000.0;
            l.pavementVoid = 0.2 / (0.2 + 1.0);
            l.pavementRate = 500 / MM_PER_HOUR;
            break;
        case BareUnit::BARREL:
            l.storage = 1500 / 1000.0;
            l.storageVoid = 1.0;
            setDrain(l, 6, 50);
            l.drainDelay = 0.25 * 3600.0;
            break;
        default:
            setSurface(l, 400, 0.1, 0.15, 1);
            l.surfaceAlpha = std::sqrt(1 / 100.0) / 0.15;
            l.sideSlope = 3;
            setStorage(l, 100, 1, 5);
            break;
    }
    return l;
}

// --- pollutants ----------------------------------------------------------------------------------------------------

/// Levels ahead of the step.
struct BareLevels {
    double surface, pavement, moisture, storage;
};

double getConcentration(double volume, double mass) {
    return volume > MIN_VOLUME ? mass / volume * 1000.0 : 0.0;
}

double getMixed(double mass, double volume) {
    if (!(volume > MIN_VOLUME)) {
        return 0.0;
    }
    const double mixed = mass / volume * 1000.0;
    return mixed < 0.0 ? 0.0 : mixed;
}

double getCarried(double rate, double area, double c) {
    return rate * area * DT * c / 1000.0;
}

void finishStorage(BareUnits& b, size_t k, size_t at, const BareFluxes& s, double volume, double in) {
    const double area = b.area[k], mass = b.storageMass[at];
    const double c = getConcentration(volume, mass);
    const double exfil = s.exfil * area * DT, drain = s.drain * area * DT;
    const double mixed = getMixed(mass + in - drain * c / 1000.0 - exfil * c / 1000.0, volume);
    const double left = b.storageDecay * mixed;
    b.reacted[at] += (mixed - left) * volume / 1000.0;
    b.storageMass[at] = left * volume / 1000.0;
    b.exfilLoad[at] += exfil * left / 1000.0;
    b.drainOut[at] += drain * left / 1000.0;
    b.drainLoad[at] = s.drain * area * left / 1000.0;
}

/// A layer on the way down: what leaves it.
double passDown(double volume, double mass, double in, double rate, double area) {
    return volume > MIN_VOLUME ? getCarried(rate, area, getConcentration(volume, mass)) : in;
}

/// Pavement and soil: what stays reacts.
void finishLayer(BareUnits& b, size_t at, double volume, double& mass, double change, double decay) {
    const double mixed = getMixed(change, volume);
    const double left = decay * mixed;
    b.reacted[at] += (mixed - left) * volume / 1000.0;
    mass = left * volume / 1000.0;
}

/// The surface, which loses `infil` downward; gives the concentration that is left.
double finishSurface(BareUnits& b, size_t k, size_t at, const BareFluxes& s, double load, double volume, double infil) {
    const double area = b.area[k], c = getConcentration(volume, b.surfaceMass[at]);
    const double mass = DT * load + b.surfaceMass[at] - getCarried(infil, area, c) - getCarried(s.out, area, c);
    const double left = getMixed(mass, volume);
    b.surfaceMass[at] = left * volume / 1000.0;
    b.surfaceOut[at] += getCarried(s.out, area, left);
    b.surfaceLoad[at] = s.out * area * left / 1000.0;
    return left;
}

void finishDryStorage(BareUnits& b, size_t at, const BareFluxes& s, double in) {
    b.storageMass[at] = 0.0;
    const double out = s.exfil + s.drain;
    if (b.type == BareUnit::ROOF) {
        b.drainOut[at] += in;
        b.drainLoad[at] = in / DT;
    } else if (out > 0.0) {
        const double drained = in * s.drain / out;
        b.drainOut[at] += drained;
        b.drainLoad[at] = drained / DT;
        b.exfilLoad[at] += in - drained;
    }
}

void moveThroughStack(BareUnits& b, size_t k, size_t at, const BareFluxes& s, double load, const BareLevels& levels) {
    const BareLayers& l = b.layers;
    const double area = b.area[k];
    const double surfaceVolume = area * levels.surface * l.surfaceVoid;
    const double pavementVolume = area * levels.pavement * l.pavementVoid;
    const double soilVolume = area * levels.moisture * l.soil;
    const double storageVolume = area * levels.storage * l.storageVoid;
    const double first = passDown(surfaceVolume, b.surfaceMass[at], DT * load, s.infil, area);
    double second = first, in = first;
    if (b.type == BareUnit::PAVEMENT) {
        second = in = passDown(pavementVolume, b.pavementMass[at], first, s.pavementPerc, area);
    }
    if (b.type != BareUnit::TRENCH) {
        in = passDown(soilVolume, b.soilMass[at], second, s.perc, area);
    }
    if (storageVolume > MIN_VOLUME) {
        finishStorage(b, k, at, s, storageVolume, in);
    } else {
        finishDryStorage(b, at, s, in);
    }
    if (b.type != BareUnit::TRENCH) {
        finishLayer(b, at, soilVolume, b.soilMass[at], second + b.soilMass[at] - in, b.soilDecay);
    }
    if (b.type == BareUnit::PAVEMENT) {
        finishLayer(b, at, pavementVolume, b.pavementMass[at], first + b.pavementMass[at] - second, 1.0);
    }
    finishSurface(b, k, at, s, load, surfaceVolume, s.infil);
}

void moveThroughSwale(BareUnits& b, size_t k, size_t at, const BareFluxes& s, double load, double level) {
    const double volume = b.area[k] * level * b.layers.surfaceVoid;
    const double left = finishSurface(b, k, at, s, load, volume, s.exfil);
    b.exfilLoad[at] += getCarried(s.exfil, b.area[k], left);
}

void moveThroughBarrel(BareUnits& b, size_t k, size_t at, const BareFluxes& s, double load, double level) {
    const double area = b.area[k], volume = area * level * 1.0;
    double in = 0.0;
    if (s.inflow * area * DT > MIN_VOLUME) {
        in = DT * load * s.storageInflow / s.inflow;
        b.surfaceOut[at] += DT * load * s.out / s.inflow;
        b.surfaceLoad[at] = s.out * load / s.inflow;
    }
    if (volume > MIN_VOLUME) {
        finishStorage(b, k, at, s, volume, in);
        return;
    }
    b.storageMass[at] = 0.0;
    b.drainOut[at] += in;
    b.drainLoad[at] = s.inflow != 0.0 ? s.storageInflow * load / s.inflow : 0.0;
}

void moveLoads(BareUnits& b, size_t k, const BareFluxes& s, double rain, const BareLevels& levels) {
    const size_t n = static_cast<size_t>(b.pollutants);
    for (size_t p = 0; p < n; ++p) {
        const size_t at = k * n + p;
        const double concentration = static_cast<double>(10 * (p + 1));
        const double load = b.area[k] * rain * concentration / 1000.0;
        b.rainLoad[at] += DT * rain * b.area[k] * concentration / 1000.0;
        b.surfaceLoad[at] = b.drainLoad[at] = 0.0;
        b.inflowLoad[at] += DT * load;
        switch (b.type) {
            case BareUnit::BARREL: moveThroughBarrel(b, k, at, s, load, levels.storage); break;
            case BareUnit::SWALE: moveThroughSwale(b, k, at, s, load, levels.surface); break;
            default: moveThroughStack(b, k, at, s, load, levels); break;
        }
        b.finalLoad[at] = b.surfaceMass[at] + b.pavementMass[at] + b.soilMass[at] + b.storageMass[at];
    }
}

// --- the step ------------------------------------------------------------------------------------------------------

void addBalance(BareUnits& b, size_t k, const BareFluxes& s, double rain, double held) {
    b.inflowDepth[k] += DT * s.inflow;
    b.infilDepth[k] += s.exfil * DT;
    b.evapDepth[k] += (s.pavementEvap + s.surfaceEvap + s.soilEvap + s.storageEvap) * DT;
    b.outDepth[k] += s.out * DT;
    b.drainDepth[k] += s.drain * DT;
    b.finalDepth[k] = held;
    b.dryTime[k] = rain > DRY_RATE ? 0.0 : b.dryTime[k] + DT;
    const double evap = (s.surfaceEvap + s.pavementEvap + s.soilEvap + s.storageEvap) * DT * b.area[k];
    const double infil = s.exfil * DT * b.area[k];
    b.rainfall[k] += DT * rain * 1000.0;
    b.evaporated[k] += DT * (evap / DT / b.land[k]) * 1000.0;
    b.infiltrated[k] += DT * (infil / DT / b.land[k]) * 1000.0;
    b.runoff[k] += DT * b.thisRunoff[k] / b.land[k] * 1000.0;
    bare_keepMaximum(b.peak[k], b.thisRunoff[k]);
}

void setQuality(BareUnits& b, size_t k) {
    const size_t n = static_cast<size_t>(b.pollutants);
    const double volume = DT * b.thisRunoff[k];
    const bool isTrickle = !(volume > b.land[k] * DRY_RATE * DT);
    for (size_t p = 0; p < n; ++p) {
        const size_t at = k * n + p;
        const double load = 0.0 + DT * b.surfaceLoad[at];
        b.thisQuality[at] = isTrickle || !(volume > 0.0) ? 0.0 : load / volume * 1000.0;
        b.washed[at] += b.thisQuality[at] / 1000.0 * b.thisRunoff[k] * DT;
    }
}

void stepUnit(BareUnits& b, size_t k, double rain, double potential) {
    const size_t n = static_cast<size_t>(b.pollutants);
    const BareLevels levels = {b.surface[k], b.pavement[k], b.moisture[k], b.storage[k]};
    b.lastRunoff[k] = b.thisRunoff[k];
    std::copy_n(b.thisQuality.begin() + static_cast<int64_t>(k * n), n,
                b.lastQuality.begin() + static_cast<int64_t>(k * n));
    BareFluxes s{};
    s.inflow = 0.0 + rain;
    const double held = bareUnits_moveWater(b, k, s, rain > 0.0 ? 0.0 : potential);
    moveLoads(b, k, s, rain, levels);
    b.drainFlow[k] = s.drain * b.area[k];
    b.thisRunoff[k] = s.out * b.area[k] * DT / DT;
    setQuality(b, k);
    addBalance(b, k, s, rain, held);
}

/// Runoff and drain into the outfall.
void deliver(BareUnits& b, size_t k) {
    const size_t n = static_cast<size_t>(b.pollutants);
    const double flow = 0.0 * b.thisRunoff[k] + 1.0 * b.lastRunoff[k];
    b.lateral += flow;
    b.water += DT * flow;
    b.lateral += b.drainFlow[k];
    b.water += DT * b.drainFlow[k];
    for (size_t p = 0; p < n; ++p) {
        const size_t at = k * n + p;
        const double load =
            1.0 * b.lastRunoff[k] * b.lastQuality[at] / 1000.0 + 0.0 * b.thisRunoff[k] * b.thisQuality[at] / 1000.0;
        b.load[p] += load;
        b.mass[p] += DT * load;
        b.load[p] += b.drainLoad[at];
        b.mass[p] += DT * b.drainLoad[at];
    }
}

}  // namespace

void bareUnits_step(BareUnits& b) {
    const double rain = bare_getRain(b.weather, b.second);
    const double potential = bare_getEvaporation();
    b.lateral = 0.0;
    std::fill(b.load.begin(), b.load.end(), 0.0);
    const size_t count = static_cast<size_t>(b.count);
    for (size_t k = 0; k < count; ++k) {
        stepUnit(b, k, rain, potential);
        deliver(b, k);
    }
    b.second += static_cast<int64_t>(DT);
}

// --- the case ------------------------------------------------------------------------------------------------------

static int64_t getArea(size_t k) {
    return 40 + static_cast<int64_t>(k) * 7 % 160;
}

static int64_t getWidth(size_t k) {
    return 2 + getArea(k) / 20;
}

static int64_t getSaturation(BareWeather weather) {
    return weather == BareWeather::STILL ? 0 : SATURATION;
}

static double getDryDays(BareWeather weather) {
    return weather == BareWeather::STILL ? 60.0 : 2.0;
}

BareUnits bareUnits_create(BareUnit type, int64_t count, int64_t pollutants, BareWeather weather) {
    BareUnits b{};
    b.type = type;
    b.layers = makeLayers(type);
    const BareLayers& l = b.layers;
    b.count = count;
    b.pollutants = pollutants;
    b.weather = weather;
    b.soilDecay = std::exp(-DT * (1.0 * (2 / 86400.0)));
    b.storageDecay = std::exp(-DT * (1.0 * (1 / 86400.0)));
    const size_t n = static_cast<size_t>(count);
    for (auto* array : {&b.area,        &b.width,         &b.land,        &b.surface,    &b.moisture,   &b.storage,
                        &b.pavement,    &b.surfaceChange, &b.dryTime,     &b.lastRunoff, &b.thisRunoff, &b.drainFlow,
                        &b.inflowDepth, &b.evapDepth,     &b.infilDepth,  &b.outDepth,   &b.drainDepth, &b.finalDepth,
                        &b.rainfall,    &b.evaporated,    &b.infiltrated, &b.runoff,     &b.peak}) {
        array->assign(n, 0.0);
    }
    for (auto* array : {&b.surfaceMass, &b.pavementMass, &b.soilMass, &b.storageMass, &b.surfaceLoad, &b.drainLoad,
                        &b.lastQuality, &b.thisQuality, &b.rainLoad, &b.inflowLoad, &b.exfilLoad, &b.surfaceOut,
                        &b.drainOut, &b.finalLoad, &b.reacted, &b.washed}) {
        array->assign(n * static_cast<size_t>(pollutants), 0.0);
    }
    b.load.assign(static_cast<size_t>(pollutants), 0.0);
    b.mass = b.load;
    const double saturation = static_cast<double>(getSaturation(weather)) / 100.0;
    for (size_t k = 0; k < n; ++k) {
        b.area[k] = static_cast<double>(getArea(k));
        b.width[k] = static_cast<double>(getWidth(k));
        b.land[k] = static_cast<double>(getArea(k)) / 10000.0 / 0.0001;
        b.moisture[k] = l.soil > 0.0 ? l.wilting + (l.porosity - l.wilting) * saturation : 0.0;
        b.storage[k] = l.storage * saturation;
        b.dryTime[k] = getDryDays(weather) * 86400.0;
    }
    return b;
}

std::string bareUnits_makeProject(const BareUnits& b) {
    TownText out;
    out << bare_makeHead(b.weather, b.pollutants, getDryDays(b.weather)) << "[LIDS]\n" << getDefinition(b.type);
    out << "[SUBCATCHS]\n";
    for (size_t k = 0; k < b.area.size(); ++k) {
        out << "S" << static_cast<int64_t>(k) << " G OUT " << TownDecimal{getArea(k), 4}
            << " 10 50 1 0.015 0.2 1 3 50 5 4 5 0\n";
    }
    out << "LAST G OUT 2 60 50 0.3 0.016 0.2 1.5 4 50 5 3 5 0\n[LID_GROUPS]\n";  // slow: it cuts no runoff step
    for (size_t k = 0; k < b.area.size(); ++k) {
        out << "S" << static_cast<int64_t>(k) << " U " << getArea(k) << " " << getWidth(k) << " "
            << getSaturation(b.weather) << " 0\n";
    }
    out << (b.pollutants > 0 ? "[DECAY_COEFFICIENT]\n" : "");
    for (int64_t p = 0; p < b.pollutants; ++p) {
        out << "U LID P" << p << " FIRST 2 \"\" SOIL\nU LID P" << p << " FIRST 1 \"\" STORAGE\n";
        if (b.type == BareUnit::ROOF) {
            out << "U LID P" << p << " FIRST 1 \"\" DRAINMAT\n";
        }
    }
    out << BARE_OUTFALL;
    return std::move(out.text);
}

bool bareUnits_isSame(const BareUnits& b, const tv_model* model) {
    const auto isSame = [&](const char* variable, const std::vector<double>& values, double unit = 1.0) {
        std::vector<double> scaled = values;
        std::for_each(scaled.begin(), scaled.end(), [unit](double& value) { value *= unit; });
        return bare_isSame(model, TV_LID_UNIT, variable, scaled);
    };
    const auto isLoadSame = [&](const char* variable, const std::vector<double>& values) {
        return b.pollutants == 0 || bare_isSame(model, TV_LID_UNIT, variable, values, b.pollutants);
    };
    return isSame("surface_depth", b.surface) && isSame("soil_moisture", b.moisture) &&
           isSame("storage_depth", b.storage) && isSame("pavement_depth", b.pavement) &&
           isSame("drain_flow", b.drainFlow) && isSame("inflow_depth", b.inflowDepth, 1000.0) &&
           isSame("evaporated_depth", b.evapDepth, 1000.0) && isSame("infiltrated_depth", b.infilDepth, 1000.0) &&
           isSame("surface_outflow_depth", b.outDepth, 1000.0) && isSame("drain_outflow_depth", b.drainDepth, 1000.0) &&
           isSame("final_storage", b.finalDepth, 1000.0) && isLoadSame("surface_load", b.surfaceLoad) &&
           isLoadSame("drain_load", b.drainLoad) && isLoadSame("unit_inflow_mass", b.inflowLoad) &&
           isLoadSame("infiltrated_mass", b.exfilLoad) && isLoadSame("surface_outflow_mass", b.surfaceOut) &&
           isLoadSame("drain_outflow_mass", b.drainOut) && isLoadSame("reacted_mass", b.reacted) &&
           isLoadSame("final_mass", b.finalLoad);
}
