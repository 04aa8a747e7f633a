#pragma once
// Systems of linear equations.

#include <cstddef>
#include <vector>

/// A square matrix, row by row, and after its factoring the order of its rows.
struct Square {
    size_t size = 0;
    std::vector<double> entries;
    std::vector<size_t> order;
};

/// Factors in place, with pivots. False if it is singular or holds what is no number.
[[nodiscard]] bool linear_factor(Square& square);

/// Solves in place.
void linear_solve(const Square& square, double* right);

/// Three diagonals. Entry k of `below` goes with unknown k - 1, of `above` with k + 1. Solves in place without pivots.
struct Tridiagonal {
    std::vector<double> below;
    std::vector<double> middle;
    std::vector<double> above;
};

/// `stride` is the way from one unknown to the next in `right`.
void linear_solveTridiagonal(const Tridiagonal& matrix, std::vector<double>& work, double* right, size_t stride);
