#pragma once
// The steady state of a plant at its design inflow, by two ways that must agree: time stepping, and Newton's method.

#include <string>
#include <vector>

#include "integrator.h"

/// The state to begin a search with: tanks and settler with some sludge in water as it comes.
[[nodiscard]] std::vector<double> steady_guess(const System& system);

/// Steps until `days` are over, at the system's inflow. An empty text, or what failed.
[[nodiscard]] std::string steady_step(Integrator& integrator, double days, std::vector<double>& state);

/// Improves a state until nothing changes any more. An empty text, or what failed; then the state is as it was.
[[nodiscard]] std::string steady_solve(Integrator& integrator, std::vector<double>& state);

/// Both, as a run begins with it.
[[nodiscard]] std::string steady_find(Integrator& integrator, std::vector<double>& state);
