// The steady state.

#include "steady.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr long MOST_STEPS = 200000;
constexpr int MOST_ITERATIONS = 30;
constexpr double LONG = 200.0;  // d, some ages of sludge
constexpr int MOST_TRIALS = 5;
// Of a concentration, relative; of less than 1 g/m3 absolute. Settlers come to rest at a kink of their fluxes, where
// layers are alike; Newton's method swings there within this.
constexpr double ACCURACY = 1e-6;

// How far a change is from none, in parts of what is there.
double measure(const std::vector<double>& change, const std::vector<double>& state, size_t size) {
    double largest = 0.0;
    for (size_t k = 0; k < size; ++k) {
        const double part = std::fabs(change[k]) / std::max(std::fabs(state[k]), 1.0);
        largest = std::isfinite(part) ? std::max(largest, part) : HUGE_VAL;
    }
    return largest;
}

void differentiate(System& system, std::vector<double>& state, const std::vector<double>& rates, Square& square) {
    const size_t n = square.size;
    std::vector<double> moved(state.size());
    for (size_t column = 0; column < n; ++column) {
        const double kept = state[column];
        const double step = std::max(std::fabs(kept) * 1e-7, 1e-7);
        state[column] = kept + step;
        system_computeRates(system, state.data(), moved.data());
        state[column] = kept;
        for (size_t row = 0; row < n; ++row) {
            square.entries[row * n + column] = (moved[row] - rates[row]) / step;
        }
    }
}

}  // namespace

std::vector<double> steady_guess(const System& system) {
    const Layout& layout = system.layout;
    const Matrix& matrix = system.model->matrix;
    std::vector<double> state(layout.size());
    const auto fill = [&](size_t place) {
        for (size_t c = 0; c < layout.components; ++c) {
            state[place + c] = system.inflow[c];
        }
        for (const char* biomass : {"X_BH", "X_BA", "X_H", "X_PAO", "X_AUT"}) {
            const size_t c = matrix_findComponent(matrix, biomass);
            if (c < layout.components) {
                state[place + c] += 200.0;
                const size_t solids = matrix_findComponent(matrix, "X_TSS");
                if (solids < layout.components) {
                    state[place + solids] += 200.0 * matrix.contents[c][SOLIDS];
                }
            }
        }
    };
    for (size_t k = 0; k < layout.tanks; ++k) {
        fill(layout.tank(k));
    }
    for (size_t k = 0; k < layout.layers; ++k) {
        fill(layout.layer(k));
    }
    return state;
}

std::string steady_step(Integrator& integrator, double days, std::vector<double>& state) {
    return integrator_advance(integrator, days, MOST_STEPS, state);
}

std::string steady_solve(Integrator& integrator, std::vector<double>& state) {
    System& system = integrator.system;
    Square square;
    square.size = system.layout.overflow();
    square.entries.resize(square.size * square.size);
    std::vector<double> found = state;
    std::vector<double> rates(state.size());
    std::vector<double> step(state.size());
    for (int k = 0; k < MOST_ITERATIONS; ++k) {
        system_computeRates(system, found.data(), rates.data());
        differentiate(system, found, rates, square);
        if (!linear_factor(square)) {
            break;
        }
        std::copy_n(rates.begin(), square.size, step.begin());
        linear_solve(square, step.data());
        for (size_t place = 0; place < square.size; ++place) {
            found[place] -= step[place];
        }
        const double size = measure(step, found, square.size);
        if (!(size < 1e12)) {
            break;
        }
        if (size < ACCURACY) {
            state = found;
            return {};
        }
    }
    return "Newton's method finds no steady state";
}

std::string steady_find(Integrator& integrator, std::vector<double>& state) {
    state = steady_guess(integrator.system);
    std::string error;
    for (int k = 0; k < MOST_TRIALS; ++k) {
        error = steady_step(integrator, LONG, state);
        if (!error.empty()) {
            return error;
        }
        std::vector<double> found = state;
        error = steady_solve(integrator, found);
        // What Newton finds must be the state that the steps lead to, not another solution.
        double distance = 0.0;
        for (size_t place = 0; place < integrator.system.layout.overflow(); ++place) {
            const double scale = std::max(std::fabs(state[place]), 1.0);
            distance = std::max(distance, std::fabs(found[place] - state[place]) / scale);
        }
        if (error.empty() && distance < 0.02) {
            state = found;
            std::fill(state.begin() + static_cast<std::ptrdiff_t>(integrator.system.layout.overflow()), state.end(),
                      0.0);
            return {};
        }
    }
    // Plants may swing for ever; where Newton fails, as at a kink, the steps alone count.
    std::fill(state.begin() + static_cast<std::ptrdiff_t>(integrator.system.layout.overflow()), state.end(), 0.0);
    return {};
}
