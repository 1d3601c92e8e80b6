// Every way of assigning min(rows, columns) pairs of a small matrix, found by enumerating permutations:
// a reference for the tests that shares nothing with the library. Only for small matrices: the work
// grows with the factorial of the longer side.
#pragma once

#include <vector>

namespace bruteforce {

// Costs of every way of assigning min(rows, columns) pairs, sorted ascending, with the optimal assignment
// (column of each row, -1 for a row left unassigned; the first found among equal costs).
struct Enumeration {
    std::vector<double> costs;
    std::vector<int> best;
};

Enumeration enumerate(std::vector<std::vector<double>> const& matrix);

// Smallest total cost over every way of assigning min(rows, columns) pairs.
double optimum(std::vector<std::vector<double>> const& matrix);

}  // namespace bruteforce
