#pragma once
// The state of a run: all that it has come to, as bytes, so that it can be saved, restored, continued from and
// compared. The same bytes serve memory and files; docs/states.md tells them. What is saved is listed by the rooms
// themselves (model/fields.h).
//
// A model must be started, and no error may stand, for any of it.

#include <cstddef>
#include <cstdint>

struct Model;

/// Why a state isn't taken. Then nothing has changed.
enum StateFault : int32_t {
    STATE_OK,
    STATE_NO_RUN,    ///< no run is started, or it has met an error
    STATE_NO_STATE,  ///< the bytes are no state, or the end is missing
    STATE_VERSION,   ///< of another version of the format or of the engine, or of a machine of the other byte order
    STATE_DAMAGED,   ///< the bytes aren't those that were saved
    STATE_OTHER_PROJECT,  ///< of a project with other content, or other objects
    STATE_NOT_AT_START,   ///< a run that is to begin with a state has taken steps before
    STATE_ENGINE,         ///< an engine inside a node can't save its state, or doesn't take it
    STATE_NO_MEMORY
};

/// The ID of the first node whose engine can't save its state; null if there is none.
[[nodiscard]] const char* state_findRefusal(const Model& model);

/// Bytes of the state as it is now; 0 if it can't be saved.
[[nodiscard]] size_t state_getSize(Model& model);

/// Writes the state to a place of that size. Nothing is written if it can't be saved.
void state_save(Model& model, void* bytes);

/// The same in one call, for a place that is used again and again: gives the size, and writes if there is room enough.
size_t state_saveInto(Model& model, void* bytes, size_t room);

/// Puts a run to a state of this project, whichever run of it has left it and wherever this one stands. It goes on to
/// the same bits as the one that left it. Of results in a file or database those from the state's period on are taken
/// back.
[[nodiscard]] StateFault state_restore(Model& model, const void* bytes, size_t size);

/// Begins a run, which has just been started, with what a state holds: of a project with the same objects, whatever its
/// dates and parameters. Totals, statistics and results begin anew.
[[nodiscard]] StateFault state_hotStart(Model& model, const void* bytes, size_t size);

/// Milliseconds since the start of its run at which a state was taken; below 0 if it is none.
[[nodiscard]] double state_getTime(const void* bytes, size_t size);

/// The first field in which two states differ.
struct StateDifference {
    bool isDifferent;
    StateFault fault;   ///< if one of them is none of this project's
    const char* table;  ///< of its object; null for what belongs to the whole
    int32_t row;
    const char* field;
};

/// Compares two states of the project of a model.
[[nodiscard]] StateDifference state_compare(Model& model, const void* a, size_t sizeA, const void* b, size_t sizeB);
