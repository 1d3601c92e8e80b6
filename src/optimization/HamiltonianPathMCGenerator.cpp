#include "HamiltonianPathMCGenerator.h"

#include "ParallelLoop.h"

#include <boost/random/mersenne_twister.hpp>
#include <boost/random/uniform_real_distribution.hpp>

#include <algorithm>
#include <cstddef>

namespace Kestrel {

namespace {

// Scratch of one worker: availability flags and the running sums of the current row.
struct WalkScratch {
    std::vector<unsigned char> available;
    std::vector<double> runningSums;
};

// The row of a node beyond the last row of the table: only the weight of going back to node 0.
std::vector<double> const kReturnOnlyRow{0.0};

}  // namespace

class HamiltonianPathMCGenerator::Private {
  public:
    Private(std::vector<std::vector<double>> const& matrix, unsigned int seed)
        : engine(seed), uniform(0.0, 1.0) {
        weights.reserve(matrix.size());
        for (std::vector<double> const& row : matrix) {
            std::vector<double> weightRow;
            weightRow.reserve(row.size() + 1);
            weightRow.push_back(0.0);
            weightRow.insert(weightRow.end(), row.begin(), row.end());
            weights.push_back(std::move(weightRow));
        }
        // One flag per node a walk can write: every position of the longest row, and the row length itself
        // (written when a walk never stops).
        flagCount = kReturnOnlyRow.size() + 1;
        for (std::vector<double> const& row : weights) {
            flagCount = std::max(flagCount, row.size() + 1);
        }
    }

    void generate(int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength,
                  std::vector<std::vector<int>> const* exclusionLists);

    std::vector<std::vector<double>> weights;
    boost::random::mt19937 engine;
    // Bound to [0, 1) over a 32-bit engine, one engine output x gives exactly x * 2^-32.
    boost::random::uniform_real_distribution<double> uniform;
    std::size_t flagCount = 0;

  private:
    void drawPath(double const* draws, int pathLength, std::vector<int>& path, WalkScratch& scratch,
                  std::vector<std::vector<int>> const* exclusionLists) const;
};

void HamiltonianPathMCGenerator::Private::generate(int numberOfPaths, std::vector<std::vector<int>>& paths,
                                                   int pathLength,
                                                   std::vector<std::vector<int>> const* exclusionLists) {
    std::size_t const count = numberOfPaths > 0 ? static_cast<std::size_t>(numberOfPaths) : 0;
    std::size_t const length = pathLength > 0 ? static_cast<std::size_t>(pathLength) : 0;
    paths.resize(count);
    // Selection i consumes draws i * length ... (i + 1) * length - 1: draw them all in order first.
    std::vector<double> draws(count * length);
    for (double& draw : draws) {
        draw = uniform(engine);
    }
    std::vector<WalkScratch> scratch(static_cast<std::size_t>(detail::threadSlots()));
    detail::parallelForStatic(static_cast<std::ptrdiff_t>(count), [&](std::ptrdiff_t index, int thread) {
        std::size_t const i = static_cast<std::size_t>(index);
        drawPath(draws.data() + i * length, static_cast<int>(length), paths[i], scratch[thread],
                 exclusionLists);
    });
}

void HamiltonianPathMCGenerator::Private::drawPath(
    double const* draws, int pathLength, std::vector<int>& path, WalkScratch& scratch,
    std::vector<std::vector<int>> const* exclusionLists) const {
    path.clear();
    path.reserve(static_cast<std::size_t>(pathLength));
    scratch.available.assign(flagCount, 1);
    scratch.runningSums.resize(flagCount);
    unsigned char* const available = scratch.available.data();
    double* const runningSums = scratch.runningSums.data();

    for (int step = 0; step < pathLength; ++step) {
        std::size_t const last = path.empty() ? 0 : static_cast<std::size_t>(path.back());
        std::vector<double> const& row = last < weights.size() ? weights[last] : kReturnOnlyRow;
        std::size_t const rowLength = row.size();
        double const* const weight = row.data();

        // Running sums over the available positions in index order. Position 0 holds 0.0, so the sum at
        // the last position is the total over the available nodes 1 ... rowLength - 1, added in the same
        // order. A taken position adds +0.0, which leaves every partial sum unchanged (none is -0.0).
        double sum = 0.0;
        for (std::size_t j = 0; j < rowLength; ++j) {
            sum += available[j] ? weight[j] : 0.0;
            runningSums[j] = sum;
        }
        double const threshold = draws[step] * sum;
        std::size_t chosen = 0;
        while (chosen < rowLength && !(threshold <= runningSums[chosen])) {
            ++chosen;
        }

        path.push_back(static_cast<int>(chosen));
        available[chosen] = 0;
        if (exclusionLists != nullptr && chosen < exclusionLists->size()) {
            for (int excluded : (*exclusionLists)[chosen]) {
                if (excluded >= 0 && static_cast<std::size_t>(excluded) < flagCount) {
                    available[excluded] = 0;
                }
            }
        }
    }
}

HamiltonianPathMCGenerator::HamiltonianPathMCGenerator(std::vector<std::vector<double>> const& matrix,
                                                       unsigned int seed)
    : d_(std::make_shared<Private>(matrix, seed)) {}

void HamiltonianPathMCGenerator::generatePaths(int numberOfPaths, std::vector<std::vector<int>>& paths,
                                               int pathLength) {
    d_->generate(numberOfPaths, paths, pathLength, nullptr);
}

void HamiltonianPathMCGenerator::generatePathsWithExclusions(
    int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength,
    std::vector<std::vector<int>> const& exclusionLists) {
    d_->generate(numberOfPaths, paths, pathLength, &exclusionLists);
}

}  // namespace Kestrel
