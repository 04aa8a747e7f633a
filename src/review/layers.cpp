// Land uses, and layers of LID controls, whose lines say something in vain: a layer that the type of the control
// doesn't have, a drain without a storage, a washoff of what never gathers.

#include "review/layers.h"

#include <cstdint>
#include <string>

#include "hydrology/landuse.h"
#include "hydrology/lid.h"
#include "hydrology/subcatch.h"
#include "model/model.h"
#include "model/pollut.h"
#include "model/project.h"
#include "model/warnings.h"
#include "nodes/lidmono.h"
#include "project/options.h"
#include "project/sections.h"

// --- layers --------------------------------------------------------------------------------------------------------

static const char* const LayerNames[LAYER_COUNT] = {"SURFACE", "SOIL", "STORAGE", "PAVEMENT", "DRAINMAT", "DRAIN"};
static const char* const TypeNames[] = {"BC", "RG", "GR", "IT", "PP", "RB", "VS"};

static constexpr uint32_t bit(int32_t layer) {
    return 1u << layer;
}

static constexpr uint32_t CELL = bit(LAYER_SURFACE) | bit(LAYER_SOIL) | bit(LAYER_STORAGE) | bit(LAYER_DRAIN);

/// The layers that a type has, by LidType.
static constexpr uint32_t LayersOfType[] = {CELL,
                                            CELL,
                                            bit(LAYER_SURFACE) | bit(LAYER_SOIL) | bit(LAYER_DRAINMAT),
                                            bit(LAYER_SURFACE) | bit(LAYER_STORAGE) | bit(LAYER_DRAIN),
                                            CELL | bit(LAYER_PAVEMENT),
                                            bit(LAYER_STORAGE) | bit(LAYER_DRAIN),
                                            bit(LAYER_SURFACE) | bit(LAYER_SOIL) | bit(LAYER_STORAGE)};

static std::string getType(const Lid& lid) {
    return std::string("its type is ") + TypeNames[lid.type];
}

static void tellUnused(const Model& model, const Lid& lid, const LinePlace& place, int32_t word, const char* layer,
                       const std::string& reason) {
    if (place.line != 0) {
        warnings_addAtPlace(model, WARN_LAYER_UNUSED, place, word, lid.name, {layer, reason});
    }
}

/// Decay in layers that hold none of the pollutant. The mat of a roof follows the line of the first pollutant alone.
static void reviewDecay(const Model& model, int32_t index) {
    if (!(model.log->warnings.sections >> SECTION_DECAY_COEFFICIENT & 1)) {
        return;
    }
    const Lid& lid = model.lids[index];
    for (const int32_t layer : {LAYER_SOIL, LAYER_STORAGE, LAYER_PAVEMENT, LAYER_DRAINMAT}) {
        for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
            const LinePlace place =
                warnings_findGiven(model, SECTION_DECAY_COEFFICIENT, index * LAYER_COUNT + layer, p);
            bool isUsed = (LayersOfType[lid.type] & bit(layer)) != 0;
            std::string reason = getType(lid);
            if (lid.type == LID_GR && layer == LAYER_DRAINMAT && p > 0) {
                isUsed = false;
                reason = "the mat of a GR follows the STORAGE line of all pollutants but the first";
            } else if (lid.type == LID_GR && layer == LAYER_STORAGE) {
                isUsed = p > 0;
                reason = "the mat of a GR follows the DRAINMAT line of the first pollutant";
            }
            if (!isUsed) {
                tellUnused(model, lid, place, 6, LayerNames[layer], reason);
            }
        }
    }
}

static void reviewControl(const Model& model, int32_t index) {
    const Lid& lid = model.lids[index];
    for (int32_t layer = 0; layer < LAYER_COUNT; ++layer) {
        if (!(LayersOfType[lid.type] & bit(layer))) {
            tellUnused(model, lid, warnings_findGiven(model, SECTION_LIDS, index, layer), 1, LayerNames[layer],
                       getType(lid));
        }
    }
    if ((lid.type == LID_BC || lid.type == LID_RG) && !(lid.storageDepth > 0.0) && lid.drainCoefficient > 0.0) {
        tellUnused(model, lid, warnings_findGiven(model, SECTION_LIDS, index, LAYER_DRAIN), 1, "DRAIN",
                   "its storage has no thickness");
    }
    if (lid.type == LID_PP && lid.surfaceVoid < 1.0) {
        warnings_addAtPlace(model, WARN_LID_PLANTS, warnings_findGiven(model, SECTION_LIDS, index, LAYER_SURFACE), 3,
                            lid.name, {"on a pavement"});
    }
    reviewDecay(model, index);
}

