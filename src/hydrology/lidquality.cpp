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

#include "hydrology/lidlanes.h"
#include "model/decay.h"
#include "model/model.h"
#include "model/pattern.h"
#include "model/project.h"
#include "model/still.h"
#include "text/units.h"

static constexpr double MIN_VOLUME = 0.01;  ///< m3, below which a layer counts as dry

// --- concentrations ------------------------------------------------------------------------------------------------

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

/// Concentration of a mass (kg) in a layer that isn't dry, mg/L.
template <size_t N>
static inline LidLanes<N> getConcentration(const LidLanes<N>& mass, double volume) {
    return mass / volume * G_PER_KG;
}

/// What water (m3) carries at a concentration (mg/L), kg; of a flow (m3/s) kg/s.
template <size_t N>
static inline LidLanes<N> carry(double water, const LidLanes<N>& concentration) {
    return concentration * water / G_PER_KG;
}

// --- reactions -----------------------------------------------------------------------------------------------------

/// Whether no pollutant reacts in another way than by a factor that was worked out for this hour and step before.
template <size_t N>
[[gnu::always_inline]] static inline bool areFactorsKnown(const Group& g, const Decay* rules) {
    bool areKnown = true;
    for (size_t p = 0; p < N; ++p) {
        const Decay& rule = rules[p];
        if (rule.type >= 0) {
            const double factor = rule.pattern < 0 ? 1.0 : pattern_getFactor(g.model, rule.pattern, g.s.hour);
            const double k = factor * rule.k;
            areKnown =
                areKnown && rule.type == FIRST_ORDER && still_getBits(-g.s.dt * k) == still_getBits(rule.exponent);
        }
    }
    return areKnown;
}

/// Reaction one by one, the rules of which keep their factors from now on.
[[gnu::noinline]] static void reactEach(const Group& g, Decay* rules, double* concentrations, size_t count) {
    for (size_t p = 0; p < count; ++p) {
        concentrations[p] = decay_react(g.model, rules[p], concentrations[p], g.s.hour, g.s.dt);
    }
}

/// What a reaction leaves of concentrations. What doesn't react is multiplied by 1.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> react(const Group& g, Decay* rules, const LidLanes<N>& mixed) {
    int32_t types = -1;
    for (size_t p = 0; p < N; ++p) {
        types &= rules[p].type;  // negative as long as all are, which is no reaction
    }
    if (types < 0) {
        return mixed;
    }
    if (areFactorsKnown<N>(g, rules)) {
        return mixed * lidlanes_pick<N>([rules](size_t p) { return rules[p].type < 0 ? 1.0 : rules[p].factor; });
    }
    double concentrations[N];
    lidlanes_store<N>(concentrations, mixed);
    reactEach(g, rules, concentrations, N);
    return lidlanes_load<N>(concentrations);
}

/// Lets a layer react that isn't dry, from the mass in it (kg), and gives the concentration that is left, mg/L. The
/// mass that is left goes to `thisMass`.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> settleWet(const Group& g, Decay* rules, double volume,
                                                           const LidLanes<N>& mass, double* thisMass) {
    const LidLanes<N> mixed = lidlanes_limitBelow<N>(getConcentration<N>(mass, volume));
    const LidLanes<N> left = react<N>(g, rules + g.first, mixed);
    lidlanes_add<N>(g.unit.reactedLoad + g.first, (mixed - left) * volume / G_PER_KG);
    lidlanes_store<N>(thisMass + g.first, carry<N>(volume, left));
    return left;
}

/// The same of a dry layer, in which nothing is left but by a factor that isn't finite.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> settleDry(const Group& g, Decay* rules, double volume,
                                                           double* thisMass) {
    const LidLanes<N> mixed = lidlanes_fill<N>(0.0);
    const LidLanes<N> left = react<N>(g, rules + g.first, mixed);
    double concentrations[N];
    lidlanes_store<N>(concentrations, left);
    if (still_areZeros(concentrations, N)) {
        const LidLanes<N> nothing = lidlanes_fill<N>(0.0 * volume);
        lidlanes_add<N>(g.unit.reactedLoad + g.first, nothing);
        lidlanes_store<N>(thisMass + g.first, nothing);
    } else {
        lidlanes_add<N>(g.unit.reactedLoad + g.first, (mixed - left) * volume / G_PER_KG);
        lidlanes_store<N>(thisMass + g.first, carry<N>(volume, left));
    }
    return left;
}

