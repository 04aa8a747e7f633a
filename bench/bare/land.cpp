// See land.h.

#include "bare/land.h"

#include <algorithm>
#include <cmath>

#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr int64_t USES = 2;
constexpr double DRY_RATE = 7.056e-10;
constexpr double HA_PER_M2 = 0.0001;
constexpr double MANNING = 1.6666666666666667;
constexpr double DT = BARE_STEP;

/// A line of [SUBCATCHS], as whole numbers in the unit of the last digit.
struct Line {
    int64_t area, width, paved, slope;  // ha/100, m, %, %/100
    int64_t roughness[2], storage[2];   // /1000, mm/10
    int64_t first, final, decay;        // mm/h, mm/h, 1/h / 10
};

Line makeLine(int64_t k, int64_t count) {
    if (k + 1 == count) {  // slow enough not to cut the runoff step
        return {200, 60, 50, 30, {16, 200}, {15, 40}, 50, 5, 30};
    }
    const int64_t area = 30 + k * 7 % 121;
    return {area,
            area * 100 / (60 + k * 11 % 61),
            20 + k * 13 % 66,
            30 + k * 17 % 171,
            {12 + k % 5, 120 + k % 180},
            {8 + k % 13, 25 + k % 36},
            30 + k * 3 % 51,
            3 + k % 10,
            20 + k % 31};
}

struct RuleLine {
    int64_t maxBuildup, rate;  // kg/ha, 1/d / 100
    bool isExponential, usesBuildup;
    int64_t coefficient, exponent, emc, removal;  // /10000, /100, mg/L, /100
};

RuleLine makeRule(int64_t use, int64_t p) {
    RuleLine line{20 + 30 * p + 10 * use, 20 + 5 * p, p % 2 == 0, true, 0, 0, 0, 10 * use};
    if (line.isExponential) {
        line.coefficient = 5 + p;
        line.exponent = 120 + 10 * use + 15 * p;
    } else {
        line.emc = 3 + p;
        line.usesBuildup = use == 0;
    }
    return line;
}

int64_t getShare(int64_t k) {
    return 20 + k * 37 % 61;
}

double part(int64_t value, double unit) {
    return static_cast<double>(value) / unit;
}

// --- water ---------------------------------------------------------------------------------------------------------

/// Horton's law without a limit of the depth.
double infiltrate(BareLand& b, size_t k, double available) {
    double& time = b.curveTime[k];
    const double decay = b.decay[k], minRate = b.minRate[k], c = b.curve[k];
    if (!(available > 1e-10)) {
        if (time != 0.0) {
            const double left = 1.0 - std::exp(-decay * time);
            const double next = 1.0 / decay * std::log(1.0 - left * std::exp(-b.recovery[k] * DT));
            time = next > 0.0 ? next : 0.0;
        }
        return 0.0;
    }
    const double end = time + DT;
    double sum, endSum;
    if (time < b.limit[k]) {
        sum = (1.0 - (time == 0.0 ? 1.0 : std::exp(-time * decay))) * c + time * minRate;
        endSum = (1.0 - std::exp(-end * decay)) * c + end * minRate;
    } else {
        sum = time * minRate + c;
        endSum = minRate * DT + sum;
    }
    double rate = (endSum - sum) / DT;
    rate = rate < minRate ? minRate : rate;
    if (end > b.limit[k] || available > rate) {
        time = end;
        return bare_getMinimum(rate, available);
    }
    const double target = rate * DT + sum, span = b.maxRate[k] - minRate;
    time = time + DT * 0.5;
    for (int pass = 0; pass < 20; ++pass) {
        const double ex = std::exp(-bare_getMinimum(time * decay, 60.0));
        const double delta = ((1.0 - ex) * c + time * minRate - target) / (span * ex + minRate);
        time = time - delta;
        if (!(std::fabs(delta) > DT * 0.001)) {
            break;
        }
    }
    return bare_getMinimum(rate, available);
}

double getDepthRate(double inflow, double storage, double alpha, double depth) {
    return depth > storage ? inflow - alpha * std::pow(depth - storage, MANNING) : inflow;
}

