// See conduits.h.

#include "bare/conduits.h"

#include <algorithm>
#include <cmath>

#include "tarnvelde_model.h"
#include "towns/text.h"

namespace {

constexpr double DT = BARE_STEP;
constexpr double PI = 3.14159265, TWO_PI = 6.2831853;
constexpr int ENTRIES = 100;  ///< of a table

// The bed of an irregular section: stations and elevations, m, and its pieces between two walls.
constexpr int BED_POINTS = 6;
constexpr double BED_X[BED_POINTS + 2] = {0, 0, 0.5, 0.7, 1.1, 1.3, 1.9, 1.9};
constexpr double BED_Y[BED_POINTS + 2] = {10000, 0.9, 0.37, 0, 0, 0.41, 0.9, 10000};
constexpr double BED_DEPTH = 0.9;

double getDistance(double ax, double ay, double bx, double by) {
    const double dx = bx - ax, dy = by - ay;
    return std::sqrt(dx * dx + dy * dy);
}

struct Crossing {
    double x, y;
    int piece;  ///< behind point so and so
};

/// Where the water line meets a piece of the bed.
Crossing cross(int piece, double water) {
    const double dx1 = BED_X[piece + 1] - BED_X[piece], dy1 = BED_Y[piece + 1] - BED_Y[piece];
    const double ax = BED_X[piece], ay = BED_Y[piece];
    const double cx = BED_X[0], dx2 = BED_X[BED_POINTS] - BED_X[0], dy2 = 0.0;
    return {((water - ay) * dx1 * dx2 + dy1 * dx2 * ax - dy2 * dx1 * cx) / (dy1 * dx2 - dy2 * dx1),
            ((cx - ax) * dy1 * dy2 + dx1 * dy2 * ay - dx2 * dy1 * water) / (dx1 * dy2 - dx2 * dy1), piece};
}

/// Both crossings; the bed falls to its middle and rises from there.
void findCrossings(double depth, Crossing& left, Crossing& right) {
    int piece = 0;
    while (BED_Y[piece + 1] >= depth) {
        ++piece;
    }
    left = cross(piece, depth);
    while (BED_Y[piece + 1] < depth) {
        ++piece;
    }
    right = cross(piece, depth);
}

double getBedPerimeter(double depth) {
    Crossing left, right;
    findCrossings(depth, left, right);
    double sum = getDistance(left.x, left.y, BED_X[left.piece + 1], BED_Y[left.piece + 1]);
    for (int k = left.piece + 1; k < right.piece; ++k) {
        sum += getDistance(BED_X[k], BED_Y[k], BED_X[k + 1], BED_Y[k + 1]);
    }
    return 0.0 + (0.0 + sum + getDistance(BED_X[right.piece], BED_Y[right.piece], right.x, right.y));
}

double getBedArea(double depth) {
    Crossing left, right;
    findCrossings(depth, left, right);
    double ax = left.x, ay = left.y, sum = 0.0;
    for (int k = left.piece + 1; k <= right.piece; ++k) {
        sum += ax * BED_Y[k] - ay * BED_X[k];
        ax = BED_X[k];
        ay = BED_Y[k];
    }
    sum += ax * right.y - ay * right.x;
    sum += right.x * left.y - right.y * left.x;
    return std::fabs(sum) / 2.0;
}

double getSegmentArea(double D, double y) {
    const double whole = D * D * PI * 0.25;
    if (y <= D / 2.0) {
        const double t = std::acos((D - 2.0 * y) / D);
        return 2.0 * t * whole / TWO_PI - std::sin(t) * (D / 2.0 - y) * D * 0.5;
    }
    const double t = std::acos((2.0 * y - D) / D);
    return std::sin(t) * (y - D / 2.0) * D * 0.5 + (TWO_PI - 2.0 * t) * whole / TWO_PI;
}

double getPerimeter(const BareConduits& b, size_t k, double y) {
    const double D = b.height[k];
    switch (b.section) {
        case BareSection::CIRCULAR:
            return y <= D / 2.0 ? 2.0 * std::acos((D - 2.0 * y) / D) * (D * PI) / TWO_PI
                                : (TWO_PI - 2.0 * std::acos((2.0 * y - D) / D)) * (D * PI) / TWO_PI;
        case BareSection::RECTANGULAR: return y >= D ? 2.0 * (b.width[k] + D) : b.width[k] + 2.0 * y;
        default: return getBedPerimeter(y);
    }
}

double getTableDepth(double full, int i) {
    return i == ENTRIES ? full : i * full / ENTRIES;
}

const double* getTable(const BareConduits& b, size_t k) {
    return b.tables.data() + (b.section == BareSection::CIRCULAR ? k * ENTRIES : 0);
}

double interpolate(double ax, double ay, double bx, double by, double x) {
    return (x - ax) * (by - ay) / (bx - ax) + ay;
}

double getArea(const BareConduits& b, size_t k, double y) {
    const double full = b.height[k];
    if (b.section == BareSection::RECTANGULAR) {
        const double area = b.width[k] * y, whole = b.width[k] * full;
        return area > whole ? whole : area;
    }
    if (!(y > 0.0)) {
        return 0.0;
    }
    const double* table = getTable(b, k);
    int i = std::min(static_cast<int>(y / full * ENTRIES), ENTRIES - 1);
    while (i > 0 && getTableDepth(full, i) >= y) {
        --i;
    }
    while (!(getTableDepth(full, i + 1) >= y)) {
        ++i;
    }
    return interpolate(i > 0 ? getTableDepth(full, i) : 0.0, i > 0 ? table[i - 1] : 0.0, getTableDepth(full, i + 1),
                       table[i], y);
}

double getDepth(const BareConduits& b, size_t k, double volume) {
    const double area = volume / b.length[k], full = b.height[k];
    if (b.section == BareSection::RECTANGULAR) {
        return volume == b.fullVolume[k] || area > full * b.width[k] ? full : area / b.width[k];
    }
    if (!(area > 0.0)) {
        return 0.0;
    }
    if (volume == b.fullVolume[k]) {
        return full;
    }
    const double* table = getTable(b, k);
    const int i = static_cast<int>(std::lower_bound(table, table + ENTRIES, area) - table);
    if (i == ENTRIES) {
        return full;
    }
    const double depth = interpolate(i > 0 ? table[i - 1] : 0.0, i > 0 ? getTableDepth(full, i) : 0.0, table[i],
                                     getTableDepth(full, i + 1), area);
    return depth > full ? full : depth;
}

void stepConduit(BareConduits& b, size_t k) {
    const size_t n = b.nodes.mass.size();
    const double inflow = b.nodes.inflow[k], stored = b.area[k] * b.length[k];
    for (size_t p = 0; p < n; ++p) {
        double& quality = b.quality[k * n + p];
        const double c = inflow != 0.0 ? b.nodes.load[k * n + p] / inflow * 1000.0 : 0.0;
        b.nodes.quality[k * n + p] = c;
        quality = DT * inflow + stored > 0.0 ? (stored * quality + DT * inflow * c) / (DT * inflow + stored) : 0.0;
    }
    double volume = stored + DT * inflow;
    if (volume > b.fullVolume[k]) {
        b.flooded += DT * ((volume - b.fullVolume[k]) / DT);
        volume = b.fullVolume[k];
    }
    const double depth = getDepth(b, k, volume);
    double flow = 0.0;
    if (b.section == BareSection::RECTANGULAR || depth > 0.0) {
        const double perimeter = getPerimeter(b, k, depth), area = getArea(b, k, depth);
        flow = std::pow(area / perimeter, 2.0 / 3.0) * (area / b.roughness[k]) * b.root[k];
    }
    if (DT * flow > volume) {
        flow = volume = 0.0;
    } else {
        volume -= DT * flow;
    }
    b.depth[k] = getDepth(b, k, volume);
    b.flow[k] = flow;
    b.area[k] = getArea(b, k, b.depth[k]);
    bare_keepMaximum(b.peakDepth[k], b.depth[k]);
    bare_keepMaximum(b.peakVelocity[k], b.area[k] > 0.0 ? flow / b.area[k] : 0.0);
}

}  // namespace

