// Reference implementation of the path generator and of the cross-entropy loop, step by step, that the
// library is compared with bit for bit: one sequential draw after the other from a standard
// mt19937 (u = x * 2^-32 computed here, not by a distribution class), separate total and walk loops,
// transition counts in an ordered map, everything on one thread.
#pragma once

#include <boost/function.hpp>

#include <cstdint>
#include <random>
#include <vector>

namespace ReferenceCrossEntropy {

class Generator {
  public:
    Generator(std::vector<std::vector<double>> const& matrix, unsigned int seed);

    // exclusionLists may be null (unconstrained draw).
    void generate(int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength,
                  std::vector<std::vector<int>> const* exclusionLists);

  private:
    double draw();

    std::vector<std::vector<double>> weights_;
    std::mt19937 engine_;
};

struct Parameters {
    double smoothing;
    double quantile;
    double sampleFactor;
    int stallIterations;
    bool checkBestStall;
    int maxIterations;
    int populationDynamics;
};

using Objective = boost::function<double(std::vector<int> const&)>;
using Callback = boost::function<void(std::vector<std::vector<double>>&, double)>;

struct State {
    std::vector<std::vector<double>> probabilities;
    Objective const* objective;
    std::vector<std::vector<int>> exclusionLists;
    std::uint64_t numberOfEvaluations = 0;
    bool ordered = true;
    int pathLength = 0;
};

// The exclusion lists of setPreGroups for a non-empty boundary list.
std::vector<std::vector<int>> exclusionLists(std::vector<int> const& groups, int rows);

double optimize(State& state, Parameters const& parameters, std::vector<int>& result, Callback* callback,
                int basePopulation);

}  // namespace ReferenceCrossEntropy