/// A plane: outflow, m3/s.
double drain(BareLand& b, int side, size_t k, double rain, double evap, double infil) {
    double& depth = b.depth[side][k];
    if (!(evap + infil < depth / DT + rain)) {
        depth = 0.0;
        return 0.0;
    }
    const double storage = b.storage[side][k];
    const double inflow = rain - evap - infil;
    const double filled = inflow * DT + depth;
    if (!(filled > storage)) {
        depth = filled;
        return 0.0;
    }
    double dt = DT;
    if (depth < storage && (storage - depth) / dt < inflow) {
        dt = dt - (storage - depth) / inflow;
        depth = storage;
    }
    const double alpha = b.alpha[side][k];
    const double k1 = getDepthRate(inflow, storage, alpha, depth);
    const double k2 = getDepthRate(inflow, storage, alpha, depth + k1 * dt / 2.0);
    const double k3 = getDepthRate(inflow, storage, alpha, depth + k2 * dt / 2.0);
    const double k4 = getDepthRate(inflow, storage, alpha, depth + k3 * dt);
    depth = depth + (k1 + 2.0 * k2 + 2.0 * k3 + k4) * dt / 6.0;
    if (!(depth > storage)) {
        depth = storage;
        return 0.0;
    }
    return std::pow(depth - storage, MANNING) * alpha * b.partArea[side][k];
}

// --- pollutants ----------------------------------------------------------------------------------------------------

void grow(BareLand& b, size_t k) {
    const size_t n = static_cast<size_t>(b.pollutants);
    for (size_t use = 0; use < USES; ++use) {
        const double area = b.share[k * USES + use] * b.area[k] * HA_PER_M2;
        for (size_t p = 0; p < n; ++p) {
            const BareRule& rule = b.rules[use * n + p];
            double& mass = b.buildup[(k * USES + use) * n + p];
            const double old = mass, present = old / area;
            double age = 0.0;
            if (present != 0.0) {
                const double log =
                    present < rule.maxBuildup * 0.999 ? std::log(1.0 - present / rule.maxBuildup) : std::log(0.001);
                age = -log / rule.rate;
            }
            age = age + DT / 86400.0;
            double grown =
                !(age < rule.fullAge) ? rule.maxBuildup : (1.0 - std::exp(-rule.rate * age)) * rule.maxBuildup;
            grown = grown * area;
            grown = grown < old ? old : grown;
            mass = grown;
            if (rule.usesBuildup) {
                b.built[k * n + p] += grown - old;
            }
        }
    }
}

void washUses(BareLand& b, size_t k, double* load) {
    const double rate = b.thisRunoff[k] / b.area[k];
    if (rate < DRY_RATE) {
        return;
    }
    const size_t n = static_cast<size_t>(b.pollutants);
    const double base = rate * 3600000.0;
    double exponent = 0.0, power = 1.0;
    for (size_t use = 0; use < USES; ++use) {
        const double landArea = b.area[k] * b.share[k * USES + use];
        for (size_t p = 0; p < n; ++p) {
            const BareRule& rule = b.rules[use * n + p];
            double& buildup = b.buildup[(k * USES + use) * n + p];
            double c = 0.0;
            if (buildup != 0.0 && rule.isExponential) {
                if (exponent != rule.exponent) {
                    exponent = rule.exponent;
                    power = std::pow(base, exponent);
                }
                c = power * rule.coefficient * buildup / 3600.0 / (landArea * rate);
            } else if (buildup != 0.0) {
                c = rule.emc / 1000.0;
            }
            double mass = c * DT * b.thisRunoff[k] * landArea / b.area[k];
            if (rule.usesBuildup) {
                if (buildup > mass) {
                    buildup -= mass;
                } else {
                    mass = buildup;
                    buildup = 0.0;
                }
            }
            const double removed = mass * rule.removal;
            if (removed > 0.0) {
                mass -= removed;
            }
            load[p] += mass;
            b.removed[k * n + p] += removed;
            if (!rule.usesBuildup) {
                b.built[k * n + p] += mass + removed;
            }
        }
    }
}

