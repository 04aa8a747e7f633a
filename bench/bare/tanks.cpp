// See tanks.h.

#include "bare/tanks.h"

#include <algorithm>
#include <cmath>

#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr double DT = BARE_STEP;
constexpr double PI = 3.14159265, TWO_PI = 6.2831853, TWO_G = 19.62;

constexpr int64_t POINTS = 3;
constexpr double X[POINTS] = {0, 1, 4}, Y[POINTS] = {40, 44, 48};                       ///< the basin, m and m2
constexpr double PUMP_X[POINTS] = {0.1, 1, 2.5}, PUMP_Y[POINTS] = {0.02, 0.025, 0.03};  ///< m and m3/s
constexpr double FULL = 3.5, START = 1.2, STOP = 0.3;
constexpr double ORIFICE_CREST = 0.5, ORIFICE_C = 0.62, ORIFICE_WIDTH = 0.12;
constexpr double WEIR_CREST = 1.8, WEIR_C = 1.8, WEIR_LENGTH = 2;

double interpolate(double ax, double ay, double bx, double by, double x) {
    return (x - ax) * (by - ay) / (bx - ax) + ay;
}

double getVolume(double d) {
    if (d <= X[0]) {
        return 0.0;
    }
    double volume = Y[0] * X[0] / 2.0;
    for (int64_t k = 1; k < POINTS; ++k) {
        if (X[k] >= d) {
            return volume + (interpolate(X[k - 1], Y[k - 1], X[k], Y[k], d) + Y[k - 1]) * (d - X[k - 1]) / 2.0;
        }
        volume += (Y[k] + Y[k - 1]) * (X[k] - X[k - 1]) / 2.0;
    }
    const double slope = (Y[2] - Y[1]) / (X[2] - X[1]), e = d - X[2];
    return volume + Y[2] * e + slope * (e * e) / 2.0;
}

double getDepth(double value) {
    double integral = Y[0] * X[0] * 0.5;
    if (value <= integral) {
        return value < 0.0 ? 0.0 : std::sqrt(2.0 * value * X[0] / Y[0]);
    }
    for (int64_t k = 1; k < POINTS; ++k) {
        const double dx = X[k] - X[k - 1], dy = Y[k] - Y[k - 1], y1 = Y[k - 1];
        const double lower = integral;
        integral = y1 * dx + lower + dy * dx * 0.5;
        if (value <= integral) {
            const double slope = dy / dx;
            return (std::sqrt(y1 * y1 + (value - lower) * 2.0 * slope) - y1) / slope + X[k - 1];
        }
    }
    return X[POINTS - 1];  // never: the inflow of the case doesn't come so high
}

double getSegmentArea(double D, double y) {
    if (y > D) {
        return D * D * PI * 0.25;
    }
    if (y <= D / 2.0) {
        const double t = std::acos((D - 2.0 * y) / D);
        return 2.0 * t * (D * D) * PI * 0.25 / TWO_PI - std::sin(t) * (D / 2.0 - y) * D * 0.5;
    }
    const double t = std::acos((2.0 * y - D) / D);
    return std::sin(t) * (y - D / 2.0) * D * 0.5 + (TWO_PI - 2.0 * t) * (D * D) * PI * 0.25 / TWO_PI;
}

/// Even numbers are round.
double getOrificeFlow(double height, size_t k, double depth) {
    if (!(depth > ORIFICE_CREST)) {
        return 0.0;
    }
    const double d = depth - ORIFICE_CREST;
    const double a = height * 1.0;
    const bool isFree = depth <= a + ORIFICE_CREST;
    const double head = isFree ? d / 2.0 : d - a / 2.0;
    const double y = isFree ? d : a;
    const double area = k % 2 == 0 ? getSegmentArea(height, y) : y * ORIFICE_WIDTH;
    return std::sqrt(head * TWO_G) * area * ORIFICE_C;
}

double getWeirFlow(double depth) {
    return WEIR_CREST >= depth ? 0.0 : std::pow(depth - WEIR_CREST, 1.5) * WEIR_C * WEIR_LENGTH;
}

