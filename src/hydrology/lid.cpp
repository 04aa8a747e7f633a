// Definitions of LID controls: what the project file says of their layers, and what is made of it before a run. The
// reader and the validation call this room. A unit of a control stands in the room lidunit; what happens in its layers
// over a step, in lidsolver, lidrates and lidquality.

#include "hydrology/lid.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "model/arena.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "model/warnings.h"
#include "text/units.h"

static const char* const TypeWords[] = {"BC", "RG", "GR", "IT", "PP", "RB", "VS", nullptr};

static const char* const LayerWords[] = {"SURFACE", "SOIL", "STORAGE", "PAVEMENT", "DRAINMAT", "DRAIN", nullptr};

// --- table ---------------------------------------------------------------------------------------------------------

/// The five arrays of rules of a definition, one rule per pollutant.
static bool createRules(Model& model, Lid& lid) {
    for (Decay** rules : {&lid.surfaceDecay, &lid.pavementDecay, &lid.soilDecay, &lid.storageDecay, &lid.matDecay}) {
        *rules = arena_allocateArray<Decay>(model.memory.project, model_pollutantCount(model));
        if (!*rules) {
            return false;
        }
        std::fill_n(*rules, model_pollutantCount(model), NO_DECAY);
    }
    return true;
}

void lid_createAll(Model& model) {
    Lid plain{};
    plain.type = -1;
    plain.surfaceVoid = 1.0;
    model.lids.fill(model.counts.objects[LID], plain);
    for (Lid& lid : model.lids) {
        if (!createRules(model, lid)) {
            model.error.code = ERR_MEMORY;
            return;
        }
    }
}

// --- definitions ---------------------------------------------------------------------------------------------------