void washRain(BareLand& b, size_t k, double rain, double wet, double infil, double out, double* load) {
    const size_t n = static_cast<size_t>(b.pollutants);
    const double area = b.area[k], f = b.paved[k];
    for (size_t p = 0; p < n; ++p) {
        const size_t at = k * n + p;
        const double deposition = static_cast<double>(10 * (p + 1)) / 1000.0 * area * rain * DT;
        b.deposited[at] += deposition;
        if (wet == 0.0) {
            b.ponded[at] = 0.0;
            continue;
        }
        const double mass = deposition + b.ponded[at];
        const double c = mass / wet;
        double infiltrated = infil * c;
        infiltrated = infiltrated > mass ? mass : infiltrated;
        b.lost[at] += infiltrated;
        double gone = out * c;
        gone = gone > mass - infiltrated ? mass - infiltrated : gone;
        double removal = 0.0;
        for (size_t use = 0; use < USES; ++use) {
            removal += b.share[k * USES + use] * b.rules[use * n + p].removal;
        }
        b.removed[at] += removal * gone;
        b.ponded[at] = ((1.0 - f) * b.depth[1][k] + f * b.depth[0][k]) * c * area;
        load[p] += gone - removal * gone;
    }
}

// --- the step ------------------------------------------------------------------------------------------------------

void stepLand(BareLand& b, size_t k, double rain, double potential) {
    const size_t n = static_cast<size_t>(b.pollutants);
    b.lastRunoff[k] = b.thisRunoff[k];
    for (size_t p = 0; p < n; ++p) {
        b.lastQuality[k * n + p] = b.thisQuality[k * n + p];
    }
    const double area = b.area[k], f = b.paved[k];
    const double evap0 = bare_getMinimum(b.depth[0][k] / DT + rain, potential);
    const double evap1 = bare_getMinimum(b.depth[1][k] / DT + rain, potential);
    const double wet = (b.depth[0][k] * f + b.depth[1][k] * (1.0 - f)) * area + rain * area * DT;
    const double evaporated = ((1.0 - f) * evap1 + f * evap0) * area * DT;
    const double infil = infiltrate(b, k, b.depth[1][k] / DT + rain - evap1);
    const double infiltrated = (1.0 - f) * infil * area * DT;
    const double paved = drain(b, 0, k, rain, evap0, 0.0);
    const double out = (paved + drain(b, 1, k, rain, evap1, infil)) * DT;
    b.thisRunoff[k] = out / DT;
    if (b.thisRunoff[k] / area < DRY_RATE) {
        grow(b, k);
    }
    if (n > 0) {
        double load[4] = {};
        washUses(b, k, load);
        washRain(b, k, rain, wet, infiltrated, out, load);
        const double volume = DT * b.thisRunoff[k];
        const bool isTrickle = !(volume > area * DRY_RATE * DT);
        for (size_t p = 0; p < n; ++p) {
            b.thisQuality[k * n + p] = isTrickle || !(volume > 0.0) ? 0.0 : load[p] / volume * 1000.0;
        }
    }
    b.rainfall[k] += DT * rain * 1000.0;
    b.evaporated[k] += DT * (evaporated / DT / area) * 1000.0;
    b.infiltrated[k] += DT * (infiltrated / DT / area) * 1000.0;
    b.runoff[k] += DT * b.thisRunoff[k] / area * 1000.0;
    bare_keepMaximum(b.peak[k], b.thisRunoff[k]);
    for (size_t p = 0; p < n; ++p) {
        b.washed[k * n + p] += b.thisQuality[k * n + p] / 1000.0 * b.thisRunoff[k] * DT;
    }
}

/// What a subcatchment gives in the routing step, which is that of the older of the last two runoff steps. With flows
/// it goes there, without into the outfall.
void deliver(BareLand& b, size_t k, double* flows, double* loads) {
    const size_t n = static_cast<size_t>(b.pollutants);
    const double flow = 0.0 * b.thisRunoff[k] + 1.0 * b.lastRunoff[k];
    (flows ? flows[k] : b.lateral) += flow;
    b.water += DT * flow;
    for (size_t p = 0; p < n; ++p) {
        const size_t at = k * n + p;
        const double load =
            1.0 * b.lastRunoff[k] * b.lastQuality[at] / 1000.0 + 0.0 * b.thisRunoff[k] * b.thisQuality[at] / 1000.0;
        (loads ? loads[at] : b.load[p]) += load;
        b.mass[p] += DT * load;
    }
}

}  // namespace

void bareLand_stepInto(BareLand& b, double* flows, double* loads) {
    const double rain = bare_getRain(b.weather, b.second);
    const double potential = bare_getEvaporation();
    const size_t count = static_cast<size_t>(b.count);
    if (flows) {
        std::fill_n(flows, count, 0.0);
        std::fill_n(loads, count * static_cast<size_t>(b.pollutants), 0.0);
    }
    for (size_t k = 0; k < count; ++k) {
        stepLand(b, k, rain, potential);
        deliver(b, k, flows, loads);
    }
    b.second += static_cast<int64_t>(DT);
}

