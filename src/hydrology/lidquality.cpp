// Pollutants in the layers of a LID unit. Each layer is well mixed; a pollutant goes down with the water, at the
// concentration of the start of the step, and what stays reacts. A layer with next to no water can't hold any
// pollutant: what arrives passes through it within the step. Called by the solver once the fluxes of the step are
// known, with the unit still at its levels before the step.
//
// Layer by layer up to four pollutants go side by side, their number known to the compiler. What water does is worked
// out once for all of them; and what comes to the same for each is, too: a concentration of 0 carries w * 0 / 1000,
// which is w * 0, since that is a zero or no number, and a thousandth of either is what it was.

#include "hydrology/lidquality.h"

#include <algorithm>
#include <array>
#include <bit>

#include "model/decay.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/project.h"
#include "model/still.h"
#include "text/units.h"

static constexpr double MIN_VOLUME = 0.01;  ///< m3, below which a layer counts as dry

/// One number per pollutant of those that go side by side.
template <size_t N>
using Lanes = std::array<double, N>;

/// Where a step of some pollutants of a unit stands.
struct Group {
    const Model& model;
    const LidStep& s;
    const Lid& lid;
    LidUnit& unit;
    size_t first;  ///< pollutant
};

static bool isDry(double volume) {
    return !(volume > MIN_VOLUME);
}

/// Concentration of what is left in a layer that isn't dry, mg/L: mass after the step over the volume before it.
static double getMixed(double mass, double volume) {
    return std::max(mass / volume * G_PER_KG, 0.0);
}

template <size_t N>
[[gnu::always_inline]] static inline void copy(const Lanes<N>& values, double* to) {
    std::copy_n(values.data(), N, to);
}

template <size_t N>
[[gnu::always_inline]] static inline void add(double* sums, const Lanes<N>& values) {
    for (size_t p = 0; p < N; ++p) {
        sums[p] += values[p];
    }
}

/// The same number for all pollutants.
template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> fill(double value) {
    Lanes<N> values;
    values.fill(value);
    return values;
}

/// What water (m3) carries at a concentration (mg/L), kg; of a flow (m3/s) kg/s.
template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> carry(double water, const Lanes<N>& concentration) {
    Lanes<N> mass;
    for (size_t p = 0; p < N; ++p) {
        mass[p] = water * concentration[p] / G_PER_KG;
    }
    return mass;
}

// --- reactions -----------------------------------------------------------------------------------------------------

/// The share that first-order decay leaves; as decay_react multiplies by it.
static double getFactor(const Group& g, Decay& rule) {
    const double k = pattern_getFactor(g.model, rule.pattern, g.s.hour) * rule.k;
    const bool isKnown = std::bit_cast<uint64_t>(-g.s.dt * k) == std::bit_cast<uint64_t>(rule.exponent);
    return isKnown ? rule.factor : decay_react(g.model, rule, 1.0, g.s.hour, g.s.dt);
}

/// Concentrations that a reaction leaves, where there is any.
template <size_t N>
[[gnu::noinline]] static Lanes<N> react(const Group& g, Decay* rules, const Lanes<N>& mixed) {
    Lanes<N> left;
    for (size_t p = 0; p < N; ++p) {
        Decay& rule = rules[p];
        if (rule.type == FIRST_ORDER) {
            left[p] = getFactor(g, rule) * mixed[p];
        } else {
            left[p] = decay_react(g.model, rule, mixed[p], g.s.hour, g.s.dt);
        }
    }
    return left;
}

template <size_t N>
[[gnu::always_inline]] static inline bool reacts(const Decay* rules) {
    int32_t types = -1;
    for (size_t p = 0; p < N; ++p) {
        types &= rules[p].type;  // negative as long as all are
    }
    return types >= 0;
}

/// Adds what has gone by reaction in a layer.
template <size_t N>
[[gnu::always_inline]] static inline void bookReacted(const Group& g, const Lanes<N>& mixed, const Lanes<N>& left,
                                                      double volume) {
    double* sums = g.unit.reactedLoad + g.first;
    for (size_t p = 0; p < N; ++p) {
        sums[p] += (mixed[p] - left[p]) * volume / G_PER_KG;
    }
}