double getPumpFlow(double setting, double depth) {
    if (setting == 0.0) {
        return 0.0;
    }
    if (PUMP_X[0] >= depth) {
        return PUMP_Y[0] * setting;
    }
    for (int64_t k = 1; k < POINTS; ++k) {
        if (PUMP_X[k] >= depth) {
            return interpolate(PUMP_X[k - 1], PUMP_Y[k - 1], PUMP_X[k], PUMP_Y[k], depth) * setting;
        }
    }
    return PUMP_Y[POINTS - 1] * setting;
}

void setLink(BareTanks& b, size_t link, double flow, const double* quality) {
    const size_t n = b.reacted.size();
    b.flow[link] = flow;
    for (size_t p = 0; p < n; ++p) {
        b.quality[link * n + p] = quality ? quality[p] : 0.0;
    }
}

/// An orifice or a weir, whose law gives `wanted`; the depth behind it.
double release(BareTanks& b, size_t link, double wanted, double level, double depth, const double* quality) {
    if (!(wanted > 0.0)) {
        setLink(b, link, 0.0, nullptr);
        return depth;
    }
    const double volume = getVolume(depth);
    const double most = (volume - level) / DT;
    const double flow = wanted < most ? wanted : most;
    setLink(b, link, wanted * flow / wanted, quality);
    return getDepth(volume - DT * flow);
}

double getSetting(double setting, double depth) {
    if (setting == 0.0 && depth > START) {
        return 1.0;
    }
    return setting > 0.0 && depth < STOP ? 0.0 : setting;
}

void stepTank(BareTanks& b, size_t k) {
    const size_t count = static_cast<size_t>(b.count), n = b.reacted.size();
    double* quality = b.mixed.data() + k * n;
    double depth = b.depth[k];
    depth = release(b, count + k, getOrificeFlow(b.height[k], k, depth), b.levels[0], depth, quality);
    depth = release(b, 2 * count + k, getWeirFlow(depth), b.levels[1], depth, quality);
    const double wanted = getPumpFlow(b.setting[k], depth);
    const double before = getVolume(depth), held = before / DT;
    const double pumped = held < wanted ? held : wanted;
    double volume = before - DT * pumped;
    b.flood[k] = 0.0;
    if (volume >= b.fullVolume) {
        b.flood[k] = (volume - b.fullVolume) / DT;
        b.flood[k] = b.flood[k] < 0.0001 ? 0.0 : b.flood[k];
        volume = b.fullVolume;
    }
    depth = getDepth(volume);
    for (size_t p = 0; p < n; ++p) {
        const double old = quality[p];
        quality[p] = old * b.decay;
        b.nodes.quality[k * n + p] = quality[p];
        b.reacted[p] += old * volume * (1.0 - b.decay) / 1000.0;
    }
    const double delivered = getPumpFlow(b.setting[k], depth);
    if (delivered > 0.0) {
        setLink(b, k, delivered * pumped / delivered, quality);
    } else {
        setLink(b, k, 0.0, nullptr);
    }
    const double stored = getVolume(depth), inflow = DT * b.nodes.inflow[k];
    for (size_t p = 0; p < n; ++p) {
        const double mass = DT * b.nodes.load[k * n + p] + stored * quality[p] / 1000.0;
        quality[p] = stored + inflow > 0.0 ? mass / (stored + inflow) * 1000.0 : 0.0;
    }
    b.depth[k] = getDepth(stored + inflow);
}

void count(BareTanks& b, size_t k) {
    const size_t n = b.reacted.size();
    b.floodVolume += DT * b.flood[k];
    for (size_t p = 0; p < n; ++p) {
        b.floodMass[p] += DT * b.flood[k] * b.nodes.quality[k * n + p] / 1000.0;
    }
    bare_keepMaximum(b.peakDepth[k], b.depth[k]);
    b.flooded[k] += DT * b.flood[k];
}

}  // namespace

void bareTanks_step(BareTanks& b) {
    const size_t tanks = static_cast<size_t>(b.count), n = b.reacted.size();
    b.second += static_cast<int64_t>(DT);
    const double factor = bare_getFactor(b.second);
    bare_beginStep(b.nodes);
    for (size_t k = 0; k < tanks; ++k) {
        b.setting[k] = getSetting(b.setting[k], b.depth[k]);
        bare_takeFlow(b.nodes, k, factor);
        stepTank(b, k);
        for (const size_t link : {k, tanks + k, 2 * tanks + k}) {
            bare_deliver(b.nodes, b.flow[link], b.quality.data() + link * n, b.volume[link], b.peak[link]);
        }
        count(b, k);
    }
}

