#pragma once
// A project of this engine inside a node of another one, as swmm5ex.cpp shows it to the project around it. It is a host
// of the second face like any other: what enters are forcings, what comes out are results of the last step.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tarnvelde_model.h"

/// Types of object that the project around asks for. The node has the number that all engines agree on.
enum NestedType : int32_t { NESTED_GAGE, NESTED_NODE, NESTED_LINK, NESTED_SUBCATCHMENT, NESTED_POLLUTANT };

/// Numbers of results: those of a node up to here are of water, then follow the concentrations.
enum NestedProperty : int32_t { NESTED_TOTAL_INFLOW = 4, NESTED_FIRST_POLLUTANT = 6 };

/// What surrounds the project.
struct Surroundings {
    std::string projects;     ///< paths, outermost first, each ended by a line feed
    int32_t room = 0;         ///< projects more that may be opened inside this one; below 0: not even this one
    bool keepsFiles = true;   ///< the project around has a report, so this one has one too
    std::string swmmLibrary;  ///< engines and folders for their copies, as the host gave them
    std::string swmmFolder, plantLibrary, plantFolder;
};

struct Nested {
    Surroundings around;
    tv_model* model = nullptr;
    std::string resultsFile;
    std::string message;            ///< of the latest failure; empty if there was none
    double elapsed = 0.0;           ///< ms since the start
    bool isBroken = false;          ///< a step of the run has failed: what it left is not asked for
    std::vector<int32_t> served;    ///< nodes with an inflow or a load for the next step
    std::vector<uint8_t> isServed;  ///< by node
};

/// Opens a project. 0, or a code after its message; nested_close follows in any case.
int32_t nested_open(Nested& nested, const char* input, const char* report, const char* results);

/// Begins a run, which keeps results in a file if it is to.
int32_t nested_start(Nested& nested, bool savesResults);

/// One step; stores the days since the start, 0 when the run is over.
int32_t nested_step(Nested& nested, double& elapsedDays);

/// Writes the tables of the report, and ends the run.
int32_t nested_end(Nested& nested);
int32_t nested_close(Nested& nested);

/// What enters a node during the next step alone: m3/s, and kg/s of a pollutant.
int32_t nested_setInflow(Nested& nested, const char* node, double flow);
int32_t nested_setLoad(Nested& nested, const char* node, const char* pollutant, double load);

/// Value of a variable of an object, a forcing or a parameter, for good.
int32_t nested_setValue(const Nested& nested, int32_t type, const char* id, const char* variable, double value);

/// Gives a forcing back to the project.
int32_t nested_release(const Nested& nested, int32_t type, const char* id, const char* variable);

/// A result of the last step by its number, or the value of a variable.
int32_t nested_getResult(const Nested& nested, int32_t type, const char* id, int32_t property, double& value);
int32_t nested_getValue(const Nested& nested, int32_t type, const char* id, const char* variable, double& value);

/// The same by the number of the variable in the list, plus 1000 for the first pollutant, 2000 for the second, ...
int32_t nested_getParameter(const Nested& nested, int32_t type, const char* id, int32_t code, double& value);
int32_t nested_setParameter(const Nested& nested, int32_t type, const char* id, int32_t code, double value);

/// The class of a type; none for numbers that are no type.
int32_t nested_getClass(int32_t type);

/// Index of an object; negative if there is none.
int32_t nested_find(const Nested& nested, int32_t type, const char* id);

/// Whether water can enter or leave at a node: not at one with a model inside.
[[nodiscard]] bool nested_isPlace(const Nested& nested, const char* node);

/// Dates and step, all 0 of a project that isn't open.
tv_clock nested_getClock(const Nested& nested);
[[nodiscard]] bool nested_isOpen(const Nested& nested);

/// The state as bytes: the number needed, written if `size` is enough; negative if it can't be saved.
int32_t nested_saveState(const Nested& nested, void* buffer, int32_t size);
int32_t nested_restoreState(Nested& nested, const void* bytes, int32_t size);
