// The first stage of the Munkres steps, shared by the steps as they stand and by their exact incremental
// form: each row (matrix not taller than wide) or column (taller than wide) loses its minimum, then each
// row (or column) in ascending order stars its first zero in a line not yet covered.
#pragma once

namespace Kestrel::assignment {

// Reduces the column-major working matrix distMatrix in place and stars the first zeros; +infinity
// elements stay +infinity and are never zero. Requires coveredColumns and coveredRows zeroed. Guarantees:
// starColumn[row] is the column of the row's star or -1, every starred column is covered, every row is
// uncovered; when lineMinimum is given, it receives the minimum subtracted from each reduced line (minDim
// values). Returns minDim, the smaller dimension.
int reduceAndStar(double* distMatrix, int* starColumn, bool* coveredColumns, bool* coveredRows, int nOfRows,
                  int nOfColumns, double* lineMinimum = nullptr);

}  // namespace Kestrel::assignment