/// What stays in a layer reacts. `mass` is asked for in one that isn't dry.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> settle(const Group& g, Decay* rules, double volume,
                                                        const LidLanes<N>& mass, double* thisMass) {
    return isDry(volume) ? settleDry<N>(g, rules, volume, thisMass) : settleWet<N>(g, rules, volume, mass, thisMass);
}

// --- layers --------------------------------------------------------------------------------------------------------

/// Soil or pavement, out of which a rate (m/s) takes water. `down` is what comes in from above at first, kg, and what
/// leaves downward in the end. Gives the mass that stays, unless the layer is dry.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> passDown(const Group& g, double volume, const double* lastMass,
                                                          double rate, LidLanes<N>& down) {
    if (isDry(volume)) {
        return down;
    }
    const LidLanes<N> last = lidlanes_load<N>(lastMass + g.first);
    const LidLanes<N> out = carry<N>(rate * g.unit.area * g.s.dt, getConcentration<N>(last, volume));
    const LidLanes<N> mass = down + last - out;
    down = out;
    return mass;
}

/// The same of the surface, which water leaves downward and over the berm. What comes in is a load over the step.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> passSurface(const Group& g, double volume, double infilRate,
                                                             LidLanes<N>& down) {
    if (isDry(volume)) {
        return down;
    }
    const LidLanes<N> last = lidlanes_load<N>(g.unit.lastSurfaceMass + g.first);
    const LidLanes<N> c = getConcentration<N>(last, volume);
    const LidLanes<N> out = carry<N>(infilRate * g.unit.area * g.s.dt, c);
    const LidLanes<N> mass = down + last - out - carry<N>(g.s.surfaceOutflow * g.unit.area * g.s.dt, c);
    down = out;
    return mass;
}

/// Water goes over the berm with the concentration after the reaction, which is given.
template <size_t N>
[[gnu::always_inline]] static inline LidLanes<N> settleSurface(const Group& g, double volume, const LidLanes<N>& mass) {
    const double over = g.s.surfaceOutflow * g.unit.area;
    const LidLanes<N> left = settle<N>(g, g.lid.surfaceDecay, volume, mass, g.unit.thisSurfaceMass);
    lidlanes_add<N>(g.unit.surfaceOutLoad + g.first, carry<N>(over * g.s.dt, left));
    lidlanes_store<N>(g.unit.thisSurfaceLoad + g.first, carry<N>(over, left));
    return left;
}

/// A storage that holds water: seepage and drain take their shares of what stood in it before what arrives, and carry
/// the concentration after the reaction.
template <size_t N>
[[gnu::always_inline]] static inline void settleWetStorage(const Group& g, double volume, const LidLanes<N>& in) {
    LidUnit& unit = g.unit;
    const double drainFlow = g.s.storageDrain * unit.area;
    const double exfil = g.s.storageExfil * unit.area * g.s.dt;
    const double drain = drainFlow * g.s.dt;
    const LidLanes<N> last = lidlanes_load<N>(unit.lastStorageMass + g.first);
    const LidLanes<N> c = getConcentration<N>(last, volume);
    const LidLanes<N> mass = last + in - carry<N>(drain, c) - carry<N>(exfil, c);
    const LidLanes<N> left = settleWet<N>(g, g.lid.storageDecay, volume, mass, unit.thisStorageMass);
    lidlanes_add<N>(unit.exfilLoad + g.first, carry<N>(exfil, left));
    lidlanes_add<N>(unit.drainOutLoad + g.first, carry<N>(drain, left));
    lidlanes_store<N>(unit.thisDrainLoad + g.first, carry<N>(drainFlow, left));
}

/// A storage next to empty: what arrives leaves at once, by the ways that water takes. Without any it is in no total.
template <size_t N>
[[gnu::always_inline]] static inline void settleDryStorage(const Group& g, const LidLanes<N>& in) {
    LidUnit& unit = g.unit;
    const double out = g.s.storageExfil + g.s.storageDrain;
    lidlanes_store<N>(unit.thisStorageMass + g.first, lidlanes_fill<N>(0.0));
    if (g.lid.type == LID_GR) {
        lidlanes_add<N>(unit.drainOutLoad + g.first, in);
        lidlanes_store<N>(unit.thisDrainLoad + g.first, in / g.s.dt);
    } else if (out > 0.0) {
        const LidLanes<N> drained = in * g.s.storageDrain / out;
        lidlanes_add<N>(unit.drainOutLoad + g.first, drained);
        lidlanes_store<N>(unit.thisDrainLoad + g.first, drained / g.s.dt);
        lidlanes_add<N>(unit.exfilLoad + g.first, in - drained);
    }
}

