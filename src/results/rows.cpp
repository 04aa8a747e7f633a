// Rows of results. A quantity that is kept in an old and a new state is interpolated linearly between them; the factor
// is never limited, so a report time outside the last step extrapolates. Values are single precision: a row is for
// plotting and comparing, balances are kept elsewhere.

#include "results/rows.h"

#include "hydrology/subcatch.h"
#include "links/conduit.h"
#include "links/connection.h"
#include "links/orifice.h"
#include "links/pipe.h"
#include "links/pump.h"
#include "links/weir.h"
#include "nodes/lidmono.h"
#include "nodes/outfall.h"
#include "nodes/reactor.h"
#include "nodes/splitter.h"
#include "nodes/tank.h"
#include "platform/memory.h"

// "Outfow" is how the column is called; readers of the database ask for it by this name.
const RowTable RowTables[RESULT_TABLE_COUNT] = {
    {"System", "Rainfall,Evap,Infil,Runoff,TotInflow,DirInflow,DWF,Flood,SWMMIn,Outflow,SWMMOut,Storage", SYSTEM_LENGTH,
     0, -1, -1},
    {"Subcatchment", "Rainfall,Evap,Infil,Runoff", 4, 1, SUBCATCH, -1},
    {"Junction", "TotInflow,LatInflow", 2, 1, NODE, JUNCTION},
    {"Tank", "Depth,Vol,TotInflow,LatInflow,Flood", 5, 1, NODE, TANK},
    {"Outfall", "TotInflow,LatInflow", 2, 1, NODE, OUTFALL},
    {"Splitter", "TotInflow,LatInflow,Outflow1,Outflow2", 4, 1, NODE, SPLITTER},
    {"Reactor", "Vol,TotInflow,LatInflow,Outflow,Surpass,Evap,Infil,Empty", 8, 1, NODE, REACTOR},
    {"LID_Mono", "TotInflow,LatInflow,Rainfall,Evap,Surflow,Exfil,Drain,SurDepth,SoilMoist,StorDepth,PaveDepth", 11, 4,
     NODE, LID_MONO},
    {"Pipe", "Vol,Inflow,Outfow,Flood", 4, 1, LINK, PIPE},
    {"Pump", "Flow", 1, 1, LINK, PUMP},
    {"Connection", "Inflow,Outflow", 2, 1, LINK, CONNECTION},
    {"Conduit", "Depth,Vol,Velocity,Inflow,Outflow,Flood", 6, 1, LINK, CONDUIT},
    {"Weir", "Flow", 1, 1, LINK, WEIR},
    {"Orifice", "Flow", 1, 1, LINK, ORIFICE},
};

// --- tables --------------------------------------------------------------------------------------------------------

int32_t rows_getLength(int32_t table) {
    return RowTables[table].columnCount + RowTables[table].qualityBlocks * project_pollutantCount();
}

int32_t rows_getObjectCount(int32_t table) {
    const RowTable& t = RowTables[table];
    switch (t.objectType) {
        case SUBCATCH: return ObjectCount[SUBCATCH];
        case NODE: return NodeKindCount[t.kind];
        case LINK: return LinkKindCount[t.kind];
        default: return 0;
    }
}

const char* rows_getName(int32_t table, int32_t object) {
    const int32_t index = object;
    const char* name = nullptr;
    switch (RowTables[table].objectType) {
        case SUBCATCH: name = Subcatches[index].name; break;
        case NODE: name = Nodes[index].id; break;
        case LINK: name = Links[index].id; break;
        default: break;
    }
    return name ? name : "";
}

void rows_fill(int32_t table, int32_t object, double f, float* row) {
    switch (RowTables[table].objectType) {
        case SUBCATCH: subcatch_getResults(object, f, row); break;
        case NODE: node_getResults(object, f, row); break;
        case LINK: link_getResults(object, f, row); break;
        default: break;
    }
}

// --- memory ahead of the rows ---------------------------------------------------------------------------------------

static constexpr int32_t FAR = 24;     ///< places ahead at which the records are asked for
static constexpr int32_t MIDDLE = 16;  ///< what they point to
static constexpr int32_t NEAR = 8;     ///< what that points to

static void fetchRecord(const void* record, size_t size) {
    for (size_t offset = 0; offset < size; offset += 64) {
        memory_fetch(static_cast<const char*>(record) + offset);
    }
}