/// Nothing has gone. A number less itself is 0, but for one that is infinite or none.
template <size_t N>
[[gnu::always_inline]] static inline void bookUnreacted(const Group& g, const Lanes<N>& mixed, double volume) {
    double differences = 0.0;
    for (size_t p = 0; p < N; ++p) {
        differences += mixed[p] - mixed[p];
    }
    if (differences == 0.0) {
        add<N>(g.unit.reactedLoad + g.first, fill<N>(0.0 * volume));
    } else {
        bookReacted<N>(g, mixed, mixed, volume);
    }
}

/// Lets a layer react that isn't dry. `mass` is what is in it, and what is left goes to `thisMass`. Gives the
/// concentration that is left.
template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> settleWet(const Group& g, Decay* rules, double volume,
                                                        const Lanes<N>& mass, double* thisMass) {
    Lanes<N> mixed;
    for (size_t p = 0; p < N; ++p) {
        mixed[p] = getMixed(mass[p], volume);
    }
    Lanes<N> left = mixed;
    if (reacts<N>(rules + g.first)) {
        left = react<N>(g, rules + g.first, mixed);
        bookReacted<N>(g, mixed, left, volume);
    } else {
        bookUnreacted<N>(g, mixed, volume);
    }
    copy<N>(carry<N>(volume, left), thisMass + g.first);
    return left;
}

/// The same of a dry layer, in which nothing is left but by a factor that isn't finite.
template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> settleDry(const Group& g, Decay* rules, double volume, double* thisMass) {
    const Lanes<N> mixed = fill<N>(0.0);
    if (reacts<N>(rules + g.first)) {
        const Lanes<N> left = react<N>(g, rules + g.first, mixed);
        if (!still_areZeros(left.data(), N)) {
            bookReacted<N>(g, mixed, left, volume);
            copy<N>(carry<N>(volume, left), thisMass + g.first);
            return left;
        }
    }
    const Lanes<N> nothing = fill<N>(0.0 * volume);
    add<N>(g.unit.reactedLoad + g.first, nothing);
    copy<N>(nothing, thisMass + g.first);
    return mixed;
}

// --- layers --------------------------------------------------------------------------------------------------------

/// A layer on the way down.
template <size_t N>
struct Layer {
    double volume;  ///< m3, at the start of the step
    Lanes<N> out;   ///< kg, leaving downward
    Lanes<N> mass;  ///< kg, in the layer behind that; not of a dry one
};

template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> getConcentrations(const double* mass, double volume) {
    Lanes<N> concentrations;
    for (size_t p = 0; p < N; ++p) {
        concentrations[p] = mass[p] / volume * G_PER_KG;
    }
    return concentrations;
}

/// Passes down what a rate (m/s) takes out of soil or pavement.
template <size_t N>
[[gnu::always_inline]] static inline Layer<N> passDown(const Group& g, double volume, const double* lastMass,
                                                       const Lanes<N>& in, double rate) {
    if (isDry(volume)) {
        return {volume, in, in};
    }
    const double* mass = lastMass + g.first;
    Layer<N> layer;
    layer.volume = volume;
    layer.out = carry<N>(rate * g.unit.area * g.s.dt, getConcentrations<N>(mass, volume));
    for (size_t p = 0; p < N; ++p) {
        layer.mass[p] = in[p] + mass[p] - layer.out[p];
    }
    return layer;
}

/// The same of the surface, which water leaves downward and over the berm. What comes in is a load over the step.
template <size_t N>
[[gnu::always_inline]] static inline Layer<N> passSurface(const Group& g, double volume, const Lanes<N>& in,
                                                          double infilRate) {
    if (isDry(volume)) {
        return {volume, in, in};
    }
    const double* mass = g.unit.lastSurfaceMass + g.first;
    const Lanes<N> c = getConcentrations<N>(mass, volume);
    const Lanes<N> over = carry<N>(g.s.surfaceOutflow * g.unit.area * g.s.dt, c);
    Layer<N> layer;
    layer.volume = volume;
    layer.out = carry<N>(infilRate * g.unit.area * g.s.dt, c);
    for (size_t p = 0; p < N; ++p) {
        layer.mass[p] = in[p] + mass[p] - layer.out[p] - over[p];
    }
    return layer;
}

/// What stays in a layer reacts.
template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> settle(const Group& g, Decay* rules, const Layer<N>& layer,
                                                     double* thisMass) {
    return isDry(layer.volume) ? settleDry<N>(g, rules, layer.volume, thisMass)
                               : settleWet<N>(g, rules, layer.volume, layer.mass, thisMass);
}

