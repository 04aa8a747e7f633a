#pragma once
// Results by number, for hosts that look between steps: values as they stand after the step, not interpolated.

#include <cstdint>
#include <optional>

struct Model;

/// What a host is told: a value, and whether the call succeeds although, or because, it is there.
struct ToldResult {
    double value;
    bool isSuccess;
};

/// The result `code` of an object of a table, or nothing. A code is the place of a column in a row of the table, of
/// deeper layers in part only.
std::optional<ToldResult> codes_find(const Model& model, int32_t table, int32_t object, int32_t code);
