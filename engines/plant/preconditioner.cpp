// Blocks of the linearised plant.

#include "preconditioner.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int SWEEPS = 2;  // through the plant, the later ones with what flows back after the one before
constexpr double RELATIVE_STEP = 1e-7, LEAST_STEP = 1e-6;  // of difference quotients

void differentiateTank(System& system, size_t tank, const double* state, Square& square) {
    const size_t n = system.layout.components + 1;
    std::vector<double> point(state, state + n);
    std::vector<double> base(n);
    std::vector<double> moved(n);
    square.size = n;
    square.entries.resize(n * n);
    system_computeReactions(system, tank, point.data(), base.data());
    for (size_t column = 0; column < n; ++column) {
        const double step = std::max(std::fabs(point[column]) * RELATIVE_STEP, LEAST_STEP);
        const double kept = point[column];
        point[column] = kept + step;
        system_computeReactions(system, tank, point.data(), moved.data());
        point[column] = kept;
        for (size_t row = 0; row < n; ++row) {
            square.entries[row * n + column] = (moved[row] - base[row]) / step;
        }
    }
}

bool factorTank(const System& system, size_t tank, double gamma, Preconditioner& preconditioner) {
    const size_t n = system.layout.components + 1;
    Square& square = preconditioner.tanks[tank];
    square = preconditioner.reactions[tank];
    for (double& entry : square.entries) {
        entry *= -gamma;
    }
    const double exchange = system.flows.entering[tank] / system.model->tanks[tank].volume;
    for (size_t k = 0; k < n; ++k) {
        square.entries[k * n + k] += 1.0 + (k + 1 < n ? gamma * exchange : 0.0);
    }
    return linear_factor(square);
}

// How the velocity with which solids leave each layer changes with the layer's own and with the lower one's.
void differentiateSettling(System& system, const double* feed, Preconditioner& own) {
    const Settler& settler = system.model->settler;
    const double unsettling = settler.fns * matrix_computeSolids(system.model->matrix, feed);
    const std::vector<double>& solids = own.solidsWork;
    const size_t count = system.layout.layers;
    own.settled.assign(count, 0.0);
    own.ownChange.assign(count, 0.0);
    own.lowerChange.assign(count, 0.0);
    for (size_t k = 1; k < count; ++k) {
        const auto compute = [&](double upper, double lower) {
            return upper > 0.0 ? settler_computeFlux(settler, upper, lower, unsettling, k + 1 > settler.feed) / upper
                               : 0.0;
        };
        const double upperStep = std::max(std::fabs(solids[k]) * RELATIVE_STEP, LEAST_STEP);
        const double lowerStep = std::max(std::fabs(solids[k - 1]) * RELATIVE_STEP, LEAST_STEP);
        own.settled[k] = compute(solids[k], solids[k - 1]);
        own.ownChange[k] = (compute(solids[k] + upperStep, solids[k - 1]) - own.settled[k]) / upperStep;
        own.lowerChange[k] = (compute(solids[k], solids[k - 1] + lowerStep) - own.settled[k]) / lowerStep;
    }
}

void fillSettler(const System& system, Preconditioner& own) {
    const Settler& settler = system.model->settler;
    const size_t count = system.layout.layers;
    const double volume = settler.area * settler.depth / static_cast<double>(count);
    const double settling = own.gamma * settler.area / volume;
    for (Tridiagonal* part : {&own.solids, &own.particulate, &own.dissolved}) {
        part->below.assign(count, 0.0);
        part->middle.assign(count, 1.0);
        part->above.assign(count, 0.0);
        for (size_t k = 0; k < count; ++k) {
            const bool isAbove = k + 1 > settler.feed;
            const bool isFeed = k + 1 == settler.feed;
            const double flow = isFeed ? system.flows.overflow + system.flows.underflow
                                       : (isAbove ? system.flows.overflow : system.flows.underflow);
            part->middle[k] += own.gamma * flow / volume;
            if (!isFeed) {
                (isAbove ? part->below : part->above)[k] -= own.gamma * flow / volume;
            }
        }
    }
    for (size_t k = 1; k < count; ++k) {
        const double gain = settling * (own.settled[k] + own.ownChange[k] * own.solidsWork[k]);
        const double byLower = settling * own.lowerChange[k] * own.solidsWork[k];
        own.solids.middle[k] += gain;
        own.solids.below[k] += byLower;
        own.solids.above[k - 1] -= gain;
        own.solids.middle[k - 1] -= byLower;
        own.particulate.middle[k] += settling * own.settled[k];
        own.particulate.above[k - 1] -= settling * own.settled[k];
    }
}

