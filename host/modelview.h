#pragma once
// What a model holds, in the types of the program: IDs in UTF-8, values of a class at once, names of kinds.

#include <cstdint>
#include <string>
#include <vector>

#include "tarnvelde_model.h"

[[nodiscard]] int32_t modelview_count(const tv_model* model, int32_t objectClass);

/// A LID unit, which has no ID, is known by its subcatchment and its definition.
[[nodiscard]] std::string modelview_getId(const tv_model* model, int32_t objectClass, int32_t index);

/// "junction", "pipe" and so on; of other classes "subcatchment" or "LID unit".
[[nodiscard]] const char* modelview_getKindName(const tv_model* model, int32_t objectClass, int32_t index);

/// A variable of all objects of a class; NaN of those that don't have it, or if it isn't known now.
[[nodiscard]] std::vector<double> modelview_getValues(const tv_model* model, int32_t objectClass, const char* variable,
                                                      int32_t pollutant = TV_NO_POLLUTANT);

/// A variable of the whole model.
[[nodiscard]] double modelview_getSystemValue(const tv_model* model, const char* variable,
                                              int32_t pollutant = TV_NO_POLLUTANT);

/// The object that another one is related to; -1 for none.
[[nodiscard]] int32_t modelview_getRelated(const tv_model* model, int32_t relation, int32_t index);

[[nodiscard]] std::vector<std::string> modelview_listPollutants(const tv_model* model);

/// Indices of the nodes or links of a kind; of other classes all.
[[nodiscard]] std::vector<int32_t> modelview_listKind(const tv_model* model, int32_t objectClass, int32_t kind);
