// Shape checks and index arithmetic shared by the assignment solver's stages.
#pragma once

#include <cstddef>
#include <vector>

namespace Kestrel::assignment {

struct MatrixShape {
    int rows;
    int columns;
    bool forbiddenPairs;  // true when some element is +infinity (a pair that may not be assigned)
};

// Index of element (row, col) in a column-major matrix with nOfRows rows, computed in std::size_t so that
// matrices of more than 2^31 elements index correctly.
inline std::size_t elementIndex(int row, int col, int nOfRows) {
    return static_cast<std::size_t>(row) + static_cast<std::size_t>(nOfRows) * static_cast<std::size_t>(col);
}

// The shape of a non-empty row-major matrix.
// Throws std::invalid_argument when a row's size differs from the first row's, when an element is NaN or
// -infinity, or when a dimension does not fit in an int; the message names the row or element.
MatrixShape checkMatrix(std::vector<std::vector<double>> const& matrix);

// Number of elements below 0 (-0.0 is not below 0; +infinity never is).
std::size_t countNegativeElements(std::vector<std::vector<double>> const& matrix);

}  // namespace Kestrel::assignment