// --- types ---------------------------------------------------------------------------------------------------------

/// A stack of layers: all types but barrel and swale. `down` is the load that arrives over the step, kg.
template <size_t N, bool HAS_SOIL, bool HAS_PAVEMENT>
[[gnu::always_inline]] static inline void moveThroughStack(const Group& g, LidLanes<N> down) {
    const Lid& lid = g.lid;
    LidUnit& unit = g.unit;
    const double surfaceVolume = unit.area * unit.surfaceLevel * lid.surfaceVoid;
    const double pavementVolume = unit.area * unit.pavementLevel * lid.pavementVoid;
    const double soilVolume = unit.area * unit.soilMoisture * lid.soilDepth;
    const double storageVolume = unit.area * unit.storageLevel * lid.storageVoid;
    const LidLanes<N> surface = passSurface<N>(g, surfaceVolume, g.s.surfaceInfil, down);
    LidLanes<N> pavement = down, soil = down;
    if constexpr (HAS_PAVEMENT) {
        pavement = passDown<N>(g, pavementVolume, unit.lastPavementMass, g.s.pavementPerc, down);
    }
    if constexpr (HAS_SOIL) {
        soil = passDown<N>(g, soilVolume, unit.lastSoilMass, g.s.soilPerc, down);
    }
    if (isDry(storageVolume)) {
        settleDryStorage<N>(g, down);
    } else {
        settleWetStorage<N>(g, storageVolume, down);
    }
    if constexpr (HAS_SOIL) {
        settle<N>(g, lid.soilDecay, soilVolume, soil, unit.thisSoilMass);
    }
    if constexpr (HAS_PAVEMENT) {
        settle<N>(g, lid.pavementDecay, pavementVolume, pavement, unit.thisPavementMass);
    }
    settleSurface<N>(g, surfaceVolume, surface);
}

/// A swale has its surface alone, and seeps from it.
template <size_t N>
[[gnu::always_inline]] static inline void moveThroughSwale(const Group& g, LidLanes<N> down) {
    const double volume = g.unit.area * g.unit.surfaceLevel * g.lid.surfaceVoid;
    const LidLanes<N> surface = passSurface<N>(g, volume, g.s.storageExfil, down);
    const LidLanes<N> left = settleSurface<N>(g, volume, surface);
    lidlanes_add<N>(g.unit.exfilLoad + g.first, carry<N>(g.s.storageExfil * g.unit.area * g.s.dt, left));
}

/// A barrel has its storage alone; what doesn't fit in goes over its rim with the inflow's concentration.
template <size_t N>
[[gnu::always_inline]] static inline void moveThroughBarrel(const Group& g, const LidLanes<N>& arriving) {
    LidUnit& unit = g.unit;
    const LidStep& s = g.s;
    const double volume = unit.area * unit.storageLevel * g.lid.storageVoid;
    const LidLanes<N> load = lidlanes_load<N>(unit.load + g.first);
    LidLanes<N> in = lidlanes_fill<N>(0.0), over = in;
    if (s.inflow * unit.area * s.dt > MIN_VOLUME) {
        in = arriving * s.storageInflow / s.inflow;
        over = load * s.surfaceOutflow / s.inflow;
        lidlanes_add<N>(unit.surfaceOutLoad + g.first, arriving * s.surfaceOutflow / s.inflow);
    }
    lidlanes_store<N>(unit.thisSurfaceLoad + g.first, over);
    if (!isDry(volume)) {
        settleWetStorage<N>(g, volume, in);
        return;
    }
    lidlanes_store<N>(unit.thisStorageMass + g.first, lidlanes_fill<N>(0.0));
    lidlanes_add<N>(unit.drainOutLoad + g.first, in);
    // Unlike the balance above it, this load doesn't ask how much came in.
    lidlanes_store<N>(unit.thisDrainLoad + g.first,
                      s.inflow != 0.0 ? load * s.storageInflow / s.inflow : lidlanes_fill<N>(0.0));
}

