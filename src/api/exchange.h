#pragma once
// The folder api: the functions of include/tarnvelde.h, and nothing that the header doesn't promise. It uses all
// floors; nobody uses it. A function tests its state, its pointers and its names before it touches anything, lets
// nothing be thrown through it, and leaves the work to the rooms below. The life cycle answers with public codes, the
// exchange with 0 or -1.
//
// What the exchange functions share: their codes, and names to rows.

#include <cstdint>

#include "model/project.h"

struct Model;

constexpr int32_t SUCCESS = 0;
constexpr int32_t FAILURE = -1;

/// Row of a name in the table of its class, -1 if there is none: for a null, empty or unknown name, and while the table
/// of the class doesn't exist.
[[nodiscard]] int32_t exchange_findRow(const Model& model, int32_t type, const char* name, int32_t tableSize);

/// The node or link of a name if it is of a kind, or null.
[[nodiscard]] Node* exchange_findNode(Model& model, const char* name, int32_t kind);
[[nodiscard]] Link* exchange_findLink(Model& model, const char* name, int32_t kind);

/// Object codes of parameters and results.
enum ExchangeObject : int32_t {
    OBJECT_CODE_SUBCATCH = 1,
    OBJECT_CODE_JUNCTION,
    OBJECT_CODE_TANK,
    OBJECT_CODE_OUTFALL,
    OBJECT_CODE_SPLITTER,
    OBJECT_CODE_REACTOR,
    OBJECT_CODE_LID_MONO,
    OBJECT_CODE_PIPE,
    OBJECT_CODE_PUMP,
    OBJECT_CODE_CONNECTION,
    OBJECT_CODE_CONDUIT,
    OBJECT_CODE_WEIR,
    OBJECT_CODE_ORIFICE
};
