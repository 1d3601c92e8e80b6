// Input of `ktx assign`: a cost matrix, one row per worker and one column per job.
//
// CSV (as a spreadsheet exports it):      or JSON:
//   4,1,3                                   {"costs": [[4, 1, 3], [2, 0, 5], [3, 2, 2]]}
//   2,0,inf                               or simply [[4, 1, 3], [2, 0, null], [3, 2, 2]]
//   3,2,2
//
// The format is recognised from the first character that is not white space ('{' or '[' means JSON).
// A forbidden pair (a worker that may not take a job) is written `inf` (or `Infinity`) in CSV when
// minimising and `-inf` (or `-Infinity`) when maximising; JSON has no infinity, so there `null` marks a
// forbidden pair in either case. Other costs are finite; when minimising they must not be negative. All
// rows have the same number of columns; a matrix without rows (or rows without columns) is accepted and
// assigns nothing.
#pragma once

#include <string>
#include <vector>

namespace ktx {

enum class AssignGoal { Minimize, Maximize };

// The costs with every forbidden pair as +infinity (minimising) or -infinity (maximising).
// Throws InputError naming the line and column (CSV) or the field (JSON) of a malformed or invalid cost.
std::vector<std::vector<double>> parseAssignInput(std::string const& text, AssignGoal goal);

}  // namespace ktx
