#pragma once
// The folder model: what all objects share, whatever their kind. It uses the folders text and platform; it must know no
// kind of node or link beyond its number, no step and no result. A room here owns one table (curves, series, patterns,
// pollutants), or one service (names, memory, failures) that every floor above calls.
//
// What all rooms name: the classes and kinds of object, the common records of nodes and links, options, clocks and the
// totals that many rooms add to. The record of a kind stands in the room of that kind.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/outputs.h"
#include "text/textfile.h"

/// Classes of object. The numbers index counts and tables of names.
enum ObjectType : int32_t {
    GAGE,
    SUBCATCH,
    NODE,
    LINK,
    POLLUT,
    LANDUSE,
    LID,
    RULE,
    CURVE,
    TSERIES,
    PATTERN,
    CONVERTER,
    OBJECT_TYPE_COUNT
};

/// Kinds of node and kinds of link, made of the list of sections; hosts see these numbers.
enum NodeKind : int32_t {
#define TARNVELDE_NODE_SECTION(number, name, kind) kind,
#define TARNVELDE_COUPLED_SECTION(number, name, kind) kind,
#include "model/sections.def"
    NODE_KIND_COUNT
};

enum LinkKind : int32_t {
#define TARNVELDE_LINK_SECTION(number, name, kind) kind,
#include "model/sections.def"
    LINK_KIND_COUNT
};

/// The words by which the report calls the kinds.
extern const char* const NodeKindWords[NODE_KIND_COUNT];
extern const char* const LinkKindWords[LINK_KIND_COUNT];

struct ExtInflow;
struct DwfInflow;

/// What every node has, whatever its kind. Arrays have one element per pollutant and are null without pollutants. What
/// a step moves without pollutants is the first line of memory and nothing else; the rest follows.
struct alignas(64) Node {
    double newInflow;         ///< m3/s, newLatFlow + newUpstreamFlow
    double newUpstreamFlow;   ///< m3/s, arriving over links
    double newLatFlow;        ///< m3/s: runoff, drains, external and dry-weather inflow, direct discharges
    double oldInflow;         ///< m3/s, newInflow of the previous step
    double oldUpstreamFlow;   ///< m3/s
    double oldLatFlow;        ///< m3/s
    double statInflowVolume;  ///< m3, inflow of the run
    double statMaxInflow;     ///< m3/s

    int32_t kind;          ///< NodeKind; -1 until read
    int32_t kindIndex;     ///< row in the table of the kind
    double* massInflow;    ///< kg/s, load of the step
    double* newQual;       ///< mg/L
    double* oldQual;       ///< mg/L
    const char* id;        ///< the ID as first seen; null until read
    ExtInflow* extInflow;  ///< head of the external inflows, the newest first
    DwfInflow* dwfInflow;  ///< head of the dry-weather inflows, the newest first
    bool isHead;           ///< nothing upstream, so the order of the nodes starts here
};

/// What a link knows of itself and needn't work out in a step; a sum. It is forgotten whenever somebody may have
/// changed what it follows from.
enum LinkFact : uint8_t {
    FACT_WHOLE_SHARE = 1,  ///< whoever comes after the last firing gets the flow of that firing alone
    FACT_FREE_OUTFLOW = 2  ///< no limit and no setting holds back anything, and nothing floods or did so
};

/// The clock of a link that collects for a period and then fires, and what it has collected. Kinds that have none leave
/// it empty.
struct FireClock {
    double lastFireTime;  ///< ms since the start
    double nextFireTime;  ///< ms since the start
    double sumVolume;     ///< m3, offered by the upstream node since the last firing
    int32_t sumCount;     ///< routing steps summed
    uint16_t restKey;     ///< the key of the model under which the link was found to be at rest; 0 if it isn't
    bool isChanged;       ///< the new state differs from the old one, which the next step brings up to it
    uint8_t facts;        ///< LinkFact
};

