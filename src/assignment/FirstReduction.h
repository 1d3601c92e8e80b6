// The first stage of the Munkres steps, shared by the steps as they stand and by their exact incremental
// form: each row (matrix not taller than wide) or column (taller than wide) loses its minimum, then each
// row (or column) in ascending order stars its first zero in a line not yet covered.
#pragma once

#include <vector>

namespace Kestrel::assignment {

// Reduces the column-major working matrix distMatrix in place and stars the first zeros; +infinity
// elements stay +infinity and are never zero. Requires coveredColumns zeroed. Guarantees: starColumn[row]
// is the column of the row's star or -1, every starred column is covered, every row is left uncovered;
// when lineMinimum is given, it receives the minimum subtracted from each reduced line (minDim values).
// Returns minDim, the smaller dimension.
int reduceAndStar(double* distMatrix, int* starColumn, bool* coveredColumns, int nOfRows, int nOfColumns,
                  double* lineMinimum = nullptr);

// The first reduction written straight from the caller's rows into a column-major array: reduced[row + rows
// * col] = rowMajor[row][col] - lineMinimum[row] for a matrix not taller than wide, - lineMinimum[col] for a
// taller one, converted to Cell (double, float or NarrowCell of LineScans.h; every such value must be one
// exactly). +infinity stays +infinity.
template <typename Cell>
void writeReducedColumns(std::vector<std::vector<double>> const& rowMajor, double const* lineMinimum,
                         Cell* reduced, int nOfRows, int nOfColumns);

// The first star pass of a reduced column-major matrix taller than wide: each column in ascending order
// stars its lowest zero in a row not yet covered (as a row holding a star is), covering the column; the
// rows are left uncovered. Requires coveredColumns zeroed. starColumn[row] receives the column of the row's
// star or -1.
template <typename Cell>
void starFirstZerosOfColumns(Cell const* reduced, int* starColumn, bool* coveredColumns, int nOfRows,
                             int nOfColumns);

// The first star pass of a matrix not taller than wide, along the caller's rows: each row in ascending order
// stars the lowest column not yet starred whose reduced value rowMajor[row][col] - rowMinimum[row] is a
// zero, as the pass over the reduced matrix does. starColumn[row] receives the column or -1.
void starFirstZerosOfRows(std::vector<std::vector<double>> const& rowMajor, double const* rowMinimum,
                          int* starColumn, int nOfColumns);

}  // namespace Kestrel::assignment