void bareLand_step(BareLand& b) {
    b.lateral = 0.0;
    std::fill(b.load.begin(), b.load.end(), 0.0);
    bareLand_stepInto(b, nullptr, nullptr);
}

// --- the case ------------------------------------------------------------------------------------------------------

static void setConstants(BareLand& b, size_t k) {
    const Line line = makeLine(static_cast<int64_t>(k), b.count);
    const double area = part(line.area, 100.0) / HA_PER_M2;
    const double root = std::pow(part(line.slope, 100.0) / 100.0, 0.5);
    b.area[k] = area;
    b.paved[k] = static_cast<double>(line.paved) / 100.0;
    for (size_t side = 0; side < 2; ++side) {
        b.partArea[side][k] = side == 0 ? b.paved[k] * area : (1.0 - b.paved[k]) * area;
        b.alpha[side][k] =
            root * static_cast<double>(line.width) / b.partArea[side][k] / part(line.roughness[side], 1000.0);
        b.storage[side][k] = part(line.storage[side], 10.0) / 1000.0;
    }
    b.maxRate[k] = static_cast<double>(line.first) / 3600000.0;
    b.minRate[k] = static_cast<double>(line.final) / 3600000.0;
    b.decay[k] = part(line.decay, 10.0) / 3600.0;
    b.recovery[k] = std::log(0.020000000000000018) / 5.0 / -86400.0;
    b.curve[k] = (b.maxRate[k] - b.minRate[k]) / b.decay[k];
    b.limit[k] = 16.0 / b.decay[k];
    const int64_t share = getShare(static_cast<int64_t>(k));
    b.share[k * USES] = static_cast<double>(share) / 100.0;
    b.share[k * USES + 1] = static_cast<double>(100 - share) / 100.0;
}

static void setRules(BareLand& b) {
    for (int64_t use = 0; use < USES; ++use) {
        for (int64_t p = 0; p < b.pollutants; ++p) {
            const RuleLine line = makeRule(use, p);
            const double rate = part(line.rate, 100.0);
            b.rules.push_back({static_cast<double>(line.maxBuildup), rate, -std::log(0.001) / rate, line.isExponential,
                               line.usesBuildup, part(line.coefficient, 10000.0), part(line.exponent, 100.0),
                               static_cast<double>(line.emc), part(line.removal, 100.0)});
        }
    }
}

/// Dry days ahead of the start, of which the buildup at the start comes.
static double getDryDays(BareWeather weather) {
    return weather == BareWeather::STILL ? 60.0 : weather == BareWeather::WET ? 5.0 : 1.0;
}

static void setBuildup(BareLand& b) {
    const size_t n = static_cast<size_t>(b.pollutants);
    for (size_t k = 0; k < b.area.size(); ++k) {
        for (size_t use = 0; use < USES; ++use) {
            const double area = b.area[k] * b.share[k * USES + use] * HA_PER_M2;
            for (size_t p = 0; p < n; ++p) {
                const BareRule& rule = b.rules[use * n + p];
                const double age = 0.0 + getDryDays(b.weather) * 86400.0 / 86400.0;
                const double held =
                    !(age < rule.fullAge) ? rule.maxBuildup : (1.0 - std::exp(-rule.rate * age)) * rule.maxBuildup;
                b.buildup[(k * USES + use) * n + p] = held * area;
            }
        }
    }
}

BareLand bareLand_create(int64_t count, int64_t pollutants, BareWeather weather) {
    BareLand b{};
    b.count = count;
    b.pollutants = pollutants;
    b.weather = weather;
    const size_t n = static_cast<size_t>(count), loads = n * static_cast<size_t>(pollutants);
    for (auto* array : {&b.area,        &b.paved,       &b.storage[0], &b.storage[1],  &b.alpha[0],  &b.alpha[1],
                        &b.partArea[0], &b.partArea[1], &b.maxRate,    &b.minRate,     &b.decay,     &b.recovery,
                        &b.curve,       &b.limit,       &b.depth[0],   &b.depth[1],    &b.curveTime, &b.lastRunoff,
                        &b.thisRunoff,  &b.rainfall,    &b.evaporated, &b.infiltrated, &b.runoff,    &b.peak}) {
        array->assign(n, 0.0);
    }
    b.share.assign(n * USES, 0.0);
    b.buildup.assign(loads * USES, 0.0);
    for (auto* array :
         {&b.lastQuality, &b.thisQuality, &b.ponded, &b.built, &b.deposited, &b.lost, &b.removed, &b.washed}) {
        array->assign(loads, 0.0);
    }
    b.load.assign(static_cast<size_t>(pollutants), 0.0);
    b.mass = b.load;
    for (size_t k = 0; k < n; ++k) {
        setConstants(b, k);
    }
    setRules(b);
    setBuildup(b);
    return b;
}