/// Reads `count` numbers that must not be negative, from token 2 on.
static int32_t readNumbers(Model& model, const Tokens& tokens, double* values, int32_t count) {
    for (int32_t k = 0; k < count; ++k) {
        if (!tokens_getNonNegative(tokens[2 + k], &values[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[2 + k]);
        }
    }
    return ERR_NONE;
}

static constexpr int32_t SoilRanges[] = {PLAUSIBLE_SOIL_DEPTH,        PLAUSIBLE_POROSITY,
                                         PLAUSIBLE_FIELD_CAPACITY,    PLAUSIBLE_WILTING_POINT,
                                         PLAUSIBLE_SOIL_CONDUCTIVITY, PLAUSIBLE_CONDUCTIVITY_SLOPE};
static constexpr int32_t StorageRanges[] = {PLAUSIBLE_STORAGE_DEPTH, PLAUSIBLE_VOID_RATIO};
static constexpr int32_t PavementRanges[] = {PLAUSIBLE_PAVEMENT_DEPTH, PLAUSIBLE_PAVEMENT_VOID, PLAUSIBLE_PERMEABILITY};
static constexpr int32_t MatRanges[] = {PLAUSIBLE_MAT_DEPTH, PLAUSIBLE_MAT_VOID};

/// The items of a layer, from token 2 on, against what is usual of each. A thickness of 0 is no layer.
template <size_t count>
static void checkLayer(const Model& model, const Lid& lid, const double* v, const int32_t (&ranges)[count]) {
    for (size_t k = 0; k < count && v[0] != 0.0; ++k) {
        plausible_check(model, ranges[k], v[k], static_cast<int32_t>(k) + 2, lid.name);
    }
}

static int32_t readSurface(Model& model, const Tokens& tokens, Lid& lid) {
    double depth, fraction, rest[3];
    if (!tokens_getNonNegative(tokens[2], &depth)) {
        return errors_setName(model, ERR_NUMBER, tokens[2]);
    }
    if (!tokens_getNonNegative(tokens[3], &fraction) || !(fraction < 1.0)) {
        return errors_setName(model, ERR_NUMBER, tokens[3]);
    }
    for (int32_t k = 0; k < 3; ++k) {
        if (!tokens_getNonNegative(tokens[4 + k], &rest[k])) {
            return errors_setName(model, ERR_NUMBER, tokens[4 + k]);
        }
    }
    plausible_checkSet(model, PLAUSIBLE_BERM, depth, 2, lid.name);
    plausible_check(model, PLAUSIBLE_PLANTS, fraction, 3, lid.name);
    plausible_checkSet(model, PLAUSIBLE_LID_ROUGHNESS, rest[0], 4, lid.name);
    plausible_checkSet(model, PLAUSIBLE_LID_SLOPE, rest[1], 5, lid.name);
    plausible_check(model, PLAUSIBLE_SIDE_SLOPE, rest[2], 6, lid.name);
    if (depth == 0.0 && fraction > 0.0) {
        warnings_addAtLine(model, WARN_LID_PLANTS, SEVERITY_NOTE, 3, lid.name, {"without a berm height"});
    }
    lid.surfaceDepth = depth / MM_PER_M;
    lid.surfaceVoid = depth == 0.0 ? 1.0 : 1.0 - fraction;
    lid.surfaceRoughness = rest[0];
    lid.surfaceSlope = rest[1] / PERCENT;
    lid.sideSlope = rest[2];
    return ERR_NONE;
}

static int32_t readSoil(Model& model, const Tokens& tokens, Lid& lid) {
    double v[6];
    if (const int32_t error = readNumbers(model, tokens, v, 6)) {
        return error;
    }
    checkLayer(model, lid, v, SoilRanges);
    lid.soilDepth = v[0] / MM_PER_M;
    lid.porosity = v[1];
    lid.fieldCapacity = v[2];
    lid.wiltingPoint = v[3];
    lid.soilRate = v[4] / MM_PER_HOUR;
    lid.soilSlope = v[5];
    return ERR_NONE;
}

/// Where the numbers of a porous layer go.
struct PorousLayer {
    double Lid::*depth;
    double Lid::*voidShare;
    double Lid::*rate;
};

/// Storage or pavement, whose numbers are left in `v`. The void ratio is voids per solids, kept as voids per whole.
static int32_t readPorousLayer(Model& model, const Tokens& tokens, Lid& lid, const PorousLayer& layer, double (&v)[3]) {
    if (const int32_t error = readNumbers(model, tokens, v, 3)) {
        return error;
    }
    lid.*layer.depth = v[0] / MM_PER_M;
    lid.*layer.voidShare = v[1] / (v[1] + 1.0);
    lid.*layer.rate = v[2] / MM_PER_HOUR;
    return ERR_NONE;
}

static int32_t readStorage(Model& model, const Tokens& tokens, Lid& lid) {
    double v[3];
    const int32_t error =
        readPorousLayer(model, tokens, lid, {&Lid::storageDepth, &Lid::storageVoid, &Lid::storageRate}, v);
    if (!error) {
        checkLayer(model, lid, v, StorageRanges);
        plausible_checkSet(model, PLAUSIBLE_SEEPAGE, v[2], 4, lid.name);
    }
    return error;
}

static int32_t readPavement(Model& model, const Tokens& tokens, Lid& lid) {
    double v[3];
    const int32_t error =
        readPorousLayer(model, tokens, lid, {&Lid::pavementDepth, &Lid::pavementVoid, &Lid::pavementRate}, v);
    if (!error) {
        checkLayer(model, lid, v, PavementRanges);
    }
    return error;
}

static int32_t readMat(Model& model, const Tokens& tokens, Lid& lid) {
    double v[3];
    if (const int32_t error = readNumbers(model, tokens, v, 3)) {
        return error;
    }
    checkLayer(model, lid, v, MatRanges);
    plausible_checkSet(model, PLAUSIBLE_MAT_ROUGHNESS, v[2], 4, lid.name);
    lid.matDepth = v[0] / MM_PER_M;
    lid.matVoid = v[1];
    lid.matRoughness = v[2];
    return ERR_NONE;
}

static int32_t readDrain(Model& model, const Tokens& tokens, Lid& lid) {
    double v[4] = {};
    if (const int32_t error = readNumbers(model, tokens, v, tokens.count > 5 ? 4 : 3)) {
        return error;
    }
    if (v[0] != 0.0) {
        plausible_check(model, PLAUSIBLE_DRAIN_EXPONENT, v[1], 3, lid.name);
        plausible_check(model, PLAUSIBLE_DRAIN_OFFSET, v[2], 4, lid.name);
        plausible_check(model, PLAUSIBLE_DRAIN_DELAY, v[3], 5, lid.name);
    }
    lid.drainCoefficient = v[0];
    lid.drainExponent = v[1];
    lid.drainOffset = v[2] / MM_PER_M;
    lid.drainDelay = v[3] * SECONDS_PER_HOUR;
    return ERR_NONE;
}

static int32_t readLayer(Model& model, const Tokens& tokens, Lid& lid, int32_t layer) {
    static constexpr int32_t TOKENS_NEEDED[] = {7, 8, 5, 5, 5, 5};
    if (layer == LAYER_DRAINMAT && lid.type != LID_GR) {
        const char* reason = lid.type < 0 ? "no type line GR of the control stands above" : "the control is no GR";
        warnings_addAtLine(model, WARN_LINE_DROPPED, 1, lid.name, {reason});
        return ERR_NONE;  // only a roof has a mat, and it must be known as a roof by now; nothing else is looked at
    }
    if (tokens.count < TOKENS_NEEDED[layer]) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    switch (layer) {
        case LAYER_SURFACE: return readSurface(model, tokens, lid);
        case LAYER_SOIL: return readSoil(model, tokens, lid);
        case LAYER_STORAGE: return readStorage(model, tokens, lid);
        case LAYER_PAVEMENT: return readPavement(model, tokens, lid);
        case LAYER_DRAINMAT: return readMat(model, tokens, lid);
        default: return readDrain(model, tokens, lid);
    }
}

int32_t lid_readLine(Model& model, const Tokens& tokens) {
    if (tokens.count < 2) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t index = names_find(model, LID, tokens[0]);
    if (index < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Lid& lid = model.lids[index];
    lid.name = names_findId(model, LID, tokens[0]);
    const int32_t type = tokens_findKeyword(tokens[1], TypeWords);
    if (type >= 0) {
        // A later type line changes the type alone: a mat read for a roof stays and still fills the storage at the
        // start.
        warnings_noteGiven(model, index, LAYER_COUNT, lid.name, "the type of the control");
        lid.type = type;
        return ERR_NONE;
    }
    const int32_t layer = tokens_findKeyword(tokens[1], LayerWords);
    if (layer < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[1]);
    }
    const int32_t error = readLayer(model, tokens, lid, layer);
    if (!error && (layer != LAYER_DRAINMAT || lid.type == LID_GR)) {
        warnings_noteGiven(model, index, layer, lid.name, "this layer of the control");
    }
    return error;
}

/// The rules of a layer; null for the drain, which holds no water.
static Decay* getRules(const Lid& lid, int32_t layer) {
    switch (layer) {
        case LAYER_SURFACE: return lid.surfaceDecay;
        case LAYER_SOIL: return lid.soilDecay;
        case LAYER_STORAGE: return lid.storageDecay;
        case LAYER_PAVEMENT: return lid.pavementDecay;
        case LAYER_DRAINMAT: return lid.matDecay;
        default: return nullptr;
    }
}

int32_t lid_readDecayLine(Model& model, const Tokens& tokens, int32_t index) {
    if (tokens.count < 7) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    Reaction reaction{};
    if (const int32_t error = decay_readReaction(model, tokens, true, reaction)) {
        return error;
    }
    const int32_t layer = tokens_findKeyword(tokens[6], LayerWords);
    if (layer < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[6]);
    }
    warnings_noteGiven(model, index * LAYER_COUNT + layer, reaction.pollutant, tokens[0], "this decay in the layer");
    Decay* rules = getRules(model.lids[index], layer);
    if (rules) {
        rules[reaction.pollutant] = reaction.decay;
    } else {
        warnings_addAtLine(model, WARN_LINE_DROPPED, 6, tokens[0], {"a drain holds no water"});
    }
    return ERR_NONE;
}

