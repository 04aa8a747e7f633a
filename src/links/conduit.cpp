// Conduits, routed as a single store that releases the normal flow of its depth (Manning 1891): each step the inflow
// joins the store, what exceeds the full section is flood, and the discharge follows from depth, section, slope and
// roughness. Where the discharge of one step would exceed the whole store, the conduit empties without delivering
// anything: short steep conduits at long steps lose their water so, and the continuity error shows it.
//
// Areas by depth of circles and transects are looked up in a table of 100 values; the wetted perimeter is worked out at
// each step.

#include "links/conduit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
#include <unordered_set>

#include "links/circle.h"
#include "links/link.h"
#include "links/transect.h"
#include "model/arena.h"
#include "model/curve.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/statistics.h"
#include "model/still.h"
#include "model/warnings.h"
#include "text/datetime.h"
#include "text/number.h"
#include "text/tokens.h"
#include "text/units.h"

static const char* const ConduitShapeWords[] = {"CIRCULAR", "RECTANGULAR", "IRREGULAR", nullptr};

// --- reading and validation ----------------------------------------------------------------------------------------

static int32_t readPositive(Model& model, const Tokens& tokens, int32_t place, double& value) {
    if (!tokens_getDouble(tokens[place], &value) || !(value > 0.0)) {
        return errors_setName(model, ERR_NUMBER, tokens[place]);
    }
    return ERR_NONE;
}

/// The items from the shape on. An error index, or 0.
static int32_t readSection(Model& model, const Tokens& tokens, Conduit& conduit) {
    conduit.curve = -1;
    conduit.height = conduit.width = 0.0;
    conduit.shape = tokens_findKeyword(tokens[7], ConduitShapeWords);
    if (conduit.shape < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[7]);
    }
    if (conduit.shape == IRREGULAR_CONDUIT) {
        // A curve of any type will do: its points are taken as stations and elevations.
        conduit.curve = names_find(model, CURVE, tokens[8]);
        return conduit.curve < 0 ? errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[8]) : ERR_NONE;
    }
    if (const int32_t error = readPositive(model, tokens, 8, conduit.height)) {
        return error;
    }
    if (conduit.shape != RECTANGULAR_CONDUIT) {
        return ERR_NONE;
    }
    return tokens.count < 10 ? errors_setName(model, ERR_ITEMS, "") : readPositive(model, tokens, 9, conduit.width);
}

static void checkNumbers(const Model& model, const Conduit& conduit, double slopePercent, const char* id) {
    plausible_check(model, PLAUSIBLE_CONDUIT_LENGTH, conduit.length, 4, id);
    if (conduit.length < model.options.conduitLengthening) {
        warnings_addAtLine(
            model, WARN_CONDUIT_LENGTHENED, 4, id,
            {warnings_formatNumber(conduit.length), warnings_formatNumber(model.options.conduitLengthening)});
    }
    plausible_check(model, PLAUSIBLE_SEWER_SLOPE, slopePercent, 5, id);
    plausible_check(model, PLAUSIBLE_CHANNEL_ROUGHNESS, conduit.roughness, 6, id);
    if (conduit.shape != IRREGULAR_CONDUIT) {
        plausible_check(model, PLAUSIBLE_CONDUIT_HEIGHT, conduit.height, 8, id);
    }
    if (conduit.shape == RECTANGULAR_CONDUIT) {
        plausible_check(model, PLAUSIBLE_CONDUIT_WIDTH, conduit.width, 9, id);
    }
}

int32_t conduit_readLine(Model& model, const Tokens& tokens, int32_t link, int32_t kindIndex) {
    LinkHead head;
    if (const int32_t error = link_readHead(model, tokens, 9, head)) {
        return error;
    }
    Conduit& row = model.conduits[kindIndex];
    Conduit conduit = row;
    double slopePercent;
    double* const values[] = {&conduit.length, &slopePercent, &conduit.roughness};
    for (int32_t k = 0; k < 3; ++k) {
        if (const int32_t error = readPositive(model, tokens, 4 + k, *values[k])) {
            return error;
        }
    }
    conduit.slope = slopePercent / PERCENT;
    if (const int32_t error = readSection(model, tokens, conduit)) {
        return error;
    }
    checkNumbers(model, conduit, slopePercent, head.id);
    link_setHead(model, link, CONDUIT, kindIndex, head);
    row = conduit;
    return ERR_NONE;
}