static void writeRules(TownText& out, int64_t pollutants) {
    out << "[LANDUSES]\nU0\nU1\n";
    for (int64_t use = 0; use < USES; ++use) {
        for (int64_t p = 0; p < pollutants; ++p) {
            const RuleLine line = makeRule(use, p);
            out << "[BUILDUP]\nU" << use << " P" << p << " " << line.maxBuildup << " " << TownDecimal{line.rate, 2}
                << "\n[WASHOFF]\nU" << use << " P" << p;
            if (line.isExponential) {
                out << " EXP " << TownDecimal{line.coefficient, 4} << " " << TownDecimal{line.exponent, 2};
            } else {
                out << " EMC " << line.emc << (line.usesBuildup ? " YES" : " NO");
            }
            out << " " << TownDecimal{line.removal, 2} << "\n";
        }
    }
}

std::string bareLand_makeProject(const BareLand& b, bool hasJunctions) {
    TownText out;
    out << bare_makeHead(b.weather, b.pollutants, getDryDays(b.weather)) << "[SUBCATCHS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        const Line line = makeLine(k, b.count);
        out << "S" << k << " G ";
        if (hasJunctions) {
            out << "J" << k;
        } else {
            out << "OUT";
        }
        out << " " << TownDecimal{line.area, 2} << " " << line.width << " " << line.paved << " "
            << TownDecimal{line.slope, 2} << " " << TownDecimal{line.roughness[0], 3} << " "
            << TownDecimal{line.roughness[1], 3} << " " << TownDecimal{line.storage[0], 1} << " "
            << TownDecimal{line.storage[1], 1} << " " << line.first << " " << line.final << " "
            << TownDecimal{line.decay, 1} << " 5 0\n";
    }
    if (b.pollutants > 0) {
        writeRules(out, b.pollutants);
        out << "[COVERAGES]\n";
        for (int64_t k = 0; k < b.count; ++k) {
            out << "S" << k << " U0 " << getShare(k) << "\nS" << k << " U1 " << 100 - getShare(k) << "\n";
        }
    }
    out << BARE_OUTFALL;
    return std::move(out.text);
}

bool bareLand_isSame(const BareLand& b, const tv_model* model) {
    const auto isSame = [&](const char* variable, const std::vector<double>& values) {
        return bare_isSame(model, TV_SUBCATCHMENT, variable, values);
    };
    const auto isLoadSame = [&](const char* variable, const std::vector<double>& values) {
        return b.pollutants == 0 || bare_isSame(model, TV_SUBCATCHMENT, variable, values, b.pollutants);
    };
    const size_t n = static_cast<size_t>(b.pollutants);
    std::vector<double> buildup(b.area.size() * n);
    for (size_t k = 0; k < b.area.size(); ++k) {
        for (size_t p = 0; p < n; ++p) {
            buildup[k * n + p] = b.buildup[k * USES * n + p] + b.buildup[(k * USES + 1) * n + p];
        }
    }
    return isSame("impervious_depth", b.depth[0]) && isSame("pervious_depth", b.depth[1]) &&
           isSame("runoff_depth", b.runoff) && isSame("evaporated_depth", b.evaporated) &&
           isSame("infiltrated_depth", b.infiltrated) && isSame("peak_runoff", b.peak) &&
           isLoadSame("buildup", buildup) && isLoadSame("ponded_mass", b.ponded) &&
           isLoadSame("runoff_mass", b.washed) && isLoadSame("built_up_mass", b.built) &&
           isLoadSame("infiltrated_mass", b.lost) && isLoadSame("removed_mass", b.removed) &&
           isLoadSame("rain_mass", b.deposited);
}
