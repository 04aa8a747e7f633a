// See bare.h.

#include "bare/bare.h"

#include <algorithm>
#include <bit>

#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr int64_t INTERVAL = 300;  ///< s, of the gage
constexpr int RATES[24] = {2, 3, 5, 8, 14, 20, 32, 60, 45, 30, 22, 16, 12, 10, 8, 6, 4, 2, 0, 0, 0, 0, 0, 0};  ///< mm/h
constexpr int FACTORS[24] = {5, 4, 4, 4, 5, 7, 12, 16, 15, 13, 12, 12, 13, 12, 11, 10, 10, 11, 13, 15, 14, 12, 9, 7};
constexpr int DAYS = 2;  ///< of the rain: longer than any case is stepped
constexpr double MM_PER_HOUR = 3600000.0;
constexpr double MM_PER_DAY = 86400000.0;

}  // namespace

std::string bare_makeHead(BareWeather weather, int64_t pollutants, double dryDays) {
    TownText out;
    out << "[GENERAL]\nSTART_DATE 2024/06/01\nEND_DATE 2034/06/01\nROUTING_STEP 0:01:00\nRUNOFF_STEP 0:01:00\n"
           "REPORT_STEP 24:00:00\nREPORT_AVERAGE NO\nSTART_DRY_DAYS "
        << static_cast<int64_t>(dryDays) << "\n[EVAPORATION]\nCONSTANT 3\n[RAINGAGES]\nG INTENSITY 0:05 RAIN\n"
        << "[PATTERNS]\nDAY HOURLY";
    for (const int factor : FACTORS) {
        out << " " << TownDecimal{factor, 1};
    }
    out << "\n[TIMESERIES]\n";
    for (int64_t hour = 0; hour < (weather == BareWeather::WET ? 24 * DAYS : 1); hour += 1) {
        out << "RAIN 2024/06/01";
        for (int64_t k = 0; k < 12; ++k) {
            const int rate = weather == BareWeather::WET ? RATES[hour % 2 * 12 + k] : 0;
            out << " " << hour << ":" << (k < 2 ? "0" : "") << k * INTERVAL / 60 << " " << int64_t{rate};
        }
        out << "\n";
    }
    if (pollutants > 0) {
        out << "[POLLUTANTS]\n";
    }
    for (int64_t p = 0; p < pollutants; ++p) {
        out << "P" << p << " " << 10 * (p + 1) << "\n";
    }
    return std::move(out.text);
}

double bare_getRain(BareWeather weather, int64_t second) {
    return weather == BareWeather::WET ? RATES[second / INTERVAL % 24] / MM_PER_HOUR : 0.0;
}

double bare_getFactor(int64_t second) {
    return FACTORS[second / 3600 % 24] / 10.0;
}

double bare_getEvaporation() {
    return 3.0 / MM_PER_DAY;
}

double bare_getFlow(BareWeather weather, int64_t index) {
    return weather == BareWeather::WET ? static_cast<double>(10 + index % 41) / 1000.0 : 0.0;
}

double bare_getConcentration(int64_t pollutant) {
    return static_cast<double>(50 * (pollutant + 1));
}

std::string bare_makeFlows(BareWeather weather, const char* letter, int64_t count, int64_t pollutants) {
    TownText out;
    if (weather != BareWeather::WET) {
        return out.text;
    }
    out << "[DWFS]\n";
    for (int64_t k = 0; k < count; ++k) {
        out << letter << k << " FLOW " << TownDecimal{10 + k % 41, 3} << " DAY\n";
        for (int64_t p = 0; p < pollutants; ++p) {
            out << letter << k << " P" << p << " " << 50 * (p + 1) << " \"\"\n";
        }
    }
    return std::move(out.text);
}

tv_model* bare_startModel(const std::string& project) {
    tv_model* model = nullptr;
    if (tv_create(&model) || tv_setWarnings(model, 0) ||
        tv_openText(model, project.data(), project.size(), nullptr, nullptr) || tv_start(model, nullptr, nullptr)) {
        tv_free(model);
        return nullptr;
    }
    return model;
}

bool bare_isSame(const tv_model* model, int32_t objectClass, const char* variable, const std::vector<double>& values,
                 int64_t pollutants) {
    int32_t number = 0, count = 0;
    if (tv_findVariable(objectClass, variable, &number) || tv_getCount(model, objectClass, &count)) {
        return false;
    }
    const size_t stride = pollutants > 0 ? static_cast<size_t>(pollutants) : 1;
    std::vector<double> got(static_cast<size_t>(count));
    for (size_t p = 0; p < stride; ++p) {
        const int32_t pollutant = pollutants > 0 ? static_cast<int32_t>(p) : TV_NO_POLLUTANT;
        if (tv_getValues(model, number, pollutant, got.data(), got.size())) {
            return false;
        }
        for (size_t k = 0; k < values.size() / stride; ++k) {
            if (k >= got.size() || std::bit_cast<uint64_t>(got[k]) != std::bit_cast<uint64_t>(values[k * stride + p])) {
                return false;
            }
        }
    }
    return true;
}

// --- nodes ---------------------------------------------------------------------------------------------------------

BareNodes bare_makeNodes(BareWeather weather, int64_t count, int64_t pollutants) {
    BareNodes nodes{};
    const size_t n = static_cast<size_t>(count), loads = n * static_cast<size_t>(pollutants);
    for (size_t k = 0; k < n; ++k) {
        nodes.average.push_back(bare_getFlow(weather, static_cast<int64_t>(k)));
    }
    nodes.inflow.assign(n, 0.0);
    nodes.volume = nodes.peak = nodes.inflow;
    nodes.load.assign(loads, 0.0);
    nodes.quality = nodes.load;
    nodes.mass.assign(static_cast<size_t>(pollutants), 0.0);
    nodes.outLoad = nodes.mass;
    return nodes;
}

void bare_beginStep(BareNodes& nodes) {
    nodes.outflow = 0.0;
    std::fill(nodes.outLoad.begin(), nodes.outLoad.end(), 0.0);
}

void bare_takeFlow(BareNodes& nodes, size_t node, double factor) {
    const size_t n = nodes.mass.size();
    const double flow = nodes.average[node] * factor;
    nodes.inflow[node] = flow;
    nodes.water += BARE_STEP * flow;
    nodes.volume[node] += flow * BARE_STEP;
    bare_keepMaximum(nodes.peak[node], flow);
    for (size_t p = 0; p < n; ++p) {
        const double load =
            nodes.average[node] > 0.0 ? bare_getConcentration(static_cast<int64_t>(p)) * flow / 1000.0 : 0.0;
        nodes.load[node * n + p] = load;
        nodes.mass[p] += BARE_STEP * load;
    }
}

void bare_deliver(BareNodes& nodes, double flow, const double* quality, double& volume, double& peak) {
    volume += BARE_STEP * flow;
    bare_keepMaximum(peak, flow);
    nodes.outflow += flow;
    for (size_t p = 0; p < nodes.outLoad.size(); ++p) {
        nodes.outLoad[p] += quality[p] * flow / 1000.0;
    }
}
