// Validation of the caller's cost matrix before anything is copied or written.
#include "MatrixCheck.h"

#include "LineScans.h"

#include <climits>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Kestrel::assignment {

MatrixShape checkMatrix(std::vector<std::vector<double>> const& matrix) {
    std::size_t const nOfColumns = matrix.front().size();
    if (matrix.size() > static_cast<std::size_t>(INT_MAX) || nOfColumns > static_cast<std::size_t>(INT_MAX)) {
        throw std::invalid_argument("HungarianAlgorithm::Solve: the cost matrix has more than " +
                                    std::to_string(INT_MAX) + " rows or columns");
    }
    bool forbiddenPairs = false;
    for (std::size_t row = 0; row < matrix.size(); ++row) {
        std::vector<double> const& values = matrix[row];
        if (values.size() != nOfColumns) {
            throw std::invalid_argument("HungarianAlgorithm::Solve: row " + std::to_string(row) + " has " +
                                        std::to_string(values.size()) + " elements, but row 0 has " +
                                        std::to_string(nOfColumns));
        }
        if (allFinite(values.data(), static_cast<int>(nOfColumns))) {
            continue;
        }
        for (std::size_t col = 0; col < nOfColumns; ++col) {
            double const value = values[col];
            if (std::isnan(value) || value == -HUGE_VAL) {
                throw std::invalid_argument(
                    "HungarianAlgorithm::Solve: element (row " + std::to_string(row) + ", column " +
                    std::to_string(col) + ") is " + (std::isnan(value) ? "NaN" : "-infinity") +
                    "; every element must be a number or +infinity (a forbidden pair)");
            }
            forbiddenPairs = forbiddenPairs || value == HUGE_VAL;
        }
    }
    return MatrixShape{static_cast<int>(matrix.size()), static_cast<int>(nOfColumns), forbiddenPairs};
}

std::size_t countNegativeElements(std::vector<std::vector<double>> const& matrix) {
    std::size_t count = 0;
    for (std::vector<double> const& values : matrix) {
        for (double const value : values) {
            count += value < 0.0;
        }
    }
    return count;
}

}  // namespace Kestrel::assignment