// --- validation ----------------------------------------------------------------------------------------------------

void lid_reportParameter(Model& model, const Lid& lid, const char* phrase) {
    errors_report(model, ERR_LID_PARAMETER, (std::string(lid.name) + phrase).c_str());
}

static bool hasRequiredLayers(const Lid& lid) {
    switch (lid.type) {
        case LID_BC:
        case LID_RG: return lid.soilDepth > 0.0;
        case LID_GR: return lid.matDepth > 0.0 && lid.soilDepth > 0.0;
        case LID_IT: return lid.storageDepth > 0.0;
        case LID_PP: return lid.pavementDepth > 0.0;
        default: return true;
    }
}

static bool isPavementGood(const Lid& lid) {
    return lid.type != LID_PP ||
           (lid.pavementDepth > 0.0 && lid.pavementRate > 0.0 && lid.pavementVoid > 0.0 && !(lid.pavementVoid > 1.0));
}

static bool isSoilGood(const Lid& lid) {
    return !(lid.soilDepth > 0.0) ||
           (lid.porosity > 0.0 && lid.porosity > lid.fieldCapacity && lid.fieldCapacity > lid.wiltingPoint &&
            lid.soilRate > 0.0 && !(lid.soilSlope < 0.0));
}

static bool isStorageGood(const Lid& lid) {
    return !(lid.storageDepth > 0.0) || (lid.storageVoid > 0.0 && !(lid.storageVoid > 1.0));
}

