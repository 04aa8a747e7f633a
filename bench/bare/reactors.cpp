// See reactors.h.

#include "bare/reactors.h"

#include <cmath>

#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr double DT = BARE_STEP;
constexpr double INFILTRATION = 2 / 3600000.0, EVAPORATION = 3 / 86400000.0;
constexpr double MM_PER_DAY = 86400000.0, MM_PER_HOUR = 3600000.0;

/// Flow taken in; the rest passes by.
double takeIn(BareReactors& b, size_t k, double inflow) {
    b.surplus[k] = 0.0;
    if (b.capacity[k] > inflow) {
        return inflow;
    }
    const double excess = DT * inflow + b.stored[k] - b.full[k];
    if (excess > DT * b.capacity[k]) {
        b.surplus[k] = (excess - DT * b.capacity[k]) / DT;
        return (b.full[k] - b.stored[k]) / DT + b.capacity[k];
    }
    return inflow;
}

void mix(BareReactors& b, size_t k, double inflow, const double* inlet) {
    const size_t n = b.nodes.mass.size();
    const double stored = b.stored[k];
    for (size_t p = 0; p < n; ++p) {
        double& quality = b.quality[k * n + p];
        if (!(inflow + stored > 0.0)) {
            quality = 0.0;
            continue;
        }
        quality = (inflow * inlet[p] + stored * quality) / (inflow + stored);
        const double c = quality * b.left;
        b.reactedLoad[k * n + p] += (quality - c) * (inflow + stored) / 1000.0;
        quality = c;
    }
}

void overflow(BareReactors& b, size_t k, double inflow) {
    const size_t n = b.nodes.mass.size();
    const double volume = inflow + b.stored[k];
    const bool isFull = volume > b.full[k];
    b.stored[k] = isFull ? b.full[k] : volume;
    b.outflow[k] = isFull ? (volume - b.full[k]) / DT : 0.0;
    for (size_t p = 0; p < n; ++p) {
        double& quality = b.nodes.quality[k * n + p];
        quality = isFull ? b.quality[k * n + p] : 0.0;
        b.outLoad[k * n + p] += quality * b.outflow[k] / 1000.0 * DT;
    }
}

void evaporate(BareReactors& b, size_t k) {
    const size_t n = b.nodes.mass.size();
    const double rate = 1.0 * EVAPORATION * b.area[k], stored = b.stored[k], loss = DT * rate;
    const bool isDry = loss >= stored;
    for (size_t p = 0; p < n; ++p) {
        double& quality = b.quality[k * n + p];
        if (isDry) {
            b.infilLoad[k * n + p] += quality * stored / 1000.0;
            quality = 0.0;
        } else {
            quality = stored * quality / (stored - loss);
        }
    }
    b.stored[k] = isDry ? 0.0 : stored - loss;
    const double depth = (isDry ? stored / DT : rate) / b.area[k] * MM_PER_DAY;
    b.evaporated[k] += DT * depth / MM_PER_DAY * b.area[k];
}

void infiltrate(BareReactors& b, size_t k) {
    const size_t n = b.nodes.mass.size();
    const double rate = b.area[k] * INFILTRATION, most = b.stored[k] / DT;
    const bool isDry = rate >= most;
    const double flow = isDry ? most : rate;
    for (size_t p = 0; p < n; ++p) {
        b.infilLoad[k * n + p] += b.quality[k * n + p] * flow / 1000.0 * DT;
        if (isDry) {
            b.quality[k * n + p] = 0.0;
        }
    }
    b.stored[k] = isDry ? 0.0 : b.stored[k] - DT * rate;
    const double depth = flow / b.area[k] * MM_PER_HOUR;
    b.infiltrated[k] += DT * depth / MM_PER_HOUR * b.area[k];
}

/// A link without delay: the line from what came in a step ago to what comes now, at its end.
double pass(const BareReactors& b, double& last, double value) {
    const double passed = b.isFirst ? value : last + (value - last) * b.interval / b.interval;
    last = value;
    return passed;
}

void stepReactor(BareReactors& b, size_t k) {
    const size_t n = b.nodes.mass.size();
    const double inflow = b.nodes.inflow[k];
    double inlet[4] = {};
    for (size_t p = 0; p < n; ++p) {
        inlet[p] = inflow != 0.0 ? b.nodes.load[k * n + p] / inflow * 1000.0 : 0.0;
    }
    const double flow = takeIn(b, k, inflow);
    b.nodes.outflow += b.surplus[k];
    for (size_t p = 0; p < n; ++p) {
        const double load = b.surplus[k] * inlet[p] / 1000.0;
        b.nodes.outLoad[p] += load;
        b.surplusLoad[k * n + p] += load * DT;
    }
    mix(b, k, DT * flow, inlet);
    overflow(b, k, DT * flow);
    evaporate(b, k);
    infiltrate(b, k);
    b.surplusVolume[k] += DT * b.surplus[k];
    b.outVolume[k] += DT * b.outflow[k];
    b.flow[k] = pass(b, b.lastFlow[k], b.outflow[k]);
    for (size_t p = 0; p < n; ++p) {
        const double load = pass(b, b.lastLoad[k * n + p], b.outflow[k] * b.nodes.quality[k * n + p] / 1000.0);
        b.linkQuality[k * n + p] = b.flow[k] != 0.0 ? load / b.flow[k] * 1000.0 : 0.0;
    }
}