// `feed` is the solution of the last tank.
void solveSettler(System& system, Preconditioner& own, const double* feed, double* right) {
    const PlantModel& model = *system.model;
    const size_t components = system.layout.components;
    const size_t count = system.layout.layers;
    const double volume = model.settler.area * model.settler.depth / static_cast<double>(count);
    const double settling = own.gamma * model.settler.area / volume;
    const double entering = own.gamma * (system.flows.overflow + system.flows.underflow) / volume;
    double* entry = right + (model.settler.feed - 1) * components;
    for (size_t c = 0; c < components; ++c) {
        entry[c] += entering * feed[c];
    }
    for (size_t k = 0; k < count; ++k) {
        own.solidsWork[k] = matrix_computeSolids(model.matrix, right + k * components);
    }
    linear_solveTridiagonal(own.solids, own.work, own.solidsWork.data(), 1);
    for (size_t k = 1; k < count; ++k) {
        const double change =
            settling * (own.ownChange[k] * own.solidsWork[k] + own.lowerChange[k] * own.solidsWork[k - 1]);
        for (size_t c = 0; c < components; ++c) {
            if (model.matrix.isParticulate[c]) {
                const double moved = change * own.layers[k * components + c];
                right[k * components + c] -= moved;
                right[(k - 1) * components + c] += moved;
            }
        }
    }
    for (size_t c = 0; c < components; ++c) {
        linear_solveTridiagonal(model.matrix.isParticulate[c] ? own.particulate : own.dissolved, own.work, right + c,
                                components);
    }
}

void solveTank(System& system, const Preconditioner& own, size_t tank, double* right) {
    const Layout& layout = system.layout;
    const double factor = own.gamma / system.model->tanks[tank].volume;
    double* here = right + layout.tank(tank);
    if (tank > 0) {
        const double* before = right + layout.tank(tank - 1);
        for (size_t c = 0; c < layout.components; ++c) {
            here[c] += factor * system.flows.through[tank - 1] * before[c];
        }
    }
    linear_solve(own.tanks[tank], here);
}

}  // namespace

bool preconditioner_setup(System& system, const double* state, double gamma, bool isKept,
                          Preconditioner& preconditioner) {
    const Layout& layout = system.layout;
    bool isSound = true;
    preconditioner.gamma = gamma;
    preconditioner.reactions.resize(layout.tanks);
    preconditioner.tanks.resize(layout.tanks);
    for (size_t k = 0; k < layout.tanks && isSound; ++k) {
        if (!isKept) {
            differentiateTank(system, k, state + layout.tank(k), preconditioner.reactions[k]);
        }
        isSound = factorTank(system, k, gamma, preconditioner);
    }
    if (layout.layers > 0 && isSound) {
        const double* layers = state + layout.layer(0);
        preconditioner.layers.assign(layers, layers + layout.layers * layout.components);
        preconditioner.solidsWork.resize(layout.layers);
        for (size_t k = 0; k < layout.layers; ++k) {
            preconditioner.solidsWork[k] = matrix_computeSolids(system.model->matrix, layers + k * layout.components);
        }
        differentiateSettling(system, state + layout.tank(layout.tanks - 1), preconditioner);
        fillSettler(system, preconditioner);
    }
    return isSound;
}

// What flows back, by a first solution, into the tanks of a right side.
static void addReturns(System& system, double gamma, const double* solution, double* right) {
    const PlantModel& model = *system.model;
    const Layout& layout = system.layout;
    const auto add = [&](size_t tank, double flow, const double* source) {
        for (size_t c = 0; c < layout.components; ++c) {
            right[layout.tank(tank) + c] += gamma * flow / model.tanks[tank].volume * source[c];
        }
    };
    system_findOutlets(system, solution);
    add(model.returnTank, system.flows.returned, system.underflow.data());
    for (size_t r = 0; r < model.recycles.size(); ++r) {
        add(model.recycles[r].to, system.flows.recycles[r], solution + layout.tank(model.recycles[r].from));
    }
}

static void solveOnce(System& system, Preconditioner& preconditioner, double* right) {
    const Layout& layout = system.layout;
    for (size_t k = 0; k < layout.tanks; ++k) {
        solveTank(system, preconditioner, k, right);
    }
    if (layout.layers > 0) {
        solveSettler(system, preconditioner, right + layout.tank(layout.tanks - 1), right + layout.layer(0));
    }
}

void preconditioner_solve(System& system, Preconditioner& preconditioner, double* right) {
    const Layout& layout = system.layout;
    preconditioner.right.assign(right, right + layout.size());
    solveOnce(system, preconditioner, right);
    for (int sweep = 1; sweep < SWEEPS; ++sweep) {
        std::vector<double>& next = preconditioner.next;
        next = preconditioner.right;
        addReturns(system, preconditioner.gamma, right, next.data());
        solveOnce(system, preconditioner, next.data());
        std::copy(next.begin(), next.end(), right);
    }
    // What has left follows what is there.
    system_findOutlets(system, right);
    for (size_t c = 0; c < layout.components; ++c) {
        right[layout.overflow() + c] += preconditioner.gamma * system.flows.overflow * system.overflow[c];
        right[layout.waste() + c] += preconditioner.gamma * system.flows.waste * system.underflow[c];
    }
}
