#pragma once
// CVODE of SUNDIALS (Hindmarsh et al. 2005) on a plant: variable order and step, backward differences, Newton with an
// iterative solver. Each call begins anew, so that what follows depends on the state alone.

#include <memory>
#include <string>
#include <vector>

#include "preconditioner.h"
#include "system.h"

/// What belongs to SUNDIALS.
struct Solver;

struct SolverEnd {
    void operator()(Solver* solver) const;
};

struct Integrator {
    System system;
    Preconditioner preconditioner;
    std::unique_ptr<Solver, SolverEnd> solver;  ///< null: not ready

    Integrator() = default;
    ~Integrator() = default;
    Integrator(const Integrator&) = delete;
    Integrator& operator=(const Integrator&) = delete;
};

/// Makes ready for a model, which must stay where it is. An empty text, or what failed.
[[nodiscard]] std::string integrator_init(const PlantModel& model, Integrator& integrator);

/// Moves a state on by days, at the inflow of the system. An empty text, or where it failed; then the state has not
/// moved.
[[nodiscard]] std::string integrator_advance(Integrator& integrator, double days, long mostSteps,
                                             std::vector<double>& state);

/// The name of a place in the state, for messages.
[[nodiscard]] std::string integrator_describePlace(const System& system, size_t place);

/// Steps of CVODE since it was made ready.
[[nodiscard]] long integrator_countSteps(const Integrator& integrator);