/// Days, of the first of June 2024 and so many seconds, a millisecond late.
double getDate(int64_t second) {
    return (static_cast<double>(second) * 1000.0 + 1.0) / 1000.0 / 86400.0 + 45444.0;
}

}  // namespace

void bareReactors_step(BareReactors& b) {
    b.isFirst = b.second == 0;
    b.interval = getDate(b.second + static_cast<int64_t>(DT)) - getDate(b.second);
    b.second += static_cast<int64_t>(DT);
    const double factor = bare_getFactor(b.second);
    const size_t count = static_cast<size_t>(b.count), n = b.nodes.mass.size();
    bare_beginStep(b.nodes);
    for (size_t k = 0; k < count; ++k) {
        bare_takeFlow(b.nodes, k, factor);
        stepReactor(b, k);
        bare_deliver(b.nodes, b.flow[k], b.linkQuality.data() + k * n, b.volume[k], b.peak[k]);
    }
}

// --- the case ------------------------------------------------------------------------------------------------------

static int64_t getVolume(size_t k) {
    return 50 + static_cast<int64_t>(k) * 13 % 200;  // m3, and m2 of area
}

BareReactors bareReactors_create(int64_t count, int64_t pollutants, BareWeather weather) {
    BareReactors b{};
    b.count = count;
    b.pollutants = pollutants;
    b.left = std::exp(-(3 / 86400.0 * 1.0) * DT);
    b.nodes = bare_makeNodes(weather, count, pollutants);
    const size_t n = static_cast<size_t>(count), loads = n * static_cast<size_t>(pollutants);
    for (auto* array : {&b.capacity, &b.full, &b.area, &b.stored, &b.outflow, &b.surplus, &b.surplusVolume,
                        &b.outVolume, &b.evaporated, &b.infiltrated, &b.flow, &b.volume, &b.peak, &b.lastFlow}) {
        array->assign(n, 0.0);
    }
    for (auto* array :
         {&b.quality, &b.surplusLoad, &b.infilLoad, &b.reactedLoad, &b.outLoad, &b.linkQuality, &b.lastLoad}) {
        array->assign(loads, 0.0);
    }
    for (size_t k = 0; k < n; ++k) {
        b.capacity[k] = 2000 / 86400.0;
        b.full[k] = static_cast<double>(getVolume(k));
        b.area[k] = static_cast<double>(getVolume(k));
        b.stored[k] = (weather == BareWeather::STILL ? 0.0 : 50 / 100.0) * b.full[k];
    }
    return b;
}

std::string bareReactors_makeProject(const BareReactors& b, BareWeather weather) {
    TownText out;
    out << bare_makeHead(weather, b.pollutants, 2.0) << "[REACTORS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        const int64_t volume = getVolume(static_cast<size_t>(k));
        out << "R" << k << " CSTR OUT FLOW_CAPACITY 2000 " << volume << " " << volume
            << (weather == BareWeather::STILL ? " 0\n" : " 50\n");
    }
    out << BARE_OUTFALL << "[CONNECTIONS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "L" << k << " R" << k << " OUT NO 0\n";
    }
    out << "[REACTORS_EMPTYING]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "R" << k << " OUT 0 2 3 \"\"\n";
    }
    out << (b.pollutants > 0 ? "[REACTORS_DECAY]\n" : "");
    for (int64_t k = 0; k < b.count * b.pollutants; ++k) {
        out << "R" << k / b.pollutants << " P" << k % b.pollutants << " FIRST 3 \"\"\n";
    }
    out << bare_makeFlows(weather, "R", b.count, b.pollutants);
    return std::move(out.text);
}

bool bareReactors_isSame(const BareReactors& b, const tv_model* model) {
    const auto isSame = [&](int32_t objectClass, const char* variable, const std::vector<double>& values) {
        return bare_isSame(model, objectClass, variable, values);
    };
    const auto isLoadSame = [&](int32_t objectClass, const char* variable, const std::vector<double>& values) {
        return b.pollutants == 0 || bare_isSame(model, objectClass, variable, values, b.pollutants);
    };
    return isSame(TV_NODE, "volume", b.stored) && isSame(TV_NODE, "surplus_volume", b.surplusVolume) &&
           isSame(TV_NODE, "outflow_volume", b.outVolume) && isSame(TV_NODE, "evaporated_volume", b.evaporated) &&
           isSame(TV_NODE, "infiltrated_volume", b.infiltrated) && isSame(TV_LINK, "flow_volume", b.volume) &&
           isSame(TV_LINK, "peak_flow", b.peak) && isLoadSame(TV_NODE, "concentration", b.nodes.quality) &&
           isLoadSame(TV_NODE, "reacted_mass", b.reactedLoad) && isLoadSame(TV_NODE, "outflow_mass", b.outLoad) &&
           isLoadSame(TV_NODE, "infiltrated_mass", b.infilLoad) && isLoadSame(TV_NODE, "surplus_mass", b.surplusLoad) &&
           isLoadSame(TV_LINK, "concentration", b.linkQuality);
}
