#pragma once
// Sections of the project file.

#include <cstdint>

/// Sections by their number, which is their place in the list of names.
enum SectionNumber : int32_t {
    SECTION_DESCRIPTION,
    SECTION_GENERAL,
    SECTION_RAINGAGES,
    SECTION_EVAPORATION,
    SECTION_SUBCATCHS,
    SECTION_JUNCTIONS,
    SECTION_TANKS,
    SECTION_OUTFALLS,
    SECTION_SPLITTERS,
    SECTION_INFLOWS,
    SECTION_DWFS,
    SECTION_PIPES,
    SECTION_PUMPS,
    SECTION_CONNECTIONS,
    SECTION_CONDUITS,
    SECTION_WEIRS,
    SECTION_ORIFICES,
    SECTION_CONTROL_RULES,
    SECTION_SWMM_INPS,
    SECTION_REACTORS,
    SECTION_REACTORS_DECAY,
    SECTION_REACTORS_EMPTYING,
    SECTION_POLLUTANTS,
    SECTION_DECAY_COEFFICIENT,
    SECTION_INITIAL_CONCENTRATION,
    SECTION_LANDUSES,
    SECTION_COVERAGES,
    SECTION_BUILDUP,
    SECTION_WASHOFF,
    SECTION_LOADINGS,
    SECTION_LIDS,
    SECTION_LID_GROUPS,
    SECTION_LID_MONOS,
    SECTION_VORN_INPS,
    SECTION_CURVES,
    SECTION_TIMESERIES,
    SECTION_PATTERNS,
    SECTION_CONVERTERS,
    SECTION_RTC,
    SECTION_GA_OBJECTIVES,
    SECTION_GA_CONSTRAINS,
    SECTION_GA_PARAMETERS,
    SECTION_GA_VARIABLES,
    SECTION_LABELS,
    SECTION_ELEMENTS,
    SECTION_EDGES,
    SECTION_GRAPH,
    SECTION_MAP,
    SECTION_LEGEND,
    SECTION_COUNT
};

/// What the first pass does with a line of a section.
enum CountRule : int32_t {
    COUNT_NOTHING,
    COUNT_OPTION,        ///< a general option
    COUNT_OBJECT,        ///< one object of a class
    COUNT_NEW_OBJECT,    ///< one object, unless its name is known: objects of several lines
    COUNT_NODE,          ///< one node of a kind
    COUNT_LINK,          ///< one link of a kind
    COUNT_RULE,          ///< one rule for each RULE line
    COUNT_COUPLED_NODE,  ///< one node, unless the name is a known node or begins an exchange record
};

/// What an object's line in the second pass is: a row of which table.
struct Section {
    const char* name;
    CountRule countRule;
    int32_t type;  ///< ObjectType of COUNT_OBJECT and COUNT_NEW_OBJECT, NodeKind or LinkKind of the others
};

extern const Section Sections[SECTION_COUNT];

/// Number of a section by its name in brackets, or -1.
int32_t sections_find(const char* name);

/// Words that begin the exchange records of SWMM nodes and of treatment-plant nodes.
extern const char* const SwmmRecordWords[];
extern const char* const VornRecordWords[];
