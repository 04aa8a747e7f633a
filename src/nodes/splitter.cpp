// Splitters. One part of the inflow goes to the first link, by a threshold or a ratio, and the rest to the other. The
// split is of water, and the load follows it: both links carry the concentration of the mix.

#include "nodes/splitter.h"

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "model/plausible.h"
#include "model/topology.h"
#include "model/warnings.h"
#include "nodes/node.h"

static const char* const ModeWords[] = {"FLOW", "RATIO", "FLOW_RATIO", nullptr};

int32_t splitter_readLine(Model& model, const Tokens& tokens, int32_t node, int32_t kindIndex) {
    if (tokens.count < 4) {
        return errors_setName(model, ERR_ITEMS, "");
    }
    const char* id = names_findId(model, NODE, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    const int32_t link = names_find(model, LINK, tokens[1]);
    if (link < 0) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[1]);
    }
    const int32_t mode = tokens_findKeyword(tokens[2], ModeWords);
    if (mode < 0) {
        return errors_setName(model, ERR_KEYWORD, tokens[2]);
    }
    double value, ratio = 0.0;
    if (!tokens_getNonNegative(tokens[3], &value)) {
        return errors_setName(model, ERR_NUMBER, tokens[3]);
    }
    if (mode == SPLIT_FLOW_RATIO) {
        if (tokens.count < 5) {
            return errors_setName(model, ERR_ITEMS, "");
        }
        // Only the form is tested: a negative ratio takes from the first link what exceeds the threshold.
        if (!tokens_getDouble(tokens[4], &ratio)) {
            return errors_setName(model, ERR_NUMBER, tokens[4]);
        }
    }
    if (mode != SPLIT_RATIO) {
        plausible_check(model, PLAUSIBLE_SPLIT_FLOW, value, 3, id);
    }
    if (mode == SPLIT_RATIO && value > 1.0) {
        warnings_addAtLine(model, WARN_VALUE_LIMIT, 3, id, {tokens[3], "1"});
    }
    if (ratio > 1.0) {
        warnings_addAtLine(model, WARN_VALUE_LIMIT, 4, id, {tokens[4], "1"});
    }
    node_setRow(model, node, SPLITTER, kindIndex, id);
    Splitter& splitter = model.splitters[kindIndex];
    splitter.link = link;
    splitter.mode = mode;
    splitter.value = mode == SPLIT_RATIO && value > 1.0 ? 1.0 : value;
    splitter.ratio = ratio > 1.0 ? 1.0 : ratio;
    return ERR_NONE;
}

void splitter_validate(Model& model, int32_t index) {
    const Splitter& splitter = model.splitters[model.nodes[index].kindIndex];
    const Link& first = model.links[splitter.link];
    if (first.fromNode != index) {
        errors_report(model, ERR_SPLITTER_LINK, first.id);
    }
    if (topology_getOutgoing(model, index).count != 2) {
        errors_report(model, ERR_SPLITTER_LINK_COUNT, model.nodes[index].id);
    }
}

void splitter_initState(Splitter& splitter) {
    splitter.useHostValue = false;
    splitter.hostValue = splitter.value;
    splitter.oldFlow = splitter.newFlow = splitter.statVolume = 0.0;
}

void splitter_shiftState(Splitter& splitter) {
    splitter.oldFlow = splitter.newFlow;
}

void splitter_divide(Splitter& splitter, double inflow) {
    const double value = splitter.useHostValue ? splitter.hostValue : splitter.value;
    switch (splitter.mode) {
        case SPLIT_FLOW:
        case SPLIT_FLOW_RATIO:
            splitter.newFlow = inflow >= value ? value + (inflow - value) * splitter.ratio : inflow;
            break;
        case SPLIT_RATIO: splitter.newFlow = value * inflow; break;
        default: break;  // a mode that only a host can set: the split stands still
    }
}
