#include "BruteForceAssignments.h"

#include <algorithm>
#include <numeric>

namespace bruteforce {

Enumeration enumerate(std::vector<std::vector<double>> const& matrix) {
    int const nRows = static_cast<int>(matrix.size());
    int const nCols = static_cast<int>(matrix.front().size());
    bool const wide = nRows <= nCols;
    int const shortSide = wide ? nRows : nCols;
    int const longSide = wide ? nCols : nRows;
    std::vector<int> order(longSide);
    std::iota(order.begin(), order.end(), 0);
    Enumeration result;
    double bestCost = 0.0;
    do {
        // Permutations that differ only beyond the short side give the same assignment: count it once.
        if (!std::is_sorted(order.begin() + shortSide, order.end())) {
            continue;
        }
        double total = 0.0;
        for (int k = 0; k < shortSide; ++k) {
            total += wide ? matrix[k][order[k]] : matrix[order[k]][k];
        }
        if (result.costs.empty() || total < bestCost) {
            bestCost = total;
            result.best.assign(nRows, -1);
            for (int k = 0; k < shortSide; ++k) {
                result.best[wide ? k : order[k]] = wide ? order[k] : k;
            }
        }
        result.costs.push_back(total);
    } while (std::next_permutation(order.begin(), order.end()));
    std::sort(result.costs.begin(), result.costs.end());
    return result;
}

double optimum(std::vector<std::vector<double>> const& matrix) {
    return enumerate(matrix).costs.front();
}

}  // namespace bruteforce
