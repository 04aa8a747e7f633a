// See units.h.

#include "bare/units.h"

#include <algorithm>
#include <cmath>

#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr double DT = BARE_STEP;
constexpr double DRY_RATE = 7.056e-10;
constexpr double MIN_VOLUME = 0.01;  ///< m3, below which a layer counts as dry
constexpr double MM_PER_HOUR = 3600000.0;

// The layers as the project has them.
constexpr double BERM = 150 / 1000.0, SOIL = 500 / 1000.0, POROSITY = 0.45, FIELD = 0.2, WILTING = 0.1;
constexpr double CONDUCTIVITY = 40 / MM_PER_HOUR, SOIL_SLOPE = 10;
constexpr double STORAGE = 300 / 1000.0, STORAGE_VOID = 0.67 / (0.67 + 1.0), SEEPAGE = 3 / MM_PER_HOUR;
constexpr double DRAIN = 3, DRAIN_OFFSET = 100 / 1000.0;
constexpr double SURFACE_VOID = 1.0 - 0.1;
constexpr double BARREL = 1500 / 1000.0, BARREL_DRAIN = 6, BARREL_OFFSET = 50 / 1000.0, BARREL_DELAY = 0.25 * 3600.0;
constexpr int64_t SATURATION = 30;  ///< %, at the start, unless nothing is to move

double getNonNegative(double value) {
    return 0.0 < value ? value : 0.0;
}

double limit(double value, double high) {
    const double low = value < 0.0 ? 0.0 : value;
    return bare_getMinimum(low, high);
}

double getSurfaceAlpha() {
    return std::sqrt(1 / 100.0) * (1.0 / 0.1);
}

/// Fluxes of a step, m/s.
struct Fluxes {
    double inflow, surfaceEvap, soilEvap, storageEvap, infil, out, perc, exfil, drain, storageInflow;
};

// --- water ---------------------------------------------------------------------------------------------------------