static bool isSurfaceGood(const Lid& lid) {
    return lid.type != LID_VS || (lid.surfaceRoughness * lid.surfaceSlope > 0.0 && lid.surfaceDepth != 0.0);
}

bool lid_isGood(const Lid& lid) {
    // The storage of a roof is its mat, which isn't tested.
    return hasRequiredLayers(lid) && isPavementGood(lid) && isSoilGood(lid) && isSurfaceGood(lid) &&
           (lid.type == LID_GR || isStorageGood(lid));
}

static void setSurfaceAlpha(Lid& lid) {
    if (lid.type != LID_VS) {
        lid.surfaceAlpha =
            lid.surfaceRoughness > 0.0 ? std::sqrt(lid.surfaceSlope) * (1.0 / lid.surfaceRoughness) : 0.0;
    } else {
        lid.surfaceAlpha = std::sqrt(lid.surfaceSlope) / lid.surfaceRoughness;
    }
}

/// The mat of a green roof stands in for its storage. A line for a storage of its own has been tested above and even
/// moved the drain, and is replaced here.
static void putMatInStorage(const Model& model, Lid& lid) {
    lid.storageDepth = lid.matDepth;
    lid.storageVoid = lid.matVoid;
    lid.storageRate = 0.0;
    if (model_pollutantCount(model) > 0) {
        // Only the first pollutant follows the mat's rules; the others keep those of the storage, whether they have
        // any or not.
        lid.storageDecay[0] = lid.matDecay[0];
    }
}

void lid_derive(const Model& model, Lid& lid) {
    if (!(lid.storageDepth > 0.0)) {
        lid.storageVoid = 1.0;
        lid.drainOffset = 0.0;
    }
    if (lid.surfaceDepth == 0.0) {
        lid.surfaceVoid = 1.0;
    }
    setSurfaceAlpha(lid);
    // A mat has no slope of its own: it lies on the roof as the surface does.
    lid.matAlpha = lid.matRoughness > 0.0 ? std::sqrt(lid.surfaceSlope) * (1.0 / lid.matRoughness) : 0.0;
    if (lid.type == LID_RB) {
        lid.storageVoid = 1.0;
        lid.storageRate = 0.0;
    }
    if (lid.type == LID_GR) {
        putMatInStorage(model, lid);
    }
}

static void validate(Model& model, Lid& lid) {
    if (lid.type < 0) {
        errors_report(model, ERR_LID_TYPE, lid.name);
        return;
    }
    if (!hasRequiredLayers(lid)) {
        errors_report(model, ERR_LID_LAYER, lid.name);
        return;
    }
    if (!isPavementGood(lid)) {
        lid_reportParameter(model, lid, " - check pavement layer parameters");
    }
    if (!isSoilGood(lid)) {
        lid_reportParameter(model, lid, " - check soil layer parameters");
    }
    if (!isStorageGood(lid)) {
        lid_reportParameter(model, lid, " - check storage layer parameters");
    }
    if (!isSurfaceGood(lid)) {
        lid_reportParameter(model, lid, " - check swale surface parameters");
    }
    lid_derive(model, lid);
}

void lid_validateAll(Model& model) {
    for (Lid& lid : model.lids) {
        validate(model, lid);
    }
}

void lid_prepareDecay(const Model& model, int32_t hour, double dt) {
    for (const Lid& lid : model.lids) {
        for (Decay* decays : {lid.surfaceDecay, lid.pavementDecay, lid.soilDecay, lid.storageDecay, lid.matDecay}) {
            for (int32_t p = 0; decays && p < model_pollutantCount(model); ++p) {
                (void)decay_react(model, decays[p], 0.0, hour, dt);
            }
        }
    }
}
