#include "OptimiserInputChecks.h"

#include "MessageText.h"

#include <cmath>
#include <stdexcept>

namespace Kestrel::optimization {

using common::entryText;
using common::numberText;

void checkTransitionMatrix(std::vector<std::vector<double>> const& matrix, std::string const& what) {
    std::size_t const rows = matrix.size();
    std::size_t const needed = rows > 0 ? rows - 1 : 0;
    for (std::size_t i = 0; i < rows; ++i) {
        std::vector<double> const& row = matrix[i];
        if (row.size() < needed) {
            throw std::invalid_argument(what + ": row " + std::to_string(i) + " has " +
                                        std::to_string(row.size()) + " entries, fewer than the " +
                                        std::to_string(needed) + " that " + std::to_string(rows) +
                                        " rows need");
        }
        double sum = 0.0;
        for (std::size_t j = 0; j < row.size(); ++j) {
            if (!std::isfinite(row[j]) || row[j] < 0.0) {
                throw std::invalid_argument(what + ": row " + std::to_string(i) + ", entry " +
                                            std::to_string(j) + " is " + numberText(row[j]) +
                                            " (weights must be finite and not negative)");
            }
            sum += row[j];
        }
        if (!std::isfinite(sum)) {
            throw std::invalid_argument(what + ": the weights of row " + std::to_string(i) +
                                        " sum to infinity (rescale the row)");
        }
    }
}

void checkSmoothing(double smoothing) {
    if (!(smoothing >= 0.0 && smoothing <= 1.0)) {
        throw std::invalid_argument("optimize: parameters.smoothing = " + numberText(smoothing) +
                                    " lies outside 0 ... 1");
    }
}

void checkPreGroupBoundaries(std::vector<int> const& boundaries, int rows) {
    for (std::size_t k = 0; k < boundaries.size(); ++k) {
        int const boundary = boundaries[k];
        if (boundary < 0 || boundary >= rows) {
            throw std::invalid_argument("setPreGroups: groups[" + std::to_string(k) +
                                        "] = " + std::to_string(boundary) + " lies outside 0 ... " +
                                        std::to_string(rows - 1));
        }
        if (k > 0 && !(boundaries[k - 1] < boundary)) {
            throw std::invalid_argument("setPreGroups: groups[" + std::to_string(k) +
                                        "] = " + std::to_string(boundary) + " does not exceed groups[" +
                                        std::to_string(k - 1) + "] = " + std::to_string(boundaries[k - 1]) +
                                        " (boundaries must be strictly ascending)");
        }
    }
}

}  // namespace Kestrel::optimization
