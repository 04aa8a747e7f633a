// Nodes of all kinds. The kinds stand in rooms of their own beside this one, and nothing here tells them apart. The
// rooms nodekinds and linkkinds call this one: water and loads are only summed here, and mixed by mass.

#include "nodes/node.h"

#include "model/errors.h"
#include "model/model.h"
#include "model/names.h"
#include "text/units.h"

// --- reading and start ---------------------------------------------------------------------------------------------

void node_setRow(Model& model, int32_t index, int32_t kind, int32_t kindIndex, const char* id) {
    Node& node = model.nodes[index];
    node.id = id;
    node.kind = kind;
    node.kindIndex = kindIndex;
}

int32_t node_readPlain(Model& model, const Tokens& tokens, int32_t node, int32_t kind, int32_t kindIndex) {
    const char* id = names_findId(model, NODE, tokens[0]);
    if (!id) {
        return errors_setName(model, ERR_UNDEFINED_OBJECT, tokens[0]);
    }
    node_setRow(model, node, kind, kindIndex, id);
    return ERR_NONE;
}

void node_initState(const Model& model, Node& node) {
    node.oldInflow = node.newInflow = 0.0;
    node.oldLatFlow = node.newLatFlow = 0.0;
    node.oldUpstreamFlow = node.newUpstreamFlow = 0.0;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        node.massInflow[p] = node.oldQual[p] = node.newQual[p] = 0.0;
    }
}

// --- the routing step ----------------------------------------------------------------------------------------------

void node_shiftQuality(const Model& model, Node& node) {
    double* __restrict massInflow = node.massInflow;
    double* __restrict newQual = node.newQual;
    double* __restrict oldQual = node.oldQual;
    const int32_t pollutants = model_pollutantCount(model);
    for (int32_t p = 0; p < pollutants; ++p) {
        massInflow[p] = 0.0;
        oldQual[p] = newQual[p];
        newQual[p] = 0.0;
    }
}

void node_addDelivery(const Model& model, Node& node, double flow, const double* quality) {
    node.newUpstreamFlow += flow;
    for (int32_t p = 0; p < model_pollutantCount(model); ++p) {
        node.massInflow[p] += quality[p] * flow / G_PER_KG;
    }
}
