#pragma once
// The model: all that one project is and does, in one object. Whoever opens a project makes one, whoever closes it lets
// it go, and nothing outlives it; so a process may hold as many as it likes, and each may run in a thread of its own.
//
// The rooms own what they keep here: a table belongs to the room that describes its record, and only that room and the
// floors above it write it. A function is handed the model, or the part of it that serves.

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_set>
#include <vector>

#include "model/arena.h"
#include "model/errors.h"
#include "model/names.h"
#include "model/project.h"
#include "model/roomstate.h"
#include "model/table.h"
#include "model/topology.h"
#include "text/textfile.h"

struct ActionList;
struct BinaryResults;
struct BuildupRules;
struct CircleTables;
struct Conduit;
struct Connection;
struct Converter;
struct Curve;
struct DatabaseResults;
struct DryWeatherNode;
struct EvapRecord;
struct Gage;
struct Landuse;
struct Lid;
struct LidGroup;
struct LidMono;
struct LidUnit;
struct LandRest;
struct LidRest;
struct LoadBook;
struct MessageLog;
struct Orifice;
struct Outfall;
struct Pattern;
struct Pipe;
struct Pollut;
struct Pump;
struct Reactor;
struct ResultBuffers;
struct Rule;
struct RunningIndices;
struct Series;
struct Splitter;
struct Subcatch;
struct SwmmNode;
struct Tank;
struct Transect;
struct Visit;
struct VisitLink;
struct VornNode;
struct Weir;
class Workers;

struct Model {
    Model();
    ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // --- files and messages

    Files files{};
    EngineLibraries engines{};
    CurrentError error{};
    MessageLog* log{};  ///< of the host, or null
    bool isSilent{};    ///< says nothing on standard output
    bool isOpen{};
    bool isStarted{};
    Pace pace;

    // --- what was read: constant through a run but for what a host sets

    Memory memory;
    Options options{};
    std::string description[10];  ///< lines of the report's head; an empty one is unused
    ObjectCounts counts{};
    Fingerprint fingerprint{};
    NameTables names;

    Table<Gage> gages;
    Table<Subcatch> subcatches;
    Table<Landuse> landuses;
    Table<Lid> lids;
    Table<LidGroup> lidGroups;  ///< one per subcatchment
    Table<LidUnit> lidUnits;    ///< of all subcatchments, in the order of their lines
    RoomState<EvapRecord> evap;
    RoomState<Workers> workers;
    RoomState<BuildupRules> buildupRules;
    RoomState<LandRest> landRest;
    RoomState<LidRest> lidRest;

    Table<Node> nodes;
    Table<Tank> tanks;
    Table<Outfall> outfalls;
    Table<Splitter> splitters;
    Table<Reactor> reactors;
    Table<LidMono> lidMonos;
    Table<SwmmNode> swmmNodes;
    Table<VornNode> vornNodes;

    Table<Link> links;
    Table<LinkFlood> linkFloods;  ///< by link
    Table<Pipe> pipes;
    Table<Pump> pumps;
    Table<Connection> connections;
    Table<Conduit> conduits;
    RoomState<CircleTables> circleTables;
    Table<Weir> weirs;
    Table<Orifice> orifices;

    Table<Pollut> polluts;
    Table<Curve> curves;
    Table<Series> timeSeries;
    Table<Pattern> patterns;
    Table<Converter> converters;
    Table<Rule> rules;

    Table<const Transect*> transects;
    LinkIndex outgoingLinks, incomingLinks;  ///< by node

    // --- while it is read

    int32_t clauseState{};                 ///< the ClauseWord of the rules that was read last
    RoomState<RunningIndices> running;     ///< of the second pass
    std::unordered_set<uint64_t> sensors;  ///< a pollutant at a place each, for the rules (rulereader)

    // --- the state of the run

    Clock clock{};
    int32_t sinks{};  ///< ResultSink, a sum: where the rows of the run go
    HostRequests requests;
    int32_t heldGageCount{};  ///< gages whose rain the host holds

    int32_t* sortedNodes{};  ///< in the order of visits; null before the first start
    int64_t visitCount{};    ///< of the network, over the run
    int32_t reachedCount{};  ///< nodes that a path leads to from a head, by the check of the project
    Table<Visit> visits;
    bool areVisitsDue{};     ///< to be listed anew ahead of the next step: their order may not hold any more
    bool isOrderStraight{};  ///< nearly all visits stand after the one before in the tables as well
    Table<VisitLink> outgoingVisits, incomingVisits;
    Table<int32_t> visitsByNode;      ///< place in `visits`, by node; -1 if the order leaves a node out
    Table<int32_t> nodesRolledAhead;  ///< that roll ahead of the visits; all others do so in their visit
    Table<double> deliveries;         ///< of links to the nodes that they enter: flow, m3/s, and loads, kg/s
    Rest rest{};
    Table<int32_t> restingPipes;                    ///< by visit: the link that is all there is to do, or a VisitRest
    Table<int32_t> uncountedNodes, uncountedLinks;  ///< of which no visit makes the statistics

    std::vector<DryWeatherNode> nodesWithDryWeather;  ///< in the order of the nodes
    std::vector<int32_t> nodesWithExternal;           ///< likewise
    Table<int32_t> guidedLinks;                       ///< whose target may differ from their setting
    Table<uint8_t> isGuided;                          ///< by link: stands in guidedLinks
    int32_t floodingPipeCount{};                      ///< pipes whose newFlood isn't 0
    bool hasEndlessQuality{};                         ///< some concentration in a pipe of the run was no finite number
    RoomState<ActionList> actionList;
    RoomState<LoadBook> loadBook;

    // --- results and totals

    Totals totals{};
    RoomState<ResultBuffers> results;
    RoomState<BinaryResults> binary;
    RoomState<DatabaseResults> database;
};

/// The date of a clock: the extra millisecond keeps a whole second from falling just before itself.
[[nodiscard]] double model_getDate(const Model& model, double clock);

/// Duration (s) between the dates of the options, known while the lines are read; 0 or less if the dates are wrong.
[[nodiscard]] double model_getDuration(const Model& model);

/// Whether a time (s) is no whole number of steps (s).
[[nodiscard]] inline bool model_isBroken(double time, double step) {
    const double steps = time / step;
    return steps < 9.0e15 && steps != static_cast<double>(static_cast<int64_t>(steps));
}

[[nodiscard]] inline int32_t model_pollutantCount(const Model& model) {
    return model.counts.objects[POLLUT];
}

/// Places that hold water: subcatchments, nodes and links.
[[nodiscard]] inline int64_t model_getPlaceCount(const Model& model) {
    return int64_t{model.counts.objects[SUBCATCH]} + model.counts.objects[NODE] + model.counts.objects[LINK];
}

/// Empties the five lists that a host has filled.
void model_clearHostLists(Model& model);
