// Access to the assignment solver's routes for the tests and benchmarks of this library: the
// Munkres steps alone, so that the fast route can be compared against them bit for bit.
#pragma once

#include <Kestrel/HungarianAlgorithm.h>

#include <vector>

class HungarianAlgorithmInternals {
  public:
    // Exactly Solve, except that the Munkres steps run even where the unique optimum could be proved.
    static double solveByMunkresSteps(std::vector<std::vector<double>> const& matrix,
                                      std::vector<int>& assignment) {
        HungarianAlgorithm solver;
        return solver.solve(matrix, assignment, false);
    }
};