void limitLayers(Fluxes& s, double moisture, double level) {
    const double storageVolume = level * STORAGE_VOID;
    if (!(moisture < POROSITY) && !(level < STORAGE)) {
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
    s.exfil = getNonNegative(bare_getMinimum(s.exfil, storageVolume / DT + s.perc - s.storageEvap));
    if (s.drain > 0.0) {
        double available = -s.exfil - s.storageEvap;
        if (!(level < STORAGE)) {
            available += s.perc;
        }
        if (!(level < DRAIN_OFFSET)) {
            available += (level - DRAIN_OFFSET) * STORAGE_VOID / DT;
        }
        s.drain = bare_getMinimum(s.drain, getNonNegative(available));
    }
    s.perc = bare_getMinimum(s.perc, (STORAGE - level) * STORAGE_VOID / DT + s.drain + s.exfil + s.storageEvap);
    s.infil = bare_getMinimum(s.infil, (POROSITY - moisture) * SOIL / DT + s.perc + s.soilEvap);
}

double getCellDrain(double surface, double moisture, double level) {
    double head = level;
    if (!(head < STORAGE) && moisture > FIELD) {
        head += (moisture - FIELD) / (POROSITY - FIELD) * SOIL;
        if (!(moisture < POROSITY)) {
            head += surface;
        }
    }
    head -= DRAIN_OFFSET;
    return head > 1e-10 ? std::pow(head * 1000.0, 0.5) * DRAIN / MM_PER_HOUR : 0.0;
}

/// Moves the levels of a cell; gives what it held before the step, m.
double stepCell(BareUnits& b, size_t k, Fluxes& s, double potential) {
    const double surface = b.surface[k], moisture = b.moisture[k], level = b.storage[k];
    s.infil = bare_getMinimum(bare_getMinimum(CONDUCTIVITY, s.inflow), (POROSITY - moisture) * SOIL / DT);
    const double surfaceVolume = surface * SURFACE_VOID, soilVolume = moisture * SOIL;
    const double storageVolume = level * STORAGE_VOID;
    s.surfaceEvap = getNonNegative(bare_getMinimum(potential, surfaceVolume / DT));
    if (!(s.infil > 0.0)) {
        double rest = getNonNegative(potential - s.surfaceEvap);
        rest = getNonNegative(rest - bare_getMinimum(rest, 0.0 / DT));
        s.soilEvap = bare_getMinimum(rest, (soilVolume - SOIL * WILTING) / DT);
        rest = getNonNegative(rest - s.soilEvap);
        s.storageEvap = bare_getMinimum(rest, storageVolume / DT);
    }
    if (!(moisture < POROSITY)) {
        s.storageEvap = 0.0;
    }
    const double rate = moisture > FIELD ? CONDUCTIVITY * std::exp(-(POROSITY - moisture) * SOIL_SLOPE) : 0.0;
    s.perc = getNonNegative(bare_getMinimum(rate, getNonNegative((moisture - FIELD) * SOIL) / DT - s.soilEvap));
    s.exfil = SEEPAGE;
    s.drain = getCellDrain(surface, moisture, level);
    limitLayers(s, moisture, level);
    const double head = surface - BERM;
    s.out = head < 0.0
                ? 0.0
                : bare_getMinimum(std::pow(head, 1.6666666666666667) * getSurfaceAlpha() * b.width[k] / b.area[k],
                                  head / DT);
    b.moisture[k] = (s.infil - s.soilEvap - s.perc) / SOIL * DT + moisture;
    b.moisture[k] = bare_getMinimum(b.moisture[k] < WILTING ? WILTING : b.moisture[k], POROSITY);
    b.storage[k] = limit((s.perc - s.storageEvap - s.exfil - s.drain) / STORAGE_VOID * DT + level, STORAGE);
    b.surface[k] = limit((s.inflow - s.surfaceEvap - s.infil - s.out) / SURFACE_VOID * DT + surface, 1e10);
    return 0.0 + surfaceVolume + soilVolume + storageVolume;
}

double stepBarrel(BareUnits& b, size_t k, Fluxes& s) {
    const double surface = b.surface[k], level = b.storage[k];
    if (!(b.dryTime[k] < BARREL_DELAY) && level > BARREL_OFFSET) {
        const double head = level - BARREL_OFFSET;
        const double law = head > 1e-10 ? std::pow(head * 1000.0, 0.5) * BARREL_DRAIN / MM_PER_HOUR : 0.0;
        s.drain = bare_getMinimum(law, (level - BARREL_OFFSET) / DT);
    }
    s.storageInflow = bare_getMinimum(s.inflow, (BARREL - level) / DT + s.drain);
    s.infil = s.storageInflow;
    s.out = s.inflow - s.storageInflow;
    b.surface[k] = limit(s.out * DT + surface, 1e10);
    b.storage[k] = limit((s.storageInflow - s.drain) * DT + level, BARREL);
    return level;
}

// --- pollutants ----------------------------------------------------------------------------------------------------

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

void finishStorage(BareUnits& b, size_t k, size_t at, const Fluxes& s, double volume, double in) {
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

void moveThroughCell(BareUnits& b, size_t k, size_t at, const Fluxes& s, double load, const double* levels) {
    const double area = b.area[k];
    const double surfaceVolume = area * levels[0] * SURFACE_VOID, storageVolume = area * levels[2] * STORAGE_VOID;
    const double soilVolume = area * levels[1] * SOIL;
    const double cSurface = getConcentration(surfaceVolume, b.surfaceMass[at]);
    const double arriving = DT * load;
    const double soilIn = surfaceVolume > MIN_VOLUME ? getCarried(s.infil, area, cSurface) : arriving;
    const double soilOut =
        soilVolume > MIN_VOLUME ? getCarried(s.perc, area, getConcentration(soilVolume, b.soilMass[at])) : soilIn;
    if (storageVolume > MIN_VOLUME) {
        finishStorage(b, k, at, s, storageVolume, soilOut);
    } else {
        b.storageMass[at] = 0.0;
        const double out = s.exfil + s.drain;
        if (out > 0.0) {
            const double drained = soilOut * s.drain / out;
            b.drainOut[at] += drained;
            b.drainLoad[at] = drained / DT;
            b.exfilLoad[at] += soilOut - drained;
        }
    }
    const double mixed = getMixed(soilIn + b.soilMass[at] - soilOut, soilVolume);
    const double soilLeft = b.soilDecay * mixed;
    b.reacted[at] += (mixed - soilLeft) * soilVolume / 1000.0;
    b.soilMass[at] = soilLeft * soilVolume / 1000.0;
    const double mass =
        arriving + b.surfaceMass[at] - getCarried(s.infil, area, cSurface) - getCarried(s.out, area, cSurface);
    const double left = getMixed(mass, surfaceVolume);
    b.surfaceMass[at] = left * surfaceVolume / 1000.0;
    b.surfaceOut[at] += getCarried(s.out, area, left);
    b.surfaceLoad[at] = s.out * area * left / 1000.0;
}

void moveThroughBarrel(BareUnits& b, size_t k, size_t at, const Fluxes& s, double load, double level) {
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

void moveLoads(BareUnits& b, size_t k, const Fluxes& s, double rain, const double* levels) {
    const size_t n = static_cast<size_t>(b.pollutants);
    for (size_t p = 0; p < n; ++p) {
        const size_t at = k * n + p;
        const double concentration = static_cast<double>(10 * (p + 1));
        const double load = b.area[k] * rain * concentration / 1000.0;
        b.rainLoad[at] += DT * rain * b.area[k] * concentration / 1000.0;
        b.surfaceLoad[at] = b.drainLoad[at] = 0.0;
        b.inflowLoad[at] += DT * load;
        if (b.type == BareUnit::CELL) {
            moveThroughCell(b, k, at, s, load, levels);
        } else {
            moveThroughBarrel(b, k, at, s, load, levels[2]);
        }
        b.finalLoad[at] = b.surfaceMass[at] + b.soilMass[at] + b.storageMass[at];
    }
}

// --- the step ------------------------------------------------------------------------------------------------------

void addBalance(BareUnits& b, size_t k, const Fluxes& s, double rain, double held) {
    b.inflowDepth[k] += DT * s.inflow;
    b.infilDepth[k] += s.exfil * DT;
    b.evapDepth[k] += (0.0 + s.surfaceEvap + s.soilEvap + s.storageEvap) * DT;
    b.outDepth[k] += s.out * DT;
    b.drainDepth[k] += s.drain * DT;
    b.finalDepth[k] = held;
    b.dryTime[k] = rain > DRY_RATE ? 0.0 : b.dryTime[k] + DT;
    const double evap = (s.surfaceEvap + 0.0 + s.soilEvap + s.storageEvap) * DT * b.area[k];
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
    const double levels[3] = {b.surface[k], b.moisture[k], b.storage[k]};
    b.lastRunoff[k] = b.thisRunoff[k];
    std::copy_n(b.thisQuality.begin() + static_cast<int64_t>(k * n), n,
                b.lastQuality.begin() + static_cast<int64_t>(k * n));
    Fluxes s{};
    s.inflow = 0.0 + rain;
    const double held =
        b.type == BareUnit::CELL ? stepCell(b, k, s, rain > 0.0 ? 0.0 : potential) : stepBarrel(b, k, s);
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
    b.count = count;
    b.pollutants = pollutants;
    b.weather = weather;
    b.soilDecay = std::exp(-DT * (1.0 * (2 / 86400.0)));
    b.storageDecay = std::exp(-DT * (1.0 * (1 / 86400.0)));
    const size_t n = static_cast<size_t>(count);
    for (auto* array :
         {&b.area,       &b.width,      &b.land,      &b.surface,     &b.moisture,    &b.storage,    &b.dryTime,
          &b.lastRunoff, &b.thisRunoff, &b.drainFlow, &b.inflowDepth, &b.evapDepth,   &b.infilDepth, &b.outDepth,
          &b.drainDepth, &b.finalDepth, &b.rainfall,  &b.evaporated,  &b.infiltrated, &b.runoff,     &b.peak}) {
        array->assign(n, 0.0);
    }
    for (auto* array :
         {&b.surfaceMass, &b.soilMass, &b.storageMass, &b.surfaceLoad, &b.drainLoad, &b.lastQuality, &b.thisQuality,
          &b.rainLoad, &b.inflowLoad, &b.exfilLoad, &b.surfaceOut, &b.drainOut, &b.finalLoad, &b.reacted, &b.washed}) {
        array->assign(n * static_cast<size_t>(pollutants), 0.0);
    }
    b.load.assign(static_cast<size_t>(pollutants), 0.0);
    b.mass = b.load;
    const double saturation = static_cast<double>(getSaturation(weather)) / 100.0;
    for (size_t k = 0; k < n; ++k) {
        b.area[k] = static_cast<double>(getArea(k));
        b.width[k] = static_cast<double>(getWidth(k));
        b.land[k] = static_cast<double>(getArea(k)) / 10000.0 / 0.0001;
        b.moisture[k] = type == BareUnit::CELL ? WILTING + (POROSITY - WILTING) * saturation : 0.0;
        b.storage[k] = (type == BareUnit::CELL ? STORAGE : BARREL) * saturation;
        b.dryTime[k] = getDryDays(weather) * 86400.0;
    }
    return b;
}

std::string bareUnits_makeProject(const BareUnits& b) {
    TownText out;
    out << bare_makeHead(b.weather, b.pollutants, getDryDays(b.weather)) << "[LIDS]\n";
    if (b.type == BareUnit::CELL) {
        out << "U BC\nU SURFACE 150 0.1 0.1 1 0\nU SOIL 500 0.45 0.2 0.1 40 10\nU STORAGE 300 0.67 3\n"
               "U DRAIN 3 0.5 100\n";
    } else {
        out << "U RB\nU STORAGE 1500 1 0\nU DRAIN 6 0.5 50 0.25\n";
    }
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
           isSame("storage_depth", b.storage) && isSame("drain_flow", b.drainFlow) &&
           isSame("inflow_depth", b.inflowDepth, 1000.0) && isSame("evaporated_depth", b.evapDepth, 1000.0) &&
           isSame("infiltrated_depth", b.infilDepth, 1000.0) && isSame("surface_outflow_depth", b.outDepth, 1000.0) &&
           isSame("drain_outflow_depth", b.drainDepth, 1000.0) && isSame("final_storage", b.finalDepth, 1000.0) &&
           isLoadSame("surface_load", b.surfaceLoad) && isLoadSame("drain_load", b.drainLoad) &&
           isLoadSame("unit_inflow_mass", b.inflowLoad) && isLoadSame("infiltrated_mass", b.exfilLoad) &&
           isLoadSame("surface_outflow_mass", b.surfaceOut) && isLoadSame("drain_outflow_mass", b.drainOut) &&
           isLoadSame("reacted_mass", b.reacted) && isLoadSame("final_mass", b.finalLoad);
}
