#pragma once
// The folder coupling: nodes with a model of their own inside, run by a library of somebody else. It uses the folders
// nodes, links, hydrology and what is below; it must know no rule, no result and not the routing step, which tells it
// to advance. A kind of engine is a list of entry points, a record that holds an OutsideNode, and the same functions as
// any other kind of node.
//
// What all nodes have in common whose inside is a model of its own, run by an outside engine: the private copy of the
// engine's library, and the records of what passes between the network and the objects of that model.

#include <cstdint>
#include <string>
#include <vector>

#include "coupling/entries.h"
#include "model/model.h"
#include "model/project.h"
#include "platform/library.h"
#include "platform/privatefolder.h"
#include "text/tokens.h"

/// What passes at one object of an outside model: from a link or a subcatchment into it, or out of it into a link. The
/// loads into a treatment plant are by constituent in g/s, all others by pollutant in kg/s.
struct CoupledFlow {
    const char* objectId;  ///< name of the object inside the outside model
    int32_t index;         ///< link; or the subcatchment that an INFLOW line named: only the number is kept
    int32_t converter;     ///< treatment plants: how pollutants become constituents, or components pollutants
    CoupledFlow* next;     ///< next record of the list, in file order
    double oldFlow;        ///< m3/s, at the start of the step
    double newFlow;        ///< m3/s, at its end
    double* oldLoad;       ///< the arrays live as long as the run
    double* newLoad;
    double* sumLoad;    ///< loads added up since a receiving pipe was last fed
    double sumFlow;     ///< m3/s, flows added up likewise
    int32_t sumCount;   ///< values in sumFlow
    double statVolume;  ///< m3, passed in the run
};

/// Records in file order, and the same in the order of their indices, for a run.
struct CoupledList {
    CoupledFlow* head;
    CoupledFlow* tail;
    std::vector<CoupledFlow*> byIndex;  ///< equal indices stay in file order
};

/// A run of records of one index, in file order.
struct CoupledRange {
    CoupledFlow* const* first;
    CoupledFlow* const* last;

    CoupledFlow* const* begin() const { return first; }
    CoupledFlow* const* end() const { return last; }
};

/// Totals of the network that a kind of outside model adds to.
struct OutsideTotals {
    double FlowTotalsRecord::*inflow;       ///< m3, out of the model into the network
    double FlowTotalsRecord::*outflow;      ///< m3, given to the model
    double QualTotalsRecord::*inflowMass;   ///< kg
    double QualTotalsRecord::*outflowMass;  ///< kg
};

/// What an engine may offer besides: its state as bytes. Both or none; null without.
struct OutsideStateCalls {
    Entry<int(void* buffer, int size)> save;  ///< gives the bytes needed, below 0 if it can't; fills what is enough
    Entry<int(const void* bytes, int size)> restore;  ///< 0 is success; otherwise nothing has changed
};

/// What an engine may offer besides, each for itself: that it hears where it is, and says what went wrong.
struct OutsideSpeechCalls {
    Entry<int(const char* projects, int room, int keepsFiles, const char* swmmLibrary, const char* swmmFolder,
              const char* plantLibrary, const char* plantFolder)>
        setSurroundings;
    Entry<int(char* text, int size)> getMessage;  ///< the bytes of the text of the latest failure, 0 if there is none
};

/// The part that SWMM nodes and treatment-plant nodes share.
struct OutsideNode {
    const char* inpFile;   ///< path as given; from the validation on the full path that the engine reads
    int32_t saveResults;   ///< 1: the engine is to save results of its own
    double oldTime;        ///< ms since the start, the engine's clock before its latest step
    double newTime;        ///< ms since the start, after it
    CoupledList inflows;   ///< what the network gives to the model
    CoupledList outflows;  ///< what the model gives to the network
    double* scratch;       ///< one number per pollutant: loads, kg/s, or concentrations, mg/L; lives as long as the run
    LibraryHandle library;
    OutsideStateCalls stateCalls;
    OutsideSpeechCalls speechCalls;
    bool isOpen;               ///< the engine was asked to open the model, well or not, and is to close it
    bool isStarted;            ///< the engine was asked to start, well or not, and is to end
    std::string libraryCopy;   ///< path of the private copy; empty while there is none
    PrivateFolder copyFolder;  ///< of this copy alone, where it has one
};

/// A kind of engine: the names of its library, and what is said when something is wrong with it.
struct OutsideKind {
    const char* fileName;
    const char* nativeName;  ///< taken where a file of the first name isn't there; may be empty
    int32_t missingError;
    int32_t folderError;
    int32_t copyError;  ///< ERR_NONE: a failed copy is passed over, and the missing engine shows in the validation
    int32_t datesError, startDateError, endDateError;
    int32_t startError;
};

/// The calls that bring any engine through its life; 0 is success.
struct OutsideCalls {
    Entry<int(double* start, double* end)> getStartAndEndTime;
    Entry<int(int saveFlag)> start;
    Entry<int(double* elapsedDays)> step;
    Entry<int()> end;
    Entry<int()> close;
};

