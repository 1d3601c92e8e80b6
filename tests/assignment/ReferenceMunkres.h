// A reference implementation of the Munkres steps, written independently of the library: the steps call
// each other directly (mutual recursion), every buffer is a std::vector, and nothing is optimised. The
// tests compare the library against it bit for bit. Only for small matrices: its stack grows with the
// number of iterations.
#pragma once

#include <vector>

namespace ReferenceMunkres {

struct Result {
    std::vector<int> assignment;
    double cost = 0.0;
    int matrixAdjustments = 0;  // number of times the matrix-adjustment step ran
    int negativeElements = 0;   // number of messages the Munkres steps would print
};

Result solveByMunkresSteps(std::vector<std::vector<double>> const& matrix);

}  // namespace ReferenceMunkres