void conduit_validate(const Model& model, Conduit& conduit) {
    // A very short conduit would empty within one step.
    if (conduit.length < model.options.conduitLengthening) {
        conduit.length = model.options.conduitLengthening;
    }
}

// --- tables by depth -----------------------------------------------------------------------------------------------

/// Area (m2) of a circle of diameter D (m) below the depth y (m).
static double getSegmentArea(double D, double y) {
    const double whole = D * D * PI * 0.25;
    if (y > D) {
        return whole;
    }
    if (y <= D / 2.0) {
        const double t = std::acos((D - 2.0 * y) / D);
        return 2.0 * t * whole / TWO_PI - std::sin(t) * (D / 2.0 - y) * D * 0.5;
    }
    const double t = std::acos((2.0 * y - D) / D);
    return std::sin(t) * (y - D / 2.0) * D * 0.5 + (TWO_PI - 2.0 * t) * whole / TWO_PI;
}

/// Wetted perimeter (m) of a circle of diameter D (m) below the depth y (m).
static double getArcLength(double D, double y) {
    if (y > D) {
        return D * PI;
    }
    if (y <= D / 2.0) {
        const double t = std::acos((D - 2.0 * y) / D);
        return 2.0 * t * (D * PI) / TWO_PI;
    }
    const double t = std::acos((2.0 * y - D) / D);
    return (TWO_PI - 2.0 * t) * (D * PI) / TWO_PI;
}

/// The prepared points of a curve, made at the first need and kept as long as the project; null without memory.
static const Transect* prepareTransect(Model& model, int32_t curve) {
    model.transects.resize(model.curves.size());
    if (!model.transects[curve]) {
        const std::vector<CurvePoint>& points = model.curves[curve].entries;
        model.transects[curve] =
            transect_make(model.memory.project, points.data(), static_cast<int32_t>(points.size()));
    }
    return model.transects[curve];
}