template <size_t N>
[[gnu::noinline]] static void advance(const Model& model, const LidStep& s, size_t first) {
    LidUnit& unit = *s.unit;
    const Group g = {model, s, *s.lid, unit, first};
    const LidLanes<N> in = lidlanes_load<N>(unit.load + first) * s.dt;
    lidlanes_add<N>(unit.inflowLoad + first, in);
    switch (s.lid->type) {
        case LID_RB: moveThroughBarrel<N>(g, in); break;
        case LID_VS: moveThroughSwale<N>(g, in); break;
        case LID_IT: moveThroughStack<N, false, false>(g, in); break;
        case LID_PP: moveThroughStack<N, true, true>(g, in); break;
        default: moveThroughStack<N, true, false>(g, in); break;
    }
    lidlanes_store<N>(unit.finalLoad + first,
                      lidlanes_load<N>(unit.thisSurfaceMass + first) + lidlanes_load<N>(unit.thisPavementMass + first) +
                          lidlanes_load<N>(unit.thisSoilMass + first) + lidlanes_load<N>(unit.thisStorageMass + first));
}

/// More pollutants than go side by side.
[[gnu::noinline]] static void advanceMany(const Model& model, const LidStep& s, size_t count) {
    lidlanes_visit(count, [&]<size_t N>(size_t first) { advance<N>(model, s, first); });
}

void lidquality_advance(const Model& model, const LidStep& s) {
    const size_t count = static_cast<size_t>(model_pollutantCount(model));
    switch (count) {
        case 0: break;
        case 1: advance<1>(model, s, 0); break;
        case 2: advance<2>(model, s, 0); break;
        case 3: advance<3>(model, s, 0); break;
        case 4: advance<4>(model, s, 0); break;
        default: advanceMany(model, s, count); break;
    }
}

// --- a drying soil -------------------------------------------------------------------------------------------------

/// One by one, since those of which there is nothing are left alone.
[[gnu::noinline]] static void dryEach(const Group& g, double volume, size_t count) {
    for (size_t p = g.first; p < g.first + count; ++p) {
        const double mass = g.unit.thisSoilMass[p];
        if (mass == 0.0) {
            continue;
        }
        const double mixed = isDry(volume) ? 0.0 : std::max(mass / volume * G_PER_KG, 0.0);
        const double left = decay_react(g.model, g.lid.soilDecay[p], mixed, g.s.hour, g.s.dt);
        g.unit.reactedLoad[p] += (mixed - left) * volume / G_PER_KG;
        g.unit.thisSoilMass[p] = left * volume / G_PER_KG;
        g.unit.finalLoad[p] = g.unit.thisSoilMass[p];
    }
}

template <size_t N>
[[gnu::noinline]] static void dry(const Model& model, const LidStep& s, double volume, size_t first) {
    LidUnit& unit = *s.unit;
    const Group g = {model, s, *s.lid, unit, first};
    const LidLanes<N> mass = lidlanes_load<N>(unit.thisSoilMass + first);
    for (size_t p = first; p < first + N; ++p) {
        if (unit.thisSoilMass[p] == 0.0) {
            dryEach(g, volume, N);
            return;
        }
    }
    if (isDry(volume)) {
        settleDry<N>(g, g.lid.soilDecay, volume, unit.thisSoilMass);
    } else {
        settleWet<N>(g, g.lid.soilDecay, volume, mass, unit.thisSoilMass);
    }
    lidlanes_store<N>(unit.finalLoad + first, lidlanes_load<N>(unit.thisSoilMass + first));
}

void lidquality_dry(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt) {
    const size_t count = static_cast<size_t>(model_pollutantCount(model));
    bool isAny = false;
    for (size_t p = 0; p < count; ++p) {
        isAny = isAny || unit.thisSoilMass[p] != 0.0;
        unit.lastSoilMass[p] = unit.thisSoilMass[p];
    }
    if (!isAny) {
        return;
    }
    const double volume = unit.area * unit.soilMoisture * lid.soilDepth;
    LidStep s;
    s.unit = &unit;
    s.lid = &lid;
    s.hour = hour;
    s.dt = dt;
    lidlanes_visit(count, [&]<size_t N>(size_t first) { dry<N>(model, s, volume, first); });
}

// --- a drying surface ----------------------------------------------------------------------------------------------