// --- the case ------------------------------------------------------------------------------------------------------

static int64_t getHeight(size_t k) {
    return 8 + static_cast<int64_t>(k) % 7;  // cm
}

BareTanks bareTanks_create(int64_t count, int64_t pollutants, BareWeather weather) {
    BareTanks b{};
    b.count = count;
    b.pollutants = pollutants;
    b.fullVolume = getVolume(FULL);
    b.levels[0] = getVolume(ORIFICE_CREST);
    b.levels[1] = getVolume(WEIR_CREST);
    b.decay = std::exp(-1.0 * (2 / 86400.0) * DT);
    b.nodes = bare_makeNodes(weather, count, pollutants);
    const size_t n = static_cast<size_t>(count), loads = n * static_cast<size_t>(pollutants);
    for (size_t k = 0; k < n; ++k) {
        b.height.push_back(static_cast<double>(getHeight(k)) / 100.0);
    }
    b.depth.assign(n, weather == BareWeather::DRY ? 1.0 : 0.0);
    for (auto* array : {&b.flood, &b.setting, &b.peakDepth, &b.flooded}) {
        array->assign(n, 0.0);
    }
    b.mixed.assign(loads, 0.0);
    b.reacted.assign(static_cast<size_t>(pollutants), 0.0);
    b.floodMass = b.reacted;
    b.flow.assign(3 * n, 0.0);
    b.volume = b.peak = b.flow;
    b.quality.assign(3 * loads, 0.0);
    return b;
}

std::string bareTanks_makeProject(const BareTanks& b, BareWeather weather) {
    TownText out;
    out << bare_makeHead(weather, b.pollutants, 2.0)
        << "[CURVES]\nB TANK 0 40 1 44 4 48\nP PUMP1 0.1 0.02 1 0.025 2.5 0.03\n[TANKS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "T" << k << " B 3.5 " << (weather == BareWeather::DRY ? "1\n" : "0\n");
    }
    out << BARE_OUTFALL << "[PUMPS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "PU" << k << " T" << k << " OUT P NO OFF 1.2 0.3\n";
    }
    out << "[ORIFICES]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "OR" << k << " T" << k << (k % 2 == 0 ? " OUT NO CIRCULAR 0.62 0.5 " : " OUT NO RECTANGULAR 0.62 0.5 ")
            << TownDecimal{getHeight(static_cast<size_t>(k)), 2} << (k % 2 == 0 ? "\n" : " 0.12\n");
    }
    out << "[WEIRS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "W" << k << " T" << k << " OUT NO RECTANGULAR 1.8 2 1.8 0.3\n";
    }
    out << (b.pollutants > 0 ? "[DECAY_COEFFICIENT]\n" : "");
    for (int64_t k = 0; k < b.count * b.pollutants; ++k) {
        out << "T" << k / b.pollutants << " NODE P" << k % b.pollutants << " FIRST 2 \"\"\n";
    }
    out << bare_makeFlows(weather, "T", b.count, b.pollutants);
    return std::move(out.text);
}

bool bareTanks_isSame(const BareTanks& b, const tv_model* model) {
    const auto isLoadSame = [&](int32_t objectClass, const char* variable, const std::vector<double>& values) {
        return b.pollutants == 0 || bare_isSame(model, objectClass, variable, values, b.pollutants);
    };
    return bare_isSame(model, TV_NODE, "depth", b.depth) && bare_isSame(model, TV_NODE, "peak_depth", b.peakDepth) &&
           bare_isSame(model, TV_NODE, "flooded_volume", b.flooded) && bare_isSame(model, TV_LINK, "flow", b.flow) &&
           bare_isSame(model, TV_LINK, "flow_volume", b.volume) && bare_isSame(model, TV_LINK, "peak_flow", b.peak) &&
           bare_isSame(model, TV_NODE, "inflow_volume", b.nodes.volume) &&
           isLoadSame(TV_NODE, "concentration", b.nodes.quality) && isLoadSame(TV_LINK, "concentration", b.quality);
}
