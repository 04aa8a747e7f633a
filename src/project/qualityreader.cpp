// Lines about pollutants in whatever holds water. What kind of object a line names decides where its numbers go, and
// whether it is taken at all.

#include "project/qualityreader.h"

#include "hydrology/lid.h"
#include "model/decay.h"
#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/project.h"
#include "routing/linkkinds.h"
#include "routing/nodekinds.h"

static const char* const ClassWords[] = {"NODE", "LINK", "LID", nullptr};

// --- decay ---------------------------------------------------------------------------------------------------------

static int32_t readNodeLine(Model& model, const Tokens& tokens) {
    const int32_t node = names_find(model, NODE, tokens[0]);
    Decay* decay = node >= 0 ? nodekinds_findDecay(model, model.nodes[node]) : nullptr;
    return decay ? decay_readItems(model, tokens, decay) : errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
}

static int32_t readLinkLine(Model& model, const Tokens& tokens) {
    const int32_t link = names_find(model, LINK, tokens[0]);
    if (link < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    Decay* decay = linkkinds_findDecay(model, model.links[link]);
    return decay ? decay_readItems(model, tokens, decay)
                 : ERR_NONE;  // the other kinds hold no water: their lines are dropped
}

static int32_t readLidLine(Model& model, const Tokens& tokens) {
    const int32_t lid = names_find(model, LID, tokens[0]);
    return lid < 0 ? errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]) : lid_readDecayLine(model, tokens, lid);
}

int32_t qualityreader_readDecay(Model& model, const Tokens& tokens) {
    if (tokens.count < 6) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    switch (tokens_findKeyword(tokens[1], ClassWords)) {
        case 0: return readNodeLine(model, tokens);
        case 1: return readLinkLine(model, tokens);
        case 2: return readLidLine(model, tokens);
        default: return errors_setName(model, ERR_KEYWORD, tokens[1]);
    }
}

// --- initial concentrations ----------------------------------------------------------------------------------------

int32_t qualityreader_readInitial(Model& model, const Tokens& tokens) {
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const int32_t node = names_find(model, NODE, tokens[0]);
    if (node < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    double* initQual = nodekinds_findInitialQuality(model, model.nodes[node]);
    if (!initQual) {
        return ERR_NONE;  // a node without storage takes no line, whatever else it says
    }
    const int32_t pollutant = names_find(model, POLLUT, tokens[2]);
    if (pollutant < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    // Looser than all other sections: refused only if it is no number and negative as well, so a word passes as 0.
    double value;
    if (!tokens_getDouble(tokens[3], &value) && value < 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[3]);
    }
    plausible_check(model, PLAUSIBLE_CONCENTRATION, value, 3, tokens[0]);
    initQual[pollutant] = value;
    return ERR_NONE;
}
