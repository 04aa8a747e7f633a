// Gauss, with and without pivots.

#include "linear.h"

#include <cmath>
#include <utility>

bool linear_factor(Square& square) {
    const size_t n = square.size;
    double* a = square.entries.data();
    square.order.assign(n, 0);
    for (size_t column = 0; column < n; ++column) {
        size_t best = column;
        for (size_t row = column + 1; row < n; ++row) {
            best = std::fabs(a[row * n + column]) > std::fabs(a[best * n + column]) ? row : best;
        }
        const double pivot = a[best * n + column];
        if (pivot == 0.0 || !std::isfinite(pivot)) {
            return false;
        }
        square.order[column] = best;
        for (size_t k = 0; k < n && best != column; ++k) {
            std::swap(a[column * n + k], a[best * n + k]);
        }
        for (size_t row = column + 1; row < n; ++row) {
            double* line = a + row * n;
            if (line[column] == 0.0) {
                continue;
            }
            const double factor = line[column] / pivot;
            line[column] = factor;
            for (size_t k = column + 1; k < n; ++k) {
                line[k] -= factor * a[column * n + k];
            }
        }
    }
    return true;
}

void linear_solve(const Square& square, double* right) {
    const size_t n = square.size;
    const double* a = square.entries.data();
    for (size_t k = 0; k < n; ++k) {
        std::swap(right[k], right[square.order[k]]);
    }
    for (size_t row = 1; row < n; ++row) {
        for (size_t k = 0; k < row; ++k) {
            right[row] -= a[row * n + k] * right[k];
        }
    }
    for (size_t row = n; row-- > 0;) {
        for (size_t k = row + 1; k < n; ++k) {
            right[row] -= a[row * n + k] * right[k];
        }
        right[row] /= a[row * n + row];
    }
}

void linear_solveTridiagonal(const Tridiagonal& matrix, std::vector<double>& work, double* right, size_t stride) {
    const size_t n = matrix.middle.size();
    work.resize(n);
    double pivot = matrix.middle[0];
    right[0] /= pivot;
    for (size_t k = 1; k < n; ++k) {
        work[k] = matrix.above[k - 1] / pivot;
        pivot = matrix.middle[k] - matrix.below[k] * work[k];
        right[k * stride] = (right[k * stride] - matrix.below[k] * right[(k - 1) * stride]) / pivot;
    }
    for (size_t k = n - 1; k-- > 0;) {
        right[k * stride] -= work[k + 1] * right[(k + 1) * stride];
    }
}