/// The areas of a circle, made at the first need; null without memory.
static const double* findCircle(Model& model, double diameter) {
    try {
        std::vector<double>& areas = model.circleTables->byDiameter[std::bit_cast<uint64_t>(diameter)];
        if (areas.empty()) {
            areas.resize(GEOMETRY_COUNT);
            for (int32_t i = 1; i <= GEOMETRY_COUNT; ++i) {
                areas[static_cast<size_t>(i) - 1] = getSegmentArea(diameter, i * diameter / GEOMETRY_COUNT);
            }
        }
        return areas.data();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void conduit_dropTables(Model& model) {
    auto& tables = model.circleTables->byDiameter;
    if (tables.size() <= static_cast<size_t>(model.conduits.size())) {
        return;
    }
    std::unordered_set<const double*> kept;
    for (const Conduit& conduit : model.conduits) {
        kept.insert(conduit.areaTable);
    }
    std::erase_if(tables, [&](const auto& table) { return !kept.contains(table.second.data()); });
}

/// The area table of a curve, from the project's memory; null without.
static double* allocateGeometry(Model& model, Curve& curve) {
    if (!curve.geometry) {
        curve.geometry = arena_allocateArray<double>(model.memory.project, GEOMETRY_COUNT);
    }
    return curve.geometry;
}

/// Whether a shape has a table at all.
static bool needsTable(const Model& model, const Conduit& conduit, int32_t shape) {
    const bool hasCurve = conduit.curve >= 0 && model.curves.holds(conduit.curve);
    return shape == CIRCULAR_CONDUIT || (shape == IRREGULAR_CONDUIT && hasCurve);
}

static double getFullDepth(const Conduit& conduit) {
    switch (conduit.shape) {
        case CIRCULAR_CONDUIT:
        case RECTANGULAR_CONDUIT: return conduit.height;
        case IRREGULAR_CONDUIT: return conduit.transect ? conduit.transect->fullDepth : 0.0;
        default: return 0.0;  // a shape that only a host can set: a section without points
    }
}

/// The table that the shape needs, filled; null without memory.
static const double* makeTable(Model& model, const Conduit& conduit, int32_t shape, double full) {
    if (shape == CIRCULAR_CONDUIT) {
        return findCircle(model, full);
    }
    double* const table = conduit.transect ? allocateGeometry(model, model.curves[conduit.curve]) : nullptr;
    for (int32_t i = 1; table && i <= GEOMETRY_COUNT; ++i) {
        table[i - 1] = transect_getArea(*conduit.transect, i * full / GEOMETRY_COUNT);
    }
    return table;
}

/// Makes the table that the shape needs. False without memory.
static bool makeTables(Model& model, Conduit& conduit, int32_t shape, double full) {
    conduit.tableShape = shape;
    conduit.fullDepth = full;
    conduit.risingTable = nullptr;
    if (!needsTable(model, conduit, shape)) {
        return true;
    }
    const double* const table = makeTable(model, conduit, shape, full);
    if (!table) {
        return false;
    }
    if (shape == CIRCULAR_CONDUIT) {
        conduit.areaTable = table;
    }
    const double* const end = table + GEOMETRY_COUNT;
    const auto falls = [](double a, double b) { return !(a <= b); };
    conduit.risingTable = std::adjacent_find(table, end, falls) == end ? table : nullptr;
    return true;
}

void conduit_buildTables(Model& model, Conduit& conduit) {
    conduit.depth = 0.0;
    conduit.restKey = 0;
    conduit.keptChanges = 0;
    conduit.oldInflow = conduit.newInflow = 0.0;
    conduit.oldFlood = conduit.newFlood = 0.0;
    conduit.slopeRoot = std::pow(conduit.slope, 0.5);
    conduit.hasDecay = decay_isAny(model, conduit.decay);
    const bool hasCurve = conduit.curve >= 0 && model.curves.holds(conduit.curve);
    conduit.transect = hasCurve ? prepareTransect(model, conduit.curve) : nullptr;
    if (!makeTables(model, conduit, conduit.shape, getFullDepth(conduit))) {
        errors_report(model, ERR_MEMORY, "");
    }
}

bool conduit_reserveTables(Model& model, Conduit& conduit, int32_t shape, double fullDepth) {
    if (!needsTable(model, conduit, shape)) {
        return true;
    }
    return shape == CIRCULAR_CONDUIT ? findCircle(model, fullDepth) != nullptr
                                     : conduit.transect && allocateGeometry(model, model.curves[conduit.curve]);
}

void conduit_remakeTables(Model& model, Conduit& conduit, int32_t shape, double fullDepth) {
    (void)makeTables(model, conduit, shape, fullDepth);  // the memory is there
}

// --- area and depth ------------------------------------------------------------------------------------------------

/// Areas of the section by depth; null for one that has no table.
static const double* getTable(const Model& model, const Conduit& conduit) {
    switch (conduit.shape) {
        case CIRCULAR_CONDUIT: return conduit.areaTable;
        case IRREGULAR_CONDUIT:
            return conduit.curve >= 0 && model.curves.holds(conduit.curve) ? model.curves[conduit.curve].geometry
                                                                           : nullptr;
        default: return nullptr;
    }
}

/// Depth (m) of an area in the table, counted from 1. The last one is the full depth itself, whatever the division
/// gives.
static double getTableDepth(double fullDepth, int32_t i) {
    return i == GEOMETRY_COUNT ? fullDepth : i * fullDepth / GEOMETRY_COUNT;
}

/// The interval (0 ... 99) of the table that a depth falls into: the first whose upper end reaches it. -1 above all.
static int32_t findInterval(double fullDepth, double y) {
    int32_t i = 0;
    if (fullDepth > 0.0 && std::isfinite(fullDepth)) {
        if (y > fullDepth) {
            return -1;
        }
        // The depths rise evenly: the interval is the one guessed, or the next.
        i = std::clamp(number_truncate(y / fullDepth * GEOMETRY_COUNT), 0, GEOMETRY_COUNT - 1);
        while (i > 0 && getTableDepth(fullDepth, i) >= y) {
            --i;
        }
    }
    while (i < GEOMETRY_COUNT && !(getTableDepth(fullDepth, i + 1) >= y)) {
        ++i;
    }
    return i < GEOMETRY_COUNT ? i : -1;
}

/// The interval (0 ... 99) of the table that an area falls into, or -1.
static int32_t findAreaInterval(const Conduit& conduit, const double* table, double area) {
    const double* end = table + GEOMETRY_COUNT;
    const double* found = table == conduit.risingTable
                              ? std::lower_bound(table, end, area)
                              : std::find_if(table, end, [area](double entry) { return entry >= area; });
    return found != end ? static_cast<int32_t>(found - table) : -1;
}

static double getTabledArea(const Model& model, const Conduit& conduit, double y) {
    const double* table = getTable(model, conduit);
    if (!table || !(y > 0.0)) {
        return 0.0;
    }
    const int32_t i = findInterval(conduit.fullDepth, y);
    if (i < 0) {
        return 0.0;
    }
    const double lower = i > 0 ? getTableDepth(conduit.fullDepth, i) : 0.0;
    const double upper = getTableDepth(conduit.fullDepth, i + 1);
    return curve_interpolate({lower, i > 0 ? table[i - 1] : 0.0}, {upper, table[i]}, y);
}

static double getArea(const Model& model, const Conduit& conduit, double y) {
    if (conduit.shape == RECTANGULAR_CONDUIT) {
        const double area = conduit.width * y;
        const double whole = conduit.width * conduit.height;
        return area > whole ? whole : area;
    }
    return getTabledArea(model, conduit, y);
}

static double getTabledDepth(const Model& model, const Conduit& conduit, double volume, double fullVolume) {
    const double area = volume / conduit.length;
    const double* table = getTable(model, conduit);
    if (!table || !(area > 0.0)) {
        return 0.0;
    }
    if (volume == fullVolume) {
        return conduit.fullDepth;
    }
    const int32_t i = findAreaInterval(conduit, table, area);
    if (i < 0) {
        // By rounding a store that isn't over full can have an area above the last one.
        return volume <= fullVolume ? conduit.fullDepth : 0.0;
    }
    const double lower = i > 0 ? getTableDepth(conduit.fullDepth, i) : 0.0;
    const double upper = getTableDepth(conduit.fullDepth, i + 1);
    const double depth = curve_interpolate({i > 0 ? table[i - 1] : 0.0, lower}, {table[i], upper}, area);
    return depth > conduit.fullDepth ? conduit.fullDepth : depth;
}

static double getDepth(const Model& model, const Conduit& conduit, double volume, double fullVolume) {
    if (volume < 0.0) {
        return 0.0;
    }
    if (conduit.shape == RECTANGULAR_CONDUIT) {
        const double area = volume / conduit.length;
        // Full is full whatever the quotient rounds to, so that the roof counts as wetted.
        const bool isFull = volume == fullVolume || area > conduit.height * conduit.width;
        return isFull ? conduit.height : area / conduit.width;
    }
    return getTabledDepth(model, conduit, volume, fullVolume);
}

static double getFullVolume(const Model& model, const Conduit& conduit) {
    return getArea(model, conduit, conduit.fullDepth) * conduit.length;
}

double conduit_getArea(const Model& model, const Conduit& conduit, double depth) {
    return getArea(model, conduit, depth);
}

double conduit_getDepth(const Model& model, const Conduit& conduit, double volume) {
    return getDepth(model, conduit, volume, getFullVolume(model, conduit));
}

double conduit_getVolume(const Model& model, const Conduit& conduit) {
    return getArea(model, conduit, conduit.depth) * conduit.length;
}

ConduitSection conduit_getSection(const Conduit& conduit, const Transect* transect, double depth) {
    switch (conduit.shape) {
        case CIRCULAR_CONDUIT: return {getSegmentArea(conduit.height, depth), getArcLength(conduit.height, depth)};
        case RECTANGULAR_CONDUIT: return {conduit.width * depth, conduit.width + 2.0 * depth};
        default: break;
    }
    return transect ? ConduitSection{transect_getArea(*transect, depth), transect_getPerimeter(*transect, depth)}
                    : ConduitSection{0.0, 0.0};
}

/// Wetted perimeter (m) at a depth (m).
static double getPerimeter(const Conduit& conduit, double y) {
    switch (conduit.shape) {
        case CIRCULAR_CONDUIT: return getArcLength(conduit.height, y);
        case RECTANGULAR_CONDUIT:
            return y >= conduit.height ? 2.0 * (conduit.width + conduit.height) : conduit.width + 2.0 * y;
        case IRREGULAR_CONDUIT: return conduit.transect ? transect_getPerimeter(*conduit.transect, y) : 0.0;
        default: return 0.0;
    }
}

// --- the routing step ----------------------------------------------------------------------------------------------

void conduit_shiftFlows(Link& link, Conduit& conduit) {
    link_shiftFlow(link);
    conduit.oldInflow = conduit.newInflow;
    conduit.oldFlood = conduit.newFlood;
}

/// Mixes the inflow of the step (m3) into the store and lets the mix decay.
static void mixAndDecay(Model& model, Link& link, Conduit& conduit, double stored, double inflow,
                        const double* concentrations) {
    const int32_t hour = conduit.hasDecay ? datetime_getHour(model_getDate(model, model.clock.newRoutingTime)) : 0;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        double mixed = 0.0;
        if (inflow + stored > 0.0) {
            mixed = (stored * link.oldQual[p] + inflow * concentrations[p]) / (inflow + stored);
        }
        const double left = decay_getFactor(model, conduit.decay[p], hour, model.options.routingStep);
        link.newQual[p] = mixed * left;
        model.totals.quality[p].reactedLoss += (inflow + stored) * mixed * (1.0 - left) / G_PER_KG;
    }
}

/// Normal flow (m3/s) at a depth (m), by Manning.
static double getNormalFlow(const Model& model, const Conduit& conduit, double depth) {
    const double perimeter = getPerimeter(conduit, depth);
    if (perimeter == 0.0) {
        return 0.0;
    }
    const double area = getArea(model, conduit, depth);
    return std::pow(area / perimeter, 2.0 / 3.0) * (area / conduit.roughness) * conduit.slopeRoot;
}

/// Whether the numbers that a conduit keeps hold: nobody has touched its section. In a plain run each is worked out
/// anew.
static bool areKept(const Model& model, const Conduit& conduit) {
    return conduit.keptChanges == model.pace.networkChanges && !model.pace.isPlain;
}

static void openKept(const Model& model, Conduit& conduit) {
    if (areKept(model, conduit)) {
        return;
    }
    conduit.keptChanges = model.pace.networkChanges;
    conduit.fullVolume = getFullVolume(model, conduit);
    conduit.areaDepth = conduit.depth;
    conduit.area = getArea(model, conduit, conduit.depth);
    conduit.flowDepth = conduit.depth;
    conduit.flow = getNormalFlow(model, conduit, conduit.depth);
}

/// Area at the depth of the conduit, which is asked for at the end of a step and again in the next one.
static double getKeptArea(const Model& model, Conduit& conduit) {
    if (still_getBits(conduit.depth) != still_getBits(conduit.areaDepth)) {
        conduit.areaDepth = conduit.depth;
        conduit.area = getArea(model, conduit, conduit.depth);
    }
    return conduit.area;
}

static double getKeptFlow(const Model& model, Conduit& conduit, double depth) {
    if (still_getBits(depth) != still_getBits(conduit.flowDepth)) {
        conduit.flowDepth = depth;
        conduit.flow = getNormalFlow(model, conduit, depth);
    }
    return conduit.flow;
}

void conduit_route(Model& model, Link& link, Conduit& conduit, double inflow, const double* concentrations) {
    openKept(model, conduit);
    const double dt = model.options.routingStep;
    const double stored = getKeptArea(model, conduit) * conduit.length;
    const double fullVolume = conduit.fullVolume;
    mixAndDecay(model, link, conduit, stored, dt * inflow, concentrations);
    conduit.newInflow = inflow;
    double volume = stored + dt * inflow;
    conduit.newFlood = 0.0;
    if (volume > fullVolume) {
        conduit.newFlood = (volume - fullVolume) / dt;
        volume = fullVolume;
    }
    conduit.depth = getDepth(model, conduit, volume, fullVolume);
    double flow = getKeptFlow(model, conduit, conduit.depth);
    const uint64_t before = still_getBits(volume);
    if (dt * flow > volume) {
        // More than the store holds: it runs dry and delivers nothing. The water, and the mass in it, is in no total.
        if (volume > 0.0) {
            warnings_addInRun(model, WARN_RUN_EMPTIED, LINK, link_getIndex(model, link), link.id);
        }
        flow = 0.0;
        volume = 0.0;
    } else {
        volume -= dt * flow;
    }
    if (still_getBits(volume) != before) {
        conduit.depth = getDepth(model, conduit, volume, fullVolume);
    }
    link.newFlow = flow;
}

/// Whether all of a conduit is +0.0: what it holds, gets and delivers, before and after a step.
static bool holdsNothing(const Model& model, const Link& link, const Conduit& conduit) {
    const uint64_t numbers = still_getBits(conduit.depth) | still_getBits(link.newFlow) | still_getBits(link.oldFlow) |
                             still_getBits(conduit.newInflow) | still_getBits(conduit.oldInflow) |
                             still_getBits(conduit.newFlood) | still_getBits(conduit.oldFlood);
    const int32_t pollutants = model_pollutantCount(model);
    return numbers == 0 && still_areZeros(link.newQual, pollutants) && still_areZeros(link.oldQual, pollutants);
}

static bool getsNothing(const Model& model, const Offer& offer) {
    return still_isZero(offer.flow) && still_areZeros(offer.quality, model_pollutantCount(model));
}

/// A step that began and ended with nothing, and to which nothing came, was made of the same numbers as the next, as
/// long as the key of the model stands: the conduit rests until something comes. To the totals a step adds 0 times the
/// share that decays.
void conduit_update(Model& model, Link& link, Conduit& conduit, const Offer& offer) {
    const bool isNothingToDo = getsNothing(model, offer);
    if (isNothingToDo && conduit.restKey == model.rest.key && model.rest.isAllowed) {
        return;
    }
    const bool foundNothing = isNothingToDo && holdsNothing(model, link, conduit);
    conduit_shiftFlows(link, conduit);
    conduit_route(model, link, conduit, offer.flow, offer.quality);
    conduit.restKey = foundNothing && holdsNothing(model, link, conduit) ? model.rest.key : 0;
    model.rest.isHourly = model.rest.isHourly || (conduit.restKey != 0 && conduit.hasDecay);
}

void conduit_countStep(const Model& model, const Link& link, Conduit& conduit) {
    const double area = areKept(model, conduit) ? getKeptArea(model, conduit) : getArea(model, conduit, conduit.depth);
    statistics_keepMaximum(conduit.statMaxDepth, conduit.depth);
    statistics_keepMaximum(conduit.statMaxVelocity, area > 0.0 ? link.newFlow / area : 0.0);
}