/// What every link has, whatever its kind: in the first line of memory what nearly every step touches without
/// pollutants, and nothing else. The routing step knows the kind and its row otherwise.
struct alignas(64) Link {
    FireClock clock;
    double oldFlow;         ///< m3/s, newFlow of the previous step
    double newFlow;         ///< m3/s, delivered at the downstream end
    double statFlowVolume;  ///< m3
    double statMaxFlow;     ///< m3/s

    double* newQual;       ///< mg/L, one per pollutant
    double* oldQual;       ///< mg/L, one per pollutant
    double* sumMass;       ///< kg, one per pollutant, offered as the volume of the clock
    double setting;        ///< 0 ... 1, the opening
    double targetSetting;  ///< 0 ... 1, the opening that rules and switches ask for
    const char* id;        ///< the ID as first seen; null until read
    int32_t kindIndex;     ///< row in the table of the kind
    int32_t fromNode;      ///< node at the upstream end
    int32_t toNode;        ///< node at the downstream end
    int16_t kind;          ///< LinkKind; -1 until read
    bool isLagged;         ///< delivers the previous step's values and may close a loop
    bool isHostSetting;    ///< the host holds the setting, rules don't move it
};
static_assert(sizeof(Link) == 2 * 64);

/// What a link has flooded over the run.
struct LinkFlood {
    double volume;   ///< m3
    double maximum;  ///< m3/s
};

/// Water of the whole network over the run, m3.
struct FlowTotalsRecord {
    double externalInflow;
    double dryWeatherInflow;
    double wetWeatherInflow;
    double swmmInflow;  ///< out of SWMM nodes into the network
    double vornInflow;  ///< out of treatment-plant nodes into the network
    double floodingLoss;
    double externalOutflow;
    double swmmOutflow;  ///< given to SWMM nodes
    double vornOutflow;  ///< given to treatment-plant nodes
    double evapLoss;
    double seepageLoss;
    double reserved;
    double delayedVolume;
    double initStorage;
    double finalStorage;
};

/// One pollutant in the whole network over the run, kg.
struct QualTotalsRecord {
    double externalInflow;
    double dryWeatherInflow;
    double wetWeatherInflow;
    double swmmInflow;
    double vornInflow;
    double floodingLoss;
    double externalOutflow;
    double swmmOutflow;
    double vornOutflow;
    double reserved;
    double seepageLoss;
    double reactedLoss;
    double delayedMass;
    double initStorage;
    double finalStorage;
};

/// What was made and lost over the run.
struct Totals {
    FlowTotalsRecord flow;
    QualTotalsRecord* quality;  ///< one per pollutant; null before the first start
    double initSurfaceStorage;  ///< m3, on the land at the start; 0 but in a run that began with a state
    double* startVolumes;       ///< m3, at the start, of each subcatchment, node and link; null before the first start
    double runoffError;         ///< %, set by the last report, as are the next two
    double flowError;           ///< %
    double qualityError;        ///< %
};

/// What a project is known by again: sums of its text, and of the objects in it and how they are joined.
struct Fingerprint {
    uint64_t structure;
    uint64_t content;
};

/// How many objects the file has, of each class, kind of node and kind of link.
struct ObjectCounts {
    int32_t objects[OBJECT_TYPE_COUNT];
    int32_t nodeKinds[NODE_KIND_COUNT];
    int32_t linkKinds[LINK_KIND_COUNT];
};

/// The choices of the file, and what follows from them alone.
struct Options {
    double startDate, startTime, endDate, endTime;  ///< days
    double startDateTime, endDateTime;              ///< days
    double totalDuration;                           ///< ms, of the run
    int32_t runoffStep, routingStep, reportStep;    ///< s
    double startDryDays;                            ///< days
    bool reportAverage;                             ///< node and link results are means over the report step
    bool lidMonoRainfall;                           ///< rain of their gages falls on LID monomer nodes
    double eventInterval;                           ///< s, gap between rain events
    double eventMinValue;                           ///< mm, smallest rain that makes an event
    double conduitLengthening;                      ///< m, smallest length of a conduit
};

/// Clocks of the run, milliseconds since the start.
struct Clock {
    double oldRunoffTime, newRunoffTime;
    double oldRoutingTime, newRoutingTime;
    double reportTime;
    double elapsedDays;  ///< days
};

