#pragma once
// The model that the public functions work on, for tests that look into it.

#include "api/defaultmodel.h"
#include "model/model.h"

/// The default model of now: each opening and each close puts a new one in its place.
inline Model& testModel() {
    return defaultmodel_get();
}
