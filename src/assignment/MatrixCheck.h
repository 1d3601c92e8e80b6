// Shape checks, the one survey of the caller's matrix that every solve starts with, and the index
// arithmetic shared by the assignment solver's stages.
#pragma once

#include <cstddef>
#include <vector>

namespace Kestrel::assignment {

struct MatrixShape {
    int rows;
    int columns;
    bool forbiddenPairs;  // true when some element is +infinity (a pair that may not be assigned)
};

// What one pass over the caller's rows tells about the matrix.
struct MatrixSurvey {
    MatrixShape shape{0, 0, false};
    std::size_t negativeElements = 0;  // elements below 0 (-0.0 is not below 0; +infinity never is)
    // The bound below which every value the Munkres steps form is exact: 2^(52 + gridExponent) when every
    // finite element is a multiple of 2^gridExponent, gridExponent >= -52 (so that a non-zero working
    // value is never below DBL_EPSILON) and twice the largest finite magnitude stays below the bound; 0
    // when the matrix does not qualify.
    double exactRange = 0.0;
    int gridExponent = 0;  // the coarsest such exponent (0 for a matrix without non-zero finite elements)
    std::vector<double> rowMinimum;        // per row: its smallest element
    std::vector<double> rowLargestFinite;  // per row: its largest element below +infinity
    // Filled by surveyColumns only: per column its smallest element (the first such in row order) and its
    // largest element below +infinity.
    std::vector<double> columnMinimum;
    std::vector<double> columnLargestFinite;
};

// Index of element (row, col) in a column-major matrix with nOfRows rows, computed in std::size_t so that
// matrices of more than 2^31 elements index correctly.
inline std::size_t elementIndex(int row, int col, int nOfRows) {
    return static_cast<std::size_t>(row) + static_cast<std::size_t>(nOfRows) * static_cast<std::size_t>(col);
}

// Writes columnMajor[elementIndex(row, col, nOfRows)] = cell(row, col, rowMajor[row][col]) for every element,
// in tiles of rows by columns, so that both the rows read and the columns written stay in cache.
template <typename Cell, typename CellOf>
void writeColumnMajor(std::vector<std::vector<double>> const& rowMajor, Cell* columnMajor, int nOfRows,
                      int nOfColumns, CellOf cell) {
    constexpr int kTile = 32;
    for (int rowStart = 0; rowStart < nOfRows; rowStart += kTile) {
        int const rowEnd = rowStart + kTile < nOfRows ? rowStart + kTile : nOfRows;
        for (int colStart = 0; colStart < nOfColumns; colStart += kTile) {
            int const colEnd = colStart + kTile < nOfColumns ? colStart + kTile : nOfColumns;
            for (int row = rowStart; row < rowEnd; ++row) {
                double const* values = rowMajor[row].data();
                for (int col = colStart; col < colEnd; ++col) {
                    columnMajor[elementIndex(row, col, nOfRows)] = cell(row, col, values[col]);
                }
            }
        }
    }
}

// Checks a non-empty row-major matrix and gathers its survey, reading every row once (rows of small
// integers, the common case, in a single vectorised pass).
// Throws std::invalid_argument when a dimension does not fit in an int, when a row's size differs from the
// first row's or when an element is NaN or -infinity; the message names the first offending row or element
// in row order.
MatrixSurvey surveyMatrix(std::vector<std::vector<double>> const& matrix);

// Adds the column facts to the survey of a matrix with at least one column, reading the rows in order (one
// contiguous pass, no copy).
void surveyColumns(std::vector<std::vector<double>> const& matrix, MatrixSurvey* survey);

}  // namespace Kestrel::assignment