/// Text of the report that waits to be written.
struct HeldText {
    std::string text;
    bool hasBegun = false;         ///< the file was emptied for it
    OutputPlace* place = nullptr;  ///< of the report
};

/// A file that is read, and what for.
struct InputFile {
    FileIdentity identity;
    bool isRead;  ///< false of what an outside model writes
    std::string use;
};

/// Names of files as the host gave them, and those of them that are open.
struct Files {
    std::string inputName;  ///< cut to 259 bytes, as are the next two
    std::string reportName;
    std::string resultsName;
    std::string inputFolder;   ///< drive and folder of the input file, with the separator at its end
    std::string databaseName;  ///< beside the input file
    TextFile input;            ///< open from the opening of the project to its close
    std::FILE* report;         ///< null while none is open
    OutputPlace reportPlace;
    std::unique_ptr<HeldText> heldReport;  ///< null while the report is written at once
    std::vector<InputFile> inputs;         ///< so that none of them becomes an output
    uint64_t inputsSum;                    ///< of all that the run reads; 0 until a run has results
};

/// Libraries of the engines inside nodes, and the folders for their private copies.
struct EngineLibraries {
    std::string swmmLibrary, swmmFolder;
    std::string vornLibrary, vornFolder;
    bool hasPrivateCopies = false;  ///< each in a folder of its own; where none is given, in one of the system
    std::string around{};           ///< paths of the projects around this one, outermost first, each ended by \n
    int32_t room = 10000;           ///< projects more that may be opened inside nodes, all in all
};

/// One-shot flows (m3/s) and loads (kg/s) from the host, for the coming routing step; in the order of the calls.
struct HostInflow {
    int32_t node;
    int32_t pollutant;
    double value;
};

/// One request of the host for an object inside a SWMM node.
struct SwmmRequest {
    int32_t node;
    std::string object;
    std::string pollutant;  ///< loads only
    double value;
};

/// What the host has asked for since the last routing step, and what it holds.
struct HostRequests {
    std::vector<HostInflow> inflows;
    std::vector<HostInflow> loads;
    std::vector<HostInflow> heldInflows;  ///< for each step of the run until the host lets go; by node, one each
    std::vector<HostInflow> heldLoads;    ///< by node and pollutant, likewise
    std::vector<SwmmRequest> swmmInflows;
    std::vector<SwmmRequest> swmmSettings;
    std::vector<SwmmRequest> swmmLoads;
};

/// How the steps of a model are worked out. Nothing of it can be seen in any result. The counts move on whenever
/// somebody else than a step may have written to the land or to the network: a start, a host, a restored state. What an
/// object has found out about itself and keeps - that it rests, a power - holds as long as they stand.
struct Pace {
    int32_t threadCount = 1;  ///< that share the work on the land and on rows of results
    bool isPlain = false;     ///< works out every step of every object, also where nothing can change
    uint64_t landChanges = 1;
    uint64_t networkChanges = 1;
};

/// By what an object knows whether what it once found out about its rest still holds: a key that changes with whatever
/// else the next step of a resting object depends on.
struct Rest {
    uint64_t seenChanges;  ///< Pace::networkChanges of the step before
    int32_t hour;          ///< of the day, of that step
    int32_t visitCount;    ///< visits that rest
    uint16_t key;          ///< of this step; never 0
    bool isHourly;         ///< something that rests decays by the hour, so the key changes with the hour
    bool isAllowed;        ///< whether anything may rest in this step
};

/// Says that somebody may have written to the land, to the network or to both.
inline void pace_noteLandChange(Pace& pace) {
    ++pace.landChanges;
}
inline void pace_noteNetworkChange(Pace& pace) {
    ++pace.networkChanges;
}
inline void pace_noteChange(Pace& pace) {
    ++pace.landChanges;
    ++pace.networkChanges;
}

/// Below this rate, m/s, there is no rain and no runoff.
constexpr double DRY_RATE = 7.056e-10;
