#pragma once
// Objects as tarnvelde_model.h counts them: by class and index.

#include <cstdint>

struct Model;

/// Objects of a class, or -1 for no class.
[[nodiscard]] int32_t modelobjects_getCount(const Model& model, int32_t objectClass);

/// The class of the objects of a class of names (ObjectType); the system for none.
[[nodiscard]] int32_t modelobjects_getClass(int32_t nameClass);

/// 0, or the code of a class or an index that isn't there.
[[nodiscard]] int32_t modelobjects_test(const Model& model, int32_t objectClass, int32_t index);

/// Kind of a node or a link that is there; 0 in other classes.
[[nodiscard]] int32_t modelobjects_getKind(const Model& model, int32_t objectClass, int32_t index);
