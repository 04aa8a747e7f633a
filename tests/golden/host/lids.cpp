// Each type of LID control as a unit on a subcatchment, alone on one, and as a node.

#include "host.h"
#include "text.h"
#include "town.h"

namespace {

constexpr const char* LAYERS[7] = {"SOIL", "SOIL", "DRAINMAT", "STORAGE", "PAVEMENT", "STORAGE", "SURFACE"};

constexpr const char* RAIN =
    "[TIMESERIES]\nT 2024/05/06 0:05 6 0:10 30 0:15 80 0:20 140 0:25 60 0:30 25 0:35 10 0:40 0 1:30 20 1:35 45 1:40 0\n"
    "S 2024/05/05 0:00 0 12:00 0\nS 2024/05/06 0:00 0.2 0:20 1 0:50 0.1 2:00 2 2:30 0.3 9:00 0.1\n";

std::string makeUnits(const std::string& lid, const char* layer, bool hasRainfall) {
    return "[GENERAL]\n" + general({300, 60, 60, 60, false, 0}) + "START_DRY_DAYS 6\nLID_MONO_RAINFALL " +
           (hasRainfall ? "YES" : "NO") +
           "\n[EVAPORATION]\nCONSTANT 9\n[POLLUTANTS]\nP 8\nQ 0\n[RAINGAGES]\nG INTENSITY 0:05 T\n[SUBCATCHS]\n"
           "SIDE G N 0.2 30 80 1 0.013 0.2 1 3 40 4 4 5 0\nWHOLE G N 0.05 20 80 1 0.013 0.2 1 3 40 4 4 5 0\n"
           "PAIR G N 0.3 30 60 1 0.013 0.2 1 3 40 4 4 5 0\n[LANDUSES]\nU\n[COVERAGES]\nSIDE U 100\nPAIR U 80\nWHOLE U "
           "50\n"
           "[BUILDUP]\nU P 30 0.3\nU Q 6 0.5\n[WASHOFF]\nU P EXP 0.2 1.2 0\nU Q EMC 12 NO 0\n[LID_GROUPS]\nSIDE " +
           lid + " 120 5 30 60 DR\nWHOLE " + lid + " 500 12 0 0\nPAIR " + lid + " 60 3 10 30\nPAIR " + lid +
           " 90 0.5 80 25 DR\n[DECAY_COEFFICIENT]\n" + lid + " LID P FIRST 20 DAY " + layer + "\n" + lid +
           " LID Q FIRST 4 \"\" SURFACE\n[JUNCTIONS]\nN\n[LID_MONOS]\nM1 " + lid + " G 150 6 20 80 DR\nM2 " + lid +
           " G 60 1 100 100\n[OUTFALLS]\nDR\nO\n[CONNECTIONS]\nC1 N M1 NO 0\nC2 M1 M2 NO 60\nC3 M2 O NO 0\n[INFLOWS]\n"
           "M2 FLOW FLOW 0.001 S 0.004\nM2 CONCEN Q 25 \"\" 0\n" +
           RAIN + town_getTables() + town_getLids();
}

/// Layers at the edges of what is allowed: none, tiny, a swale without seepage, drains that never run.
std::string makeOddities() {
    return "[GENERAL]\n" + general({240, 60, 60, 60, false, 0}) +
           "[EVAPORATION]\nCONSTANT 40\n[POLLUTANTS]\nP 8\n[RAINGAGES]\nG INTENSITY 0:05 T\n[SUBCATCHS]\n"
           "A G O 0.2 30 80 1 0.013 0.2 1 3 40 4 4 5 0\nB G O 0.2 30 80 1 0.013 0.2 1 3 40 4 4 5 0\n"
           "C G O 0.2 30 80 1 0.013 0.2 1 3 40 4 4 5 0\n[LIDS]\nX1 BC\nX1 SOIL 100 0.5 0.2 0.1 20 5\nX1 SURFACE 0 0.5 "
           "0 0 0\n"
           "X2 RB\nX2 DRAIN 9 0.7 0\nX2 STORAGE 20 1 0\nX3 VS\nX3 SURFACE 60 0 0.2 0.5 0\nX4 PP\nX4 SURFACE 3 0.4 0.1 "
           "1 0\n"
           "X4 PAVEMENT 60 0.15 9\nX5 IT\nX5 STORAGE 40 0.4 1\nX5 DRAIN 2 0 30\nX6 GR\nX6 DRAINMAT 3 0.4 0.1\n"
           "X6 SOIL 20 0.4 0.1 0.05 200 3\nX6 STORAGE 10 0.5 7\nX7 RG\nX7 SOIL 30 0.3 0.2 0.1 5 40\nX7 SURFACE 10 0 0 "
           "1 0\n"
           "[LID_GROUPS]\nA X1 50 2 0 20\nA X2 3 0 150 20\nA X3 40 2 0 20\nB X4 300 0 50 30\nB X5 20 0 0 30\n"
           "C X6 400 3 100 10\nC X7 100 0 0 60\n[OUTFALLS]\nO\n" +
           std::string(RAIN);
}

}  // namespace

void cases_addLids(std::vector<Case>& cases) {
    for (int k = 0; k < 7; ++k) {
        cases_add(cases, std::string("lid-") + TOWN_LIDS[k], makeUnits(TOWN_LIDS[k], LAYERS[k], k % 2 == 0));
    }
    cases_add(cases, "lid-oddities", makeOddities());
}
