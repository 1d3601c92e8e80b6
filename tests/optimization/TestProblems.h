// Seeded random problems for the optimiser's tests: matrices with zero weights mixed in, objectives that
// are deterministic functions of a selection (with ties), pre-group boundaries and parameter sets.
#pragma once

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace OptimizationTests {

// Same bits (so +0.0 differs from -0.0 and NaN equals the same NaN).
inline bool sameBits(double a, double b) {
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    std::memcpy(&x, &a, sizeof a);
    std::memcpy(&y, &b, sizeof b);
    return x == y;
}

inline bool sameBits(std::vector<std::vector<double>> const& a, std::vector<std::vector<double>> const& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i].size() != b[i].size()) {
            return false;
        }
        for (std::size_t j = 0; j < a[i].size(); ++j) {
            if (!sameBits(a[i][j], b[i][j])) {
                return false;
            }
        }
    }
    return true;
}

// `rows` rows of rows - 1 weights; about `zeroShare` of them are exactly 0 and about `negativeShare` of
// them negative (weights outside the usual range, which the walk takes as they are).
inline std::vector<std::vector<double>> randomMatrix(std::mt19937& random, int rows, double zeroShare,
                                                     double negativeShare = 0.0) {
    std::uniform_real_distribution<double> weight(0.0, 1.0);
    std::vector<std::vector<double>> matrix(static_cast<std::size_t>(rows));
    for (std::vector<double>& row : matrix) {
        for (int k = 0; k + 1 < rows; ++k) {
            double const kind = weight(random);
            double const magnitude = weight(random);
            row.push_back(kind < zeroShare ? 0.0
                                           : (kind < zeroShare + negativeShare ? -magnitude : magnitude));
        }
    }
    return matrix;
}

// Cost of a selection: sum over positions of a per-(position, node) table, rounded to `levels` steps so
// that ties occur. Nodes and positions outside the table cost 1.
struct TableObjective {
    std::vector<std::vector<double>> table;  // table[position][node]
    double levels;

    double operator()(std::vector<int> const& selection) const {
        double cost = 0.0;
        for (std::size_t k = 0; k < selection.size(); ++k) {
            int const node = selection[k];
            bool const inside =
                k < table.size() && node >= 0 && static_cast<std::size_t>(node) < table[k].size();
            cost += inside ? table[k][static_cast<std::size_t>(node)] : 1.0;
        }
        return levels > 0.0 ? static_cast<double>(static_cast<long long>(cost * levels)) / levels : cost;
    }
};

inline TableObjective randomObjective(std::mt19937& random, int rows, int pathLength) {
    std::uniform_real_distribution<double> value(0.0, 1.0);
    TableObjective objective{{}, random() % 3 == 0 ? 4.0 : 0.0};
    for (int k = 0; k < pathLength; ++k) {
        std::vector<double> row;
        for (int node = 0; node < rows + 1; ++node) {
            row.push_back(value(random));
        }
        objective.table.push_back(row);
    }
    return objective;
}

// Sorted 0-based item boundaries inside 0 ... items - 1 (at least one boundary), or empty.
inline std::vector<int> randomGroups(std::mt19937& random, int items) {
    std::vector<int> groups;
    if (items < 1) {
        return groups;
    }
    for (int item = 0; item < items; ++item) {
        if (random() % 3 == 0) {
            groups.push_back(item);
        }
    }
    if (groups.empty()) {
        groups.push_back(static_cast<int>(random() % static_cast<unsigned>(items)));
    }
    return groups;
}

}  // namespace OptimizationTests