static constexpr double LARGEST_MASS = 1e200;  ///< kg, from which a concentration may be infinite

/// By their bits as integers, negative numbers and what is none are larger than any other.
bool lidquality_isOrdinary(const double* masses, int64_t count) {
    bool isOrdinary = true;
    for (int64_t k = 0; k < count; ++k) {
        isOrdinary &= still_getBits(masses[k]) < still_getBits(LARGEST_MASS);
    }
    return isOrdinary;
}

template <size_t N>
[[gnu::always_inline]] static inline bool areOrdinary(const double* masses) {
    bool areSo = true;
    for (size_t p = 0; p < N; ++p) {
        areSo &= still_getBits(masses[p]) < still_getBits(LARGEST_MASS);
    }
    return areSo;
}

/// A flow of 0 carries nothing at any concentration that is finite and not negative, so that surface and soil keep what
/// they have but for the reaction, which alone can make another of it. What stands in the other layers is 0. Whether
/// the masses are ordinary after it: if not, what a flow of 0 carries over the surface is written down.
template <size_t N>
[[gnu::noinline]] static bool dryPond(const Model& model, const LidStep& s, size_t first) {
    LidUnit& unit = *s.unit;
    const Group g = {model, s, *s.lid, unit, first};
    const double surfaceVolume = unit.area * unit.surfaceLevel * g.lid.surfaceVoid;
    const double soilVolume = unit.area * unit.soilMoisture * g.lid.soilDepth;
    const LidLanes<N> surface = lidlanes_load<N>(unit.thisSurfaceMass + first);
    const LidLanes<N> soil = lidlanes_load<N>(unit.thisSoilMass + first);
    lidlanes_store<N>(unit.lastSurfaceMass + first, surface);
    lidlanes_store<N>(unit.lastSoilMass + first, soil);
    settle<N>(g, g.lid.soilDecay, soilVolume, soil, unit.thisSoilMass);
    const LidLanes<N> left = settle<N>(g, g.lid.surfaceDecay, surfaceVolume, surface, unit.thisSurfaceMass);
    lidlanes_store<N>(unit.finalLoad + first,
                      lidlanes_load<N>(unit.thisSurfaceMass + first) + lidlanes_load<N>(unit.thisSoilMass + first));
    if (areOrdinary<N>(unit.thisSurfaceMass + first) && areOrdinary<N>(unit.thisSoilMass + first)) {
        return true;
    }
    lidlanes_add<N>(unit.surfaceOutLoad + first, carry<N>(0.0, left));
    lidlanes_store<N>(unit.thisSurfaceLoad + first, carry<N>(0.0, left));
    return false;
}

bool lidquality_dryPond(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt) {
    LidStep s;
    s.unit = &unit;
    s.lid = &lid;
    s.hour = hour;
    s.dt = dt;
    bool areAllOrdinary = true;
    lidlanes_visit(static_cast<size_t>(model_pollutantCount(model)),
                   [&]<size_t N>(size_t first) { areAllOrdinary &= dryPond<N>(model, s, first); });
    return areAllOrdinary;
}

// --- standing water ------------------------------------------------------------------------------------------------

/// No flow leaves the storage, and nothing is anywhere else.
template <size_t N>
[[gnu::noinline]] static void stand(const Model& model, const LidStep& s, double volume, size_t first) {
    LidUnit& unit = *s.unit;
    const Group g = {model, s, *s.lid, unit, first};
    settleWetStorage<N>(g, volume, lidlanes_fill<N>(0.0));
    lidlanes_store<N>(unit.finalLoad + first, lidlanes_load<N>(unit.thisStorageMass + first));
}

void lidquality_stand(const Model& model, LidUnit& unit, const Lid& lid, int32_t hour, double dt) {
    const size_t count = static_cast<size_t>(model_pollutantCount(model));
    std::copy_n(unit.thisStorageMass, count, unit.lastStorageMass);
    const double volume = unit.area * unit.storageLevel * lid.storageVoid;
    if (isDry(volume)) {
        return;  // nothing is in it
    }
    LidStep s;
    s.unit = &unit;
    s.lid = &lid;
    s.hour = hour;
    s.dt = dt;
    s.storageDrain = s.storageExfil = 0.0;
    lidlanes_visit(count, [&]<size_t N>(size_t first) { stand<N>(model, s, volume, first); });
}
