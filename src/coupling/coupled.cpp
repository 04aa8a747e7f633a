// Nodes with an outside model inside. Their libraries are loaded and released kind by kind, everything else node by
// node. Called when the tables are made and deleted, and by the order of the visits.

#include "coupling/coupled.h"

#include "coupling/swmm.h"
#include "coupling/vorn.h"
#include "model/model.h"

const OutsideNode* coupled_findOutside(const Model& model, const Node& node) {
    if (node.kind == SWMM) {
        return &model.swmmNodes[node.kindIndex].outside;
    }
    return node.kind == VORN ? &model.vornNodes[node.kindIndex].outside : nullptr;
}

void coupled_createNodes(Model& model) {
    model.swmmNodes.resize(model.counts.nodeKinds[SWMM]);
    model.vornNodes.resize(model.counts.nodeKinds[VORN]);
    if (model.engines.hasPrivateCopies && model.counts.nodeKinds[SWMM] + model.counts.nodeKinds[VORN] > 0) {
        outside_clearLeftovers(model);
    }
    for (int32_t row = 0; row < model.counts.nodeKinds[SWMM]; ++row) {
        swmm_loadLibrary(model, row);
    }
    for (int32_t row = 0; row < model.counts.nodeKinds[VORN]; ++row) {
        vorn_loadLibrary(model, row);
    }
}

void coupled_deleteNodes(Model& model) {
    for (int32_t row = 0; row < model.swmmNodes.size(); ++row) {
        swmm_closeNode(model, row);
    }
    model.swmmNodes = {};
    for (int32_t row = 0; row < model.vornNodes.size(); ++row) {
        vorn_closeNode(model, row);
    }
    model.vornNodes = {};
}
