#pragma once
// Projects whose steps are counted.

#include <string>

/// "network", "dry" (the same without inflow), "town" or "street"; empty for another name. `examples` is the folder of
/// the examples.
std::string bench_makeProject(const std::string& name, const std::string& examples);
