#pragma once
// What the iterative solver of CVODE starts from: the tanks one after the other as the water goes, each solved with all
// its processes, then the settler, solved as it is but for a change of what doesn't settle; and once more with what
// flows back.

#include <vector>

#include "linear.h"
#include "system.h"

struct Preconditioner {
    std::vector<Square> reactions;  ///< derivatives of each tank's reactions
    std::vector<Square> tanks;      ///< factored
    Tridiagonal solids;             ///< of the settler
    Tridiagonal particulate;
    Tridiagonal dissolved;
    std::vector<double> layers;       ///< concentrations in the settler at the setup
    std::vector<double> settled;      ///< m/d, of each layer
    std::vector<double> ownChange;    ///< of `settled` by the layer's own solids, m4/(g d)
    std::vector<double> lowerChange;  ///< and by those of the layer below
    std::vector<double> solidsWork;
    std::vector<double> work;
    std::vector<double> right;
    std::vector<double> next;
    double gamma = 0.0;
};

/// Prepares for I - gamma J. `isKept` keeps the derivatives of the reactions. False if a tank can't be solved.
[[nodiscard]] bool preconditioner_setup(System& system, const double* state, double gamma, bool isKept,
                                        Preconditioner& preconditioner);

/// Solves in place.
void preconditioner_solve(System& system, Preconditioner& preconditioner, double* right);