/// Of a drain that joins the outlet link the water alone goes along.
static void reviewDrains(const Model& model) {
    for (int32_t k = 0; k < model.nodes.size() && model_pollutantCount(model) > 0; ++k) {
        const Node& node = model.nodes[k];
        if (node.kind != LID_MONO) {
            continue;
        }
        const LidUnit& unit = model.lidMonos[node.kindIndex].unit;
        const Lid& lid = model.lids[unit.lid];
        if (unit.drainNode == -1 && (lid.drainCoefficient > 0.0 || lid.type == LID_GR)) {
            warnings_addAbout(model, WARN_LID_DRAIN, NODE, k, node.id);
        }
    }
}

static void reviewMonomers(const Model& model) {
    if (model.lidMonos.empty() || model.options.lidMonoRainfall || options_isGiven(model, "LID_MONO_RAINFALL")) {
        return;
    }
    for (int32_t k = 0; k < model.nodes.size(); ++k) {
        const Node& node = model.nodes[k];
        if (node.kind == LID_MONO && model.lidMonos[node.kindIndex].gage >= 0) {
            warnings_addAbout(model, WARN_LID_MONO_RAIN, NODE, k, node.id);
        }
    }
}

// --- land uses -----------------------------------------------------------------------------------------------------

/// What subcatchments have of a land use, and whether a load of a pollutant lies on it at the start.
struct LandCover {
    bool isAny;
    bool isLoaded;
};

static LandCover findCover(const Model& model, int32_t landuse, int32_t pollutant) {
    LandCover cover{};
    for (const Subcatch& subcatch : model.subcatches) {
        if (subcatch.landShares[landuse].fraction > 0.0) {
            cover.isAny = true;
            cover.isLoaded = cover.isLoaded || subcatch.initialLoad[pollutant] > 0.0;
        }
    }
    return cover;
}

static void reviewLanduse(const Model& model, int32_t index) {
    const Landuse& landuse = model.landuses[index];
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        const WashoffRule& washoff = landuse.washoff[p];
        const BuildupRule& buildup = landuse.buildup[p];
        const bool washesOff = washoff.kind == WASHOFF_EXP ? washoff.coefficient > 0.0 : washoff.emc > 0.0;
        if (!washesOff || (buildup.maxBuildup > 0.0 && buildup.rateConstant > 0.0)) {
            continue;
        }
        const LandCover cover = findCover(model, index, p);
        if (cover.isAny && !cover.isLoaded) {
            warnings_addAbout(model, WARN_WASHOFF_DRY, LANDUSE, index, landuse.name, {model.polluts[p].id});
        }
    }
}

/// A load at the start on a subcatchment without any land use lies nowhere.
static void reviewLoads(const Model& model, int32_t index) {
    const Subcatch& subcatch = model.subcatches[index];
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        if (!(subcatch.initialLoad[p] > 0.0)) {
            continue;
        }
        for (int32_t k = 0; k < model.landuses.size(); ++k) {
            if (subcatch.landShares[k].fraction != 0.0) {
                return;
            }
        }
        warnings_addAbout(model, WARN_LOAD_NO_LAND, SUBCATCH, index, subcatch.name, {model.polluts[p].id});
    }
}

void layers_review(const Model& model) {
    for (int32_t k = 0; k < model.lids.size(); ++k) {
        reviewControl(model, k);
    }
    reviewMonomers(model);
    if (!model.lidMonos.empty()) {
        reviewDrains(model);
    }
    for (int32_t k = 0; k < model.landuses.size(); ++k) {
        reviewLanduse(model, k);
    }
    const bool hasLoadings = (model.log->warnings.sections >> SECTION_LOADINGS & 1) != 0;
    for (int32_t k = 0; hasLoadings && k < model.subcatches.size(); ++k) {
        reviewLoads(model, k);
    }
}
