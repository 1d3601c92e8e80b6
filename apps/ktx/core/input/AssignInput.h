// Input of `ktx assign`: a cost matrix, one row per worker and one column per job.
//
// CSV (as a spreadsheet exports it):      or JSON:
//   4,1,3                                   {"costs": [[4, 1, 3], [2, 0, 5], [3, 2, 2]]}
//   2,0,5                                 or simply [[4, 1, 3], [2, 0, 5], [3, 2, 2]]
//   3,2,2
//
// The format is recognised from the first character that is not white space ('{' or '[' means JSON).
// Every cost must be a finite, non-negative number; the matrix must not be empty and all rows must have
// the same number of columns.
#pragma once

#include <string>
#include <vector>

namespace ktx {

std::vector<std::vector<double>> parseAssignInput(std::string const& text);

}  // namespace ktx
