// The sections of a project file.

#include "project/sections.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/lineerrors.h"

TEST(Sections, HaveTheirNumbersAndNames) {
    std::istringstream names(
        "[DESCRIPTION] [GENERAL] [RAINGAGES] [EVAPORATION] [SUBCATCHS] [JUNCTIONS] [TANKS] [OUTFALLS] "
        "[SPLITTERS] [INFLOWS] [DWFS] [PIPES] [PUMPS] [CONNECTIONS] [CONDUITS] [WEIRS] [ORIFICES] "
        "[CONTROL_RULES] [SWMM_INPS] [REACTORS] [REACTORS_DECAY] [REACTORS_EMPTYING] [POLLUTANTS] "
        "[DECAY_COEFFICIENT] [INITIAL_CONCENTRATION] [LANDUSES] [COVERAGES] [BUILDUP] [WASHOFF] [LOADINGS] "
        "[LIDS] [LID_GROUPS] [LID_MONOS] [VORN_INPS] [CURVES] [TIMESERIES] [PATTERNS] [CONVERTERS] [RTC] "
        "[GA_OBJECTIVES] [GA_CONSTRAINS] [GA_PARAMETERS] [GA_VARIABLES] [LABELS] [ELEMENTS] [EDGES] [GRAPH] "
        "[MAP] [LEGEND] [REACTORS_OXYGEN] [SENSORS]");
    EXPECT_EQ(SECTION_COUNT, 51);
    EXPECT_EQ(sections_find("[description]"), 0);
    EXPECT_EQ(sections_find("[GENERAL]"), 1);
    EXPECT_EQ(sections_find("[Pipes]"), 11);
    EXPECT_EQ(sections_find("[LEGEND]"), 48);
    EXPECT_EQ(sections_find("[PIPE]"), -1);
    EXPECT_EQ(sections_find("PIPES"), -1);
    for (int32_t k = 0; k < SECTION_COUNT; ++k) {
        std::string name;
        names >> name;
        EXPECT_EQ(Sections[k].name, name);
        EXPECT_EQ(sections_find(name.c_str()), k);
    }
}

TEST(Sections, OfHostsAreSkipped) {
    std::string text;
    for (int32_t k = SECTION_RTC; k <= SECTION_LEGEND; ++k) {
        text += std::string(Sections[k].name) + "\nwhatever stands here 1 2 3\nagain\n";
    }
    EXPECT_EQ(getErrors(text, 0), "");
}
