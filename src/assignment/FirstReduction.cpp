// The first stage of the Munkres steps: the reduction of every short-side line by its minimum and the
// first pass of stars.
#include "FirstReduction.h"

#include "LineScans.h"
#include "MatrixCheck.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

namespace Kestrel::assignment {
namespace {

// A reduced value in the storage of type Cell; it must be one exactly (for a narrow cell: an integer from 0
// to 65534, or +infinity).
template <typename Cell>
Cell narrowTo(double value) {
    if constexpr (std::is_same_v<Cell, NarrowCell>) {
        // The only value above kForbidden is +infinity.
        double const forbidden = NarrowCell::kForbidden;
        return NarrowCell{static_cast<std::uint16_t>(static_cast<std::int32_t>(std::min(value, forbidden)))};
    } else {
        return static_cast<Cell>(value);
    }
}

// The zero test of the first star pass.
bool isZero(double value) {
    return std::fabs(value) < DBL_EPSILON;
}

}  // namespace

// The rows not yet covered are kept as bits, so that a column tests only those.
template <typename Cell>
void starFirstZerosOfColumns(Cell const* reduced, int* starColumn, bool* coveredColumns, int nOfRows,
                             int nOfColumns) {
    std::size_t const nOfWords = (static_cast<std::size_t>(nOfRows) + 63) / 64;
    std::vector<std::uint64_t> uncovered(nOfWords, ~std::uint64_t{0});
    if (nOfRows % 64 != 0) {
        uncovered.back() = (std::uint64_t{1} << (nOfRows % 64)) - 1;
    }
    for (int row = 0; row < nOfRows; ++row) {
        starColumn[row] = -1;
    }
    for (int col = 0; col < nOfColumns; ++col) {
        Cell const* column = reduced + elementIndex(0, col, nOfRows);
        for (std::size_t word = 0; word < nOfWords && !coveredColumns[col]; ++word) {
            for (std::uint64_t bits = uncovered[word]; bits != 0; bits &= bits - 1) {
                int const row = static_cast<int>(word * 64) + __builtin_ctzll(bits);
                if (isZero(widen(column[row]))) {
                    starColumn[row] = col;
                    coveredColumns[col] = true;
                    uncovered[word] &= ~(std::uint64_t{1} << (row % 64));
                    break;
                }
            }
        }
    }
}

template void starFirstZerosOfColumns<double>(double const*, int*, bool*, int, int);
template void starFirstZerosOfColumns<float>(float const*, int*, bool*, int, int);
template void starFirstZerosOfColumns<NarrowCell>(NarrowCell const*, int*, bool*, int, int);

namespace {

// Row reduction and first stars for a matrix that is not taller than wide: one star per row at most, in
// the lowest uncovered column holding a zero; the starred columns end up covered. starColumn receives the
// star's column per row (-1 for none). +infinity elements stay +infinity and are never zero.
void reduceRowsAndStar(double* distMatrix, int* starColumn, bool* coveredColumns, int nOfRows, int nOfColumns,
                       double* lineMinimum) {
    std::unique_ptr<double[]> rowMinimum(new double[static_cast<std::size_t>(nOfRows)]);
    for (int row = 0; row < nOfRows; ++row) {
        rowMinimum[row] = distMatrix[row];
    }
    for (int col = 1; col < nOfColumns; ++col) {
        double const* column = distMatrix + elementIndex(0, col, nOfRows);
        lowerToElementwiseMinimum(rowMinimum.get(), column, nOfRows);
    }
    for (int col = 0; col < nOfColumns; ++col) {
        double* column = distMatrix + elementIndex(0, col, nOfRows);
        for (int row = 0; row < nOfRows; ++row) {
            column[row] -= rowMinimum[row];
        }
    }
    if (lineMinimum != nullptr) {
        std::copy(rowMinimum.get(), rowMinimum.get() + nOfRows, lineMinimum);
    }
    for (int row = 0; row < nOfRows; ++row) {
        starColumn[row] = -1;
        for (int col = 0; col < nOfColumns; ++col) {
            if (!coveredColumns[col] && isZero(distMatrix[elementIndex(row, col, nOfRows)])) {
                starColumn[row] = col;
                coveredColumns[col] = true;
                break;
            }
        }
    }
}

// Column reduction and first stars for a matrix taller than wide: one star per column at most, in the
// lowest uncovered row holding a zero. Starred columns stay covered; the rows are uncovered again.
// starColumn is filled as by reduceRowsAndStar.
void reduceColumnsAndStar(double* distMatrix, int* starColumn, bool* coveredColumns, int nOfRows,
                          int nOfColumns, double* lineMinimum) {
    for (int col = 0; col < nOfColumns; ++col) {
        double* column = distMatrix + elementIndex(0, col, nOfRows);
        double minValue = column[0];
        for (int row = 1; row < nOfRows; ++row) {
            if (column[row] < minValue) {
                minValue = column[row];
            }
        }
        for (int row = 0; row < nOfRows; ++row) {
            column[row] -= minValue;
        }
        if (lineMinimum != nullptr) {
            lineMinimum[col] = minValue;
        }
    }
    starFirstZerosOfColumns(distMatrix, starColumn, coveredColumns, nOfRows, nOfColumns);
}

}  // namespace

int reduceAndStar(double* distMatrix, int* starColumn, bool* coveredColumns, int nOfRows, int nOfColumns,
                  double* lineMinimum) {
    if (nOfRows <= nOfColumns) {
        reduceRowsAndStar(distMatrix, starColumn, coveredColumns, nOfRows, nOfColumns, lineMinimum);
        return nOfRows;
    }
    reduceColumnsAndStar(distMatrix, starColumn, coveredColumns, nOfRows, nOfColumns, lineMinimum);
    return nOfColumns;
}

#if KESTREL_USE_SSE2
// Narrow cells are written two rows by two columns at a time: each 2 x 2 block of the caller's rows becomes
// two runs of two cells of its columns, reduced and converted together. Cells outside whole blocks (an odd
// last row or column of a tile) take the plain conversion.
void writeNarrowReducedColumns(std::vector<std::vector<double>> const& rowMajor, double const* lineMinimum,
                               NarrowCell* reduced, int nOfRows, int nOfColumns) {
    bool const byRow = nOfRows <= nOfColumns;
    auto const single = [&](int row, int col) {
        double const minimum = byRow ? lineMinimum[row] : lineMinimum[col];
        reduced[elementIndex(row, col, nOfRows)] = narrowTo<NarrowCell>(rowMajor[row][col] - minimum);
    };
    constexpr int kTile = 32;
    for (int rowStart = 0; rowStart < nOfRows; rowStart += kTile) {
        int const rowEnd = std::min(nOfRows, rowStart + kTile);
        for (int colStart = 0; colStart < nOfColumns; colStart += kTile) {
            int const colEnd = std::min(nOfColumns, colStart + kTile);
            int row = rowStart;
            for (; row + 2 <= rowEnd; row += 2) {
                double const* upper = rowMajor[row].data();
                double const* lower = rowMajor[row + 1].data();
                // A taller matrix has one minimum per column, none per row.
                __m128d const rowMinima =
                    byRow ? _mm_set_pd(lineMinimum[row + 1], lineMinimum[row]) : _mm_setzero_pd();
                int col = colStart;
                for (; col + 2 <= colEnd; col += 2) {
                    __m128d const uppers = _mm_loadu_pd(upper + col);
                    __m128d const lowers = _mm_loadu_pd(lower + col);
                    __m128d const left = _mm_unpacklo_pd(uppers, lowers);
                    __m128d const right = _mm_unpackhi_pd(uppers, lowers);
                    __m128d const leftMinima = byRow ? rowMinima : _mm_set1_pd(lineMinimum[col]);
                    __m128d const rightMinima = byRow ? rowMinima : _mm_set1_pd(lineMinimum[col + 1]);
                    storeTwoNarrow(reduced + elementIndex(row, col, nOfRows), _mm_sub_pd(left, leftMinima));
                    storeTwoNarrow(reduced + elementIndex(row, col + 1, nOfRows),
                                   _mm_sub_pd(right, rightMinima));
                }
                for (; col < colEnd; ++col) {
                    single(row, col);
                    single(row + 1, col);
                }
            }
            for (; row < rowEnd; ++row) {
                for (int col = colStart; col < colEnd; ++col) {
                    single(row, col);
                }
            }
        }
    }
}
#endif

template <typename Cell>
void writeReducedColumns(std::vector<std::vector<double>> const& rowMajor, double const* lineMinimum,
                         Cell* reduced, int nOfRows, int nOfColumns) {
#if KESTREL_USE_SSE2
    if constexpr (std::is_same_v<Cell, NarrowCell>) {
        writeNarrowReducedColumns(rowMajor, lineMinimum, reduced, nOfRows, nOfColumns);
        return;
    }
#endif
    if (nOfRows <= nOfColumns) {
        writeColumnMajor(rowMajor, reduced, nOfRows, nOfColumns, [lineMinimum](int row, int, double value) {
            return narrowTo<Cell>(value - lineMinimum[row]);
        });
    } else {
        writeColumnMajor(rowMajor, reduced, nOfRows, nOfColumns, [lineMinimum](int, int col, double value) {
            return narrowTo<Cell>(value - lineMinimum[col]);
        });
    }
}

template void writeReducedColumns<double>(std::vector<std::vector<double>> const&, double const*, double*,
                                          int, int);
template void writeReducedColumns<float>(std::vector<std::vector<double>> const&, double const*, float*, int,
                                         int);
template void writeReducedColumns<NarrowCell>(std::vector<std::vector<double>> const&, double const*,
                                              NarrowCell*, int, int);

// The columns not yet starred are kept as bits, so that a row tests only those: once most columns hold a
// star, a row no longer walks past them.
void starFirstZerosOfRows(std::vector<std::vector<double>> const& rowMajor, double const* rowMinimum,
                          int* starColumn, int nOfColumns) {
    std::size_t const nOfWords = (static_cast<std::size_t>(nOfColumns) + 63) / 64;
    std::vector<std::uint64_t> unstarred(nOfWords, ~std::uint64_t{0});
    if (nOfColumns % 64 != 0) {
        unstarred.back() = (std::uint64_t{1} << (nOfColumns % 64)) - 1;
    }
    for (std::size_t row = 0; row < rowMajor.size(); ++row) {
        double const* values = rowMajor[row].data();
        double const minimum = rowMinimum[row];
        starColumn[row] = -1;
        for (std::size_t word = 0; word < nOfWords && starColumn[row] < 0; ++word) {
            for (std::uint64_t bits = unstarred[word]; bits != 0; bits &= bits - 1) {
                int const col = static_cast<int>(word * 64) + __builtin_ctzll(bits);
                if (isZero(values[col] - minimum)) {
                    starColumn[row] = col;
                    unstarred[word] &= ~(std::uint64_t{1} << (col % 64));
                    break;
                }
            }
        }
    }
}

}  // namespace Kestrel::assignment
