// Sections of the project file. The last eleven belong to hosts: they are known, and skipped.

#include "project/sections.h"

#include "model/project.h"
#include "text/tokens.h"

const Section Sections[SECTION_COUNT] = {
    {"[DESCRIPTION]", COUNT_NOTHING, -1},
    {"[GENERAL]", COUNT_OPTION, -1},
    {"[RAINGAGES]", COUNT_OBJECT, GAGE},
    {"[EVAPORATION]", COUNT_NOTHING, -1},
    {"[SUBCATCHS]", COUNT_OBJECT, SUBCATCH},
    {"[JUNCTIONS]", COUNT_NODE, JUNCTION},
    {"[TANKS]", COUNT_NODE, TANK},
    {"[OUTFALLS]", COUNT_NODE, OUTFALL},
    {"[SPLITTERS]", COUNT_NODE, SPLITTER},
    {"[INFLOWS]", COUNT_NOTHING, -1},
    {"[DWFS]", COUNT_NOTHING, -1},
    {"[PIPES]", COUNT_LINK, PIPE},
    {"[PUMPS]", COUNT_LINK, PUMP},
    {"[CONNECTIONS]", COUNT_LINK, CONNECTION},
    {"[CONDUITS]", COUNT_LINK, CONDUIT},
    {"[WEIRS]", COUNT_LINK, WEIR},
    {"[ORIFICES]", COUNT_LINK, ORIFICE},
    {"[CONTROL_RULES]", COUNT_RULE, RULE},
    {"[SWMM_INPS]", COUNT_COUPLED_NODE, SWMM},
    {"[REACTORS]", COUNT_NODE, REACTOR},
    {"[REACTORS_DECAY]", COUNT_NOTHING, -1},
    {"[REACTORS_EMPTYING]", COUNT_NOTHING, -1},
    {"[POLLUTANTS]", COUNT_OBJECT, POLLUT},
    {"[DECAY_COEFFICIENT]", COUNT_NOTHING, -1},
    {"[INITIAL_CONCENTRATION]", COUNT_NOTHING, -1},
    {"[LANDUSES]", COUNT_OBJECT, LANDUSE},
    {"[COVERAGES]", COUNT_NOTHING, -1},
    {"[BUILDUP]", COUNT_NOTHING, -1},
    {"[WASHOFF]", COUNT_NOTHING, -1},
    {"[LOADINGS]", COUNT_NOTHING, -1},
    {"[LIDS]", COUNT_NEW_OBJECT, LID},
    {"[LID_GROUPS]", COUNT_NOTHING, -1},
    {"[LID_MONOS]", COUNT_NODE, LID_MONO},
    {"[VORN_INPS]", COUNT_COUPLED_NODE, VORN},
    {"[CURVES]", COUNT_NEW_OBJECT, CURVE},
    {"[TIMESERIES]", COUNT_NEW_OBJECT, TSERIES},
    {"[PATTERNS]", COUNT_NEW_OBJECT, PATTERN},
    {"[CONVERTERS]", COUNT_NEW_OBJECT, CONVERTER},
    {"[RTC]", COUNT_NOTHING, -1},
    {"[GA_OBJECTIVES]", COUNT_NOTHING, -1},
    {"[GA_CONSTRAINS]", COUNT_NOTHING, -1},
    {"[GA_PARAMETERS]", COUNT_NOTHING, -1},
    {"[GA_VARIABLES]", COUNT_NOTHING, -1},
    {"[LABELS]", COUNT_NOTHING, -1},
    {"[ELEMENTS]", COUNT_NOTHING, -1},
    {"[EDGES]", COUNT_NOTHING, -1},
    {"[GRAPH]", COUNT_NOTHING, -1},
    {"[MAP]", COUNT_NOTHING, -1},
    {"[LEGEND]", COUNT_NOTHING, -1},
};

const char* const SwmmRecordWords[] = {"INFLOW", "OUTFLOW", nullptr};
const char* const VornRecordWords[] = {"INFLUENT", "EFFLUENT", nullptr};

int32_t sections_find(const char* name) {
    for (int32_t k = 0; k < SECTION_COUNT; ++k) {
        if (tokens_matchKeyword(name, Sections[k].name)) {
            return k;
        }
    }
    return -1;
}