void bareConduits_step(BareConduits& b) {
    b.second += static_cast<int64_t>(DT);
    const double factor = bare_getFactor(b.second);
    const size_t count = static_cast<size_t>(b.count), n = b.nodes.mass.size();
    bare_beginStep(b.nodes);
    for (size_t k = 0; k < count; ++k) {
        bare_takeFlow(b.nodes, k, factor);
        stepConduit(b, k);
        bare_deliver(b.nodes, b.flow[k], b.quality.data() + k * n, b.volume[k], b.peak[k]);
    }
}

// --- the case ------------------------------------------------------------------------------------------------------

namespace {

struct Line {
    int64_t length, slope, roughness, height, width;  // m, %/100, /1000, m/100, m/100
};

Line makeLine(size_t index) {
    const int64_t k = static_cast<int64_t>(index);
    return {250 + k * 7 % 200, 10 + k * 3 % 31, 12 + k % 4, 40 + 10 * (k % 5), 40 + 10 * (k % 4)};
}

void setSection(BareConduits& b, size_t k) {
    const Line line = makeLine(k);
    b.height[k] = static_cast<double>(line.height) / 100.0;
    if (b.section == BareSection::RECTANGULAR) {
        b.width[k] = static_cast<double>(line.width) / 100.0;
        b.fullVolume[k] = getArea(b, k, b.height[k]) * b.length[k];
        return;
    }
    if (b.section == BareSection::IRREGULAR) {
        b.height[k] = BED_DEPTH;
    }
    for (int i = 1; i <= ENTRIES && (b.section == BareSection::CIRCULAR || k == 0); ++i) {
        const double y = i * b.height[k] / ENTRIES;
        b.tables.push_back(b.section == BareSection::CIRCULAR ? getSegmentArea(b.height[k], y) : getBedArea(y));
    }
    b.fullVolume[k] = getArea(b, k, b.height[k]) * b.length[k];
}

}  // namespace