/// Copies a library to a name of its own and loads the copy. `path` is the library's folder, with its separator, or a
/// file in it; where it doesn't exist the folder of the running program counts. The copy goes to `tempFolder`, again
/// with its separator, or beside the library if that is empty. Where copies are to be private it goes to a folder of
/// its own in `tempFolder` or, if that is empty, where the system keeps files that don't last, and beside the library
/// if it can't be loaded from there. Writes what is wrong to the report.
void outside_loadLibrary(Model& model, OutsideNode& outside, const OutsideKind& kind, const std::string& path,
                         const std::string& tempFolder);

/// Clears away the private copies that processes have left behind which ended before they could.
void outside_clearLeftovers(const Model& model);

/// Closes the model, releases the library and deletes the copy.
void outside_close(Model& model, OutsideNode& outside, const OutsideCalls& calls);

/// The full path of a model's file without its extension: the path as given if it exists, or the same behind the folder
/// of the project. False if there is neither.
[[nodiscard]] bool outside_findModel(Model& model, const OutsideNode& outside, std::string& path);

/// Appends a record for the object that token 1 names. An error index, or 0.
[[nodiscard]] int32_t outside_addRecord(Model& model, const Tokens& tokens, CoupledList& list, int32_t index,
                                        int32_t converter);

/// Compares the dates of the model with those of the project, to the last bit; writes what is wrong to the report.
void outside_validateDates(Model& model, const OutsideCalls& calls, const OutsideKind& kind, const char* id);

/// Tests whether the link of an outflow can take it; writes what is wrong to the report.
void outside_validateOutflow(Model& model, const CoupledFlow& outflow, const char* id);

/// Puts the records to time zero, those of the inflows with arrays of `inflowCount` loads.
void outside_initState(Model& model, OutsideNode& outside, int32_t inflowCount);

/// Starts the engine. False, after its message, if that fails.
[[nodiscard]] bool outside_start(Model& model, OutsideNode& outside, const OutsideCalls& calls, const OutsideKind& kind,
                                 const char* id);

/// Ends the engine, if it was started, and forgets what the run allocated.
void outside_end(Model& model, OutsideNode& outside, const OutsideCalls& calls);

/// The clock of the engine moves on to the days that it tells.
void outside_moveClock(OutsideNode& outside, double elapsedDays);

/// Steps the engine until it has passed the routing clock, or once if its run is over, when it tells an elapsed time of
/// 0. `give` passes what goes into the model ahead of each step, `take` fetches what comes out of it. False if the
/// engine has refused a step, which changes nothing here.
template <class Give, class Take>
bool outside_advance(const Model& model, OutsideNode& outside, const OutsideCalls& calls, Give give, Take take) {
    if (outside.newTime > model.clock.newRoutingTime) {
        return true;
    }
    bool isDone = true;
    double elapsed;
    do {
        give();
        elapsed = 0.0;
        isDone = calls.step(&elapsed) == 0 && isDone;
        take();
        outside_moveClock(outside, elapsed);
    } while (elapsed != 0.0 && outside.newTime <= model.clock.newRoutingTime);
    return isDone;
}

/// Looks for the functions of an engine that save and restore its state.
void outside_findStateCalls(OutsideNode& outside, const char* save, const char* restore);

/// Looks for the functions by which an engine hears where it is and says what went wrong, and calls the first.
void outside_findSpeechCalls(const Model& model, OutsideNode& outside, const char* setSurroundings,
                             const char* getMessage);

/// Puts what the engine says of its latest failure after the words of the failure that is reported next.
void outside_setDetail(Model& model, const OutsideNode& outside);

/// Warns that the engine of a node has refused a step, with what it says, once in a run.
void outside_tellRefusal(Model& model, const OutsideNode& outside, int32_t node);

/// The bytes of the state of an engine, 0 if it can't be saved; the state itself, false if it isn't of that size any
/// more; and the way back, false if the engine refuses.
[[nodiscard]] int32_t outside_getStateSize(const OutsideNode& outside);
bool outside_saveState(const OutsideNode& outside, void* buffer, int32_t size);
[[nodiscard]] bool outside_restoreState(const OutsideNode& outside, const void* bytes, int32_t size);

/// The records of an index; none before the start of a run.
[[nodiscard]] CoupledRange outside_findRecords(const CoupledList& list, int32_t index);

/// The room for one number per pollutant, emptied: for the loads of one link, kg/s.
[[nodiscard]] double* outside_getLoads(const Model& model, OutsideNode& outside);

/// Counts what a link gives to the model by a record in this step: a flow, m3/s, and its loads, kg/s.
void outside_countDelivery(Model& model, const OutsideTotals& totals, CoupledFlow& record, double flow,
                           const double* loads);

/// New becomes old, and the new values of all records become 0.
void outside_rollRecords(const CoupledList& list, int32_t count);

/// Weight of the new state at the time `time` between `before` and `after`; 0 if those are equal. It isn't limited: the
/// clock of an engine may lie outside the step, and goes back to 0 once its run is over.
[[nodiscard]] inline double outside_getWeight(double time, double before, double after) {
    return after == before ? 0.0 : (time - before) / (after - before);
}

/// A definition, for node `node` of a kind and row `row` of that kind: the input file, and whether the engine
/// keeps its results. An error index, or 0.
[[nodiscard]] int32_t outside_readDefinition(Model& model, const Tokens& tokens, OutsideNode& outside, int32_t node,
                                             int32_t kind, int32_t row);