/// Gives the concentration after the reaction, mg/L, with which water goes over the berm.
template <size_t N>
[[gnu::always_inline]] static inline Lanes<N> settleSurface(const Group& g, const Layer<N>& layer) {
    const Lanes<N> left = settle<N>(g, g.lid.surfaceDecay, layer, g.unit.thisSurfaceMass);
    const double rate = g.s.surfaceOutflow, area = g.unit.area;
    add<N>(g.unit.surfaceOutLoad + g.first, carry<N>(rate * area * g.s.dt, left));
    copy<N>(carry<N>(rate * area, left), g.unit.thisSurfaceLoad + g.first);
    return left;
}

/// A storage that holds water: seepage and drain take their shares of what stood in it before what arrives, and carry
/// the concentration after the reaction.
template <size_t N>
[[gnu::always_inline]] static inline void settleWetStorage(const Group& g, double volume, const Lanes<N>& in) {
    LidUnit& unit = g.unit;
    const double* last = unit.lastStorageMass + g.first;
    const double drainFlow = g.s.storageDrain * unit.area;
    const double exfil = g.s.storageExfil * unit.area * g.s.dt;
    const double drain = drainFlow * g.s.dt;
    const Lanes<N> c = getConcentrations<N>(last, volume);
    const Lanes<N> drained = carry<N>(drain, c), seeped = carry<N>(exfil, c);
    Lanes<N> mass;
    for (size_t p = 0; p < N; ++p) {
        mass[p] = last[p] + in[p] - drained[p] - seeped[p];
    }
    const Lanes<N> left = settleWet<N>(g, g.lid.storageDecay, volume, mass, unit.thisStorageMass);
    add<N>(unit.exfilLoad + g.first, carry<N>(exfil, left));
    add<N>(unit.drainOutLoad + g.first, carry<N>(drain, left));
    copy<N>(carry<N>(drainFlow, left), unit.thisDrainLoad + g.first);
}

/// A storage next to empty: what arrives leaves at once, by the ways that water takes. Without any it is in no total.
template <size_t N>
[[gnu::always_inline]] static inline void settleDryStorage(const Group& g, const Lanes<N>& in) {
    LidUnit& unit = g.unit;
    const double dt = g.s.dt;
    const double out = g.s.storageExfil + g.s.storageDrain;
    copy<N>(fill<N>(0.0), unit.thisStorageMass + g.first);
    if (g.lid.type != LID_GR && !(out > 0.0)) {
        return;
    }
    Lanes<N> drained = in, load;
    for (size_t p = 0; p < N && g.lid.type != LID_GR; ++p) {
        drained[p] = in[p] * g.s.storageDrain / out;
        unit.exfilLoad[g.first + p] += in[p] - drained[p];
    }
    for (size_t p = 0; p < N; ++p) {
        load[p] = drained[p] / dt;
    }
    add<N>(unit.drainOutLoad + g.first, drained);
    copy<N>(load, unit.thisDrainLoad + g.first);
}

// --- types ---------------------------------------------------------------------------------------------------------

/// A stack of layers: all types but barrel and swale. `in` is the load that arrives over the step, kg.
template <size_t N, bool HAS_SOIL, bool HAS_PAVEMENT>
[[gnu::always_inline]] static inline void moveThroughStack(const Group& g, const Lanes<N>& in) {
    const Lid& lid = g.lid;
    LidUnit& unit = g.unit;
    const double storageVolume = unit.area * unit.storageLevel * lid.storageVoid;
    const Layer<N> surface = passSurface<N>(g, unit.area * unit.surfaceLevel * lid.surfaceVoid, in, g.s.surfaceInfil);
    Layer<N> pavement{}, soil{};
    Lanes<N> down = surface.out;
    if constexpr (HAS_PAVEMENT) {
        const double volume = unit.area * unit.pavementLevel * lid.pavementVoid;
        pavement = passDown<N>(g, volume, unit.lastPavementMass, down, g.s.pavementPerc);
        down = pavement.out;
    }
    if constexpr (HAS_SOIL) {
        soil = passDown<N>(g, unit.area * unit.soilMoisture * lid.soilDepth, unit.lastSoilMass, down, g.s.soilPerc);
        down = soil.out;
    }
    if (isDry(storageVolume)) {
        settleDryStorage<N>(g, down);
    } else {
        settleWetStorage<N>(g, storageVolume, down);
    }
    if constexpr (HAS_SOIL) {
        settle<N>(g, lid.soilDecay, soil, unit.thisSoilMass);
    }
    if constexpr (HAS_PAVEMENT) {
        settle<N>(g, lid.pavementDecay, pavement, unit.thisPavementMass);
    }
    settleSurface<N>(g, surface);
}

