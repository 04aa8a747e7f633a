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
#include "model/warnings.h"
#include "routing/linkkinds.h"
#include "routing/nodekinds.h"

static const char* const ClassWords[] = {"NODE", "LINK", "LID", nullptr};

/// Tells that a line of an object is dropped, which by its kind holds nothing, or isn't read yet.
static void tellDropped(const Model& model, const Tokens& tokens, int32_t kind, const char* reason) {
    if (kind < 0) {
        warnings_addAtLine(model, WARN_SECTION_ORDER, 0, tokens[0], {tokens[0]});
    } else {
        warnings_addAtLine(model, WARN_LINE_DROPPED, 0, tokens[0], {reason});
    }
}

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
    if (decay) {
        return decay_readItems(model, tokens, decay);
    }
    // The other kinds hold no water: their lines are dropped. So are those of a link that isn't read yet.
    tellDropped(model, tokens, model.links[link].kind, "the link is neither a pipe nor a conduit");
    return ERR_NONE;
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
        tellDropped(model, tokens, model.nodes[node].kind, "the node is neither a tank nor a reactor");
        return ERR_NONE;  // a node without storage takes no line, whatever else it says
    }
    const int32_t pollutant = names_find(model, POLLUT, tokens[2]);
    if (pollutant < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[2]);
    }
    // Looser than all other sections: refused only if it is no number and negative as well, so a word passes as 0.
    double value;
    const bool isNumber = tokens_getDouble(tokens[3], &value);
    if (!isNumber && value < 0.0) {
        return errors_setName(model, ERR_NUMBER, tokens[3]);
    }
    plausible_check(model, PLAUSIBLE_CONCENTRATION, value, 3, tokens[0]);
    if (!isNumber) {
        warnings_addAtLine(model, WARN_NUMBER_WORD, 3, tokens[0], {tokens[3], warnings_formatNumber(value)});
    }
    if (!nodekinds_isStoringAtStart(model, model.nodes[node])) {
        warnings_addAtLine(model, WARN_LINE_DROPPED, 0, tokens[0], {"a PFR stores nothing at the start"});
    }
    warnings_noteGiven(model, node, pollutant, tokens[0], "this initial concentration");
    initQual[pollutant] = value;
    return ERR_NONE;
}