BareConduits bareConduits_create(BareSection section, int64_t count, int64_t pollutants, BareWeather weather) {
    BareConduits b{};
    b.section = section;
    b.count = count;
    b.pollutants = pollutants;
    b.nodes = bare_makeNodes(weather, count, pollutants);
    const size_t n = static_cast<size_t>(count);
    for (auto* array : {&b.height, &b.width, &b.length, &b.roughness, &b.root, &b.fullVolume, &b.depth, &b.area,
                        &b.peakDepth, &b.peakVelocity, &b.flow, &b.volume, &b.peak}) {
        array->assign(n, 0.0);
    }
    b.quality.assign(n * static_cast<size_t>(pollutants), 0.0);
    for (size_t k = 0; k < n; ++k) {
        const Line line = makeLine(k);
        b.length[k] = static_cast<double>(line.length);
        b.roughness[k] = static_cast<double>(line.roughness) / 1000.0;
        b.root[k] = std::pow(static_cast<double>(line.slope) / 100.0 / 100.0, 0.5);
        setSection(b, k);
    }
    return b;
}

std::string bareConduits_makeProject(const BareConduits& b, BareWeather weather) {
    TownText out;
    out << bare_makeHead(weather, b.pollutants, 2.0) << "[JUNCTIONS]\n";
    for (int64_t k = 0; k < b.count; ++k) {
        out << "J" << k << "\n";
    }
    out << BARE_OUTFALL << "[CURVES]\nBED TRANSECT 0 0.9 0.5 0.37 0.7 0 1.1 0 1.3 0.41 1.9 0.9\n[CONDUITS]\n";
    for (size_t k = 0; k < b.height.size(); ++k) {
        const Line line = makeLine(k);
        const int64_t index = static_cast<int64_t>(k);
        out << "C" << index << " J" << index << " OUT NO " << line.length << " " << TownDecimal{line.slope, 2} << " "
            << TownDecimal{line.roughness, 3};
        switch (b.section) {
            case BareSection::CIRCULAR: out << " CIRCULAR " << TownDecimal{line.height, 2}; break;
            case BareSection::RECTANGULAR:
                out << " RECTANGULAR " << TownDecimal{line.height, 2} << " " << TownDecimal{line.width, 2};
                break;
            default: out << " IRREGULAR BED"; break;
        }
        out << "\n";
    }
    out << bare_makeFlows(weather, "J", b.count, b.pollutants);
    return std::move(out.text);
}

bool bareConduits_isSame(const BareConduits& b, const tv_model* model) {
    const auto isSame = [&](const char* variable, const std::vector<double>& values) {
        return bare_isSame(model, TV_LINK, variable, values);
    };
    return isSame("depth", b.depth) && isSame("flow", b.flow) && isSame("flow_volume", b.volume) &&
           isSame("peak_flow", b.peak) && isSame("peak_depth", b.peakDepth) &&
           isSame("peak_velocity", b.peakVelocity) &&
           (b.pollutants == 0 || bare_isSame(model, TV_LINK, "concentration", b.quality, b.pollutants));
}
