// Nodes with an outside model inside. Their libraries are loaded and let go of kind by kind, everything else node by
// node. Called when the tables are made and let go of, and by the order of the visits.

#include "coupling/coupled.h"

#include "coupling/swmm.h"
#include "coupling/vorn.h"

void coupled_createNodes() {
    SwmmNodes.clear();
    SwmmNodes.resize(NodeKindCount[SWMM]);
    VornNodes.clear();
    VornNodes.resize(NodeKindCount[VORN]);
    for (int32_t row = 0; row < NodeKindCount[SWMM]; ++row) {
        swmm_loadLibrary(row);
    }
    for (int32_t row = 0; row < NodeKindCount[VORN]; ++row) {
        vorn_loadLibrary(row);
    }
}

void coupled_deleteNodes() {
    for (int32_t row = 0; row < SwmmNodes.size(); ++row) {
        swmm_closeNode(row);
    }
    SwmmNodes = {};
    for (int32_t row = 0; row < VornNodes.size(); ++row) {
        vorn_closeNode(row);
    }
    VornNodes = {};
}