/// A swale has its surface alone, and seeps from it.
template <size_t N>
[[gnu::always_inline]] static inline void moveThroughSwale(const Group& g, const Lanes<N>& in) {
    const double volume = g.unit.area * g.unit.surfaceLevel * g.lid.surfaceVoid;
    const Lanes<N> left = settleSurface<N>(g, passSurface<N>(g, volume, in, g.s.storageExfil));
    add<N>(g.unit.exfilLoad + g.first, carry<N>(g.s.storageExfil * g.unit.area * g.s.dt, left));
}

/// A barrel has its storage alone; what doesn't fit in goes over its rim with the inflow's concentration.
template <size_t N>
[[gnu::always_inline]] static inline void moveThroughBarrel(const Group& g, const Lanes<N>& arriving) {
    LidUnit& unit = g.unit;
    const LidStep& s = g.s;
    const double volume = unit.area * unit.storageLevel * g.lid.storageVoid;
    const double* load = unit.load + g.first;
    Lanes<N> in = fill<N>(0.0), over = in, overLoad = in;
    if (s.inflow * unit.area * s.dt > MIN_VOLUME) {
        for (size_t p = 0; p < N; ++p) {
            in[p] = arriving[p] * s.storageInflow / s.inflow;
            over[p] = arriving[p] * s.surfaceOutflow / s.inflow;
            overLoad[p] = s.surfaceOutflow * load[p] / s.inflow;
        }
        add<N>(unit.surfaceOutLoad + g.first, over);
    }
    copy<N>(overLoad, unit.thisSurfaceLoad + g.first);
    if (!isDry(volume)) {
        settleWetStorage<N>(g, volume, in);
        return;
    }
    copy<N>(fill<N>(0.0), unit.thisStorageMass + g.first);
    add<N>(unit.drainOutLoad + g.first, in);
    // Unlike the balance above it, this load doesn't ask how much came in.
    for (size_t p = 0; p < N; ++p) {
        unit.thisDrainLoad[g.first + p] = s.inflow != 0.0 ? s.storageInflow * load[p] / s.inflow : 0.0;
    }
}

template <size_t N>
[[gnu::noinline]] static void advance(const Group& g) {
    LidUnit& unit = g.unit;
    Lanes<N> in;
    for (size_t p = 0; p < N; ++p) {
        in[p] = g.s.dt * unit.load[g.first + p];
    }
    add<N>(unit.inflowLoad + g.first, in);
    switch (g.lid.type) {
        case LID_RB: moveThroughBarrel<N>(g, in); break;
        case LID_VS: moveThroughSwale<N>(g, in); break;
        case LID_IT: moveThroughStack<N, false, false>(g, in); break;
        case LID_PP: moveThroughStack<N, true, true>(g, in); break;
        default: moveThroughStack<N, true, false>(g, in); break;
    }
    for (size_t p = g.first; p < g.first + N; ++p) {
        unit.finalLoad[p] =
            unit.thisSurfaceMass[p] + unit.thisPavementMass[p] + unit.thisSoilMass[p] + unit.thisStorageMass[p];
    }
}

void lidquality_advance(const Model& model, const LidStep& s) {
    const size_t count = static_cast<size_t>(model_pollutantCount(model));
    for (size_t first = 0; first < count; first += 4) {
        const Group group = {model, s, *s.lid, *s.unit, first};
        switch (count - first) {
            case 1: advance<1>(group); break;
            case 2: advance<2>(group); break;
            case 3: advance<3>(group); break;
            default: advance<4>(group); break;
        }
    }
}

void lidquality_dry(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt) {
    const double volume = unit.area * unit.soilMoisture * lid.soilDepth;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const double mass = unit.lastSoilMass[p] = unit.thisSoilMass[p];
        if (mass == 0.0) {
            continue;
        }
        const double mixed = isDry(volume) ? 0.0 : getMixed(mass, volume);
        const double left = decay_react(model, lid.soilDecay[p], mixed, hour, dt);
        unit.reactedLoad[p] += (mixed - left) * volume / G_PER_KG;
        unit.thisSoilMass[p] = left * volume / G_PER_KG;
        unit.finalLoad[p] = unit.thisSoilMass[p];
    }
}