static void fetchLink(const Link& link) {
    memory_fetch(link.newQual);
    memory_fetch(link.oldQual);
    if (link.kind == PIPE) {
        fetchRecord(&Pipes[link.kindIndex], sizeof(Pipe));
    }
}

void rows_fetchAhead(int32_t objectType, const int32_t* objects, int32_t count, int32_t k) {
    const auto getIndex = [&](int32_t place) { return objects ? objects[place] : place; };
    if (k + NEAR >= count || (objectType != NODE && objectType != LINK)) {
        return;
    }
    const bool isFarThere = k + FAR < count;
    const bool isMiddleThere = k + MIDDLE < count;
    if (objectType == NODE) {
        if (isFarThere) {
            fetchRecord(&Nodes[getIndex(k + FAR)], sizeof(Node));
        }
        if (isMiddleThere) {
            const Node& node = Nodes[getIndex(k + MIDDLE)];
            memory_fetch(node.newQual);
            memory_fetch(node.oldQual);
        }
        return;
    }
    if (isFarThere) {
        fetchRecord(&Links[getIndex(k + FAR)], sizeof(Link));
    }
    if (isMiddleThere) {
        fetchLink(Links[getIndex(k + MIDDLE)]);
    }
    const Link& link = Links[getIndex(k + NEAR)];
    if (link.kind == PIPE) {
        memory_fetch(Pipes[link.kindIndex].storage);
    }
}

// --- nodes and links -----------------------------------------------------------------------------------------------

static float mix(double f, double older, double newer) {
    return static_cast<float>((1.0 - f) * older + f * newer);
}

static void fillQuality(double f, const double* older, const double* newer, float* row) {
    for (int32_t p = 0; p < project_pollutantCount(); ++p) {
        row[p] = mix(f, older[p], newer[p]);
    }
}

static void fillInflows(const Node& node, double f, float* row) {
    row[0] = mix(f, node.oldInflow, node.newInflow);
    row[1] = mix(f, node.oldLatFlow, node.newLatFlow);
}

static void fillSplitter(const Node& node, double f, float* row) {
    const Splitter& splitter = Splitters[node.kindIndex];
    fillInflows(node, f, row);
    row[2] = mix(f, splitter.oldFlow, splitter.newFlow);
    row[3] = row[0] - row[2];  // of the rounded values, so that the row adds up as it stands
    fillQuality(f, node.oldQual, node.newQual, row + 4);
}

void node_getResults(int32_t index, double f, float* row) {
    const Node& node = Nodes[index];
    switch (node.kind) {
        case JUNCTION:
        case OUTFALL:
            fillInflows(node, f, row);
            fillQuality(f, node.oldQual, node.newQual, row + 2);
            break;
        case SPLITTER: fillSplitter(node, f, row); break;
        case TANK: tank_getResults(index, f, row); break;
        case REACTOR: reactor_getResults(index, f, row); break;
        case LID_MONO: lidmono_getResults(index, f, row); break;
        default: break;
    }
}

static void fillPipe(const Link& link, double f, float* row) {
    const Pipe& pipe = Pipes[link.kindIndex];
    row[0] = static_cast<float>(pipe_getVolume(pipe));
    row[1] = mix(f, pipe.oldInflow, pipe.newInflow);
    row[2] = mix(f, link.oldFlow, link.newFlow);
    row[3] = mix(f, pipe.oldFlood, pipe.newFlood);
    fillQuality(f, link.oldQual, link.newQual, row + 4);
}

static void fillConnection(const Link& link, double f, float* row) {
    const Connection& connection = Connections[link.kindIndex];
    row[0] = mix(f, connection.oldInflow, connection.newInflow);
    row[1] = mix(f, link.oldFlow, link.newFlow);
    fillQuality(f, link.oldQual, link.newQual, row + 2);
}

void link_getResults(int32_t index, double f, float* row) {
    const Link& link = Links[index];
    switch (link.kind) {
        case PIPE: fillPipe(link, f, row); break;
        case CONNECTION: fillConnection(link, f, row); break;
        case PUMP: pump_getResults(index, f, row); break;
        case WEIR: weir_getResults(index, f, row); break;
        case ORIFICE: orifice_getResults(index, f, row); break;
        case CONDUIT: conduit_getResults(index, f, row); break;
        default: break;
    }
}
