// Cross-entropy minimisation over ordered selections of nodes.
//
// The caller gives an n x (n-1) matrix of transition weights between nodes (row 0: the first item drawn,
// row i: the item following node i; entry k of a row is the weight of the step to node k+1) and an
// objective that scores one selection (lower is better). Each iteration draws a population of selections
// from the matrix with a fixed-seed generator, scores them in parallel (OpenMP, static schedule), takes a
// quantile of the scores as elite threshold and moves the matrix towards the transition frequencies of the
// elite. The best selection seen is written to `result`.
//
// Cost per iteration: drawing N selections of L items costs O(N * L * n); N is n*(n-1)*sampleFactor with a
// static population. The objective is usually the expensive part and is the only parallel work.
//
//   std::vector<std::vector<double>> matrix(n + 1, std::vector<double>(n, 1.0 / n));
//   boost::function<double(std::vector<int> const&)> objective = ...;   // must outlive optimize()
//   Kestrel::CombinatorialCrossEntropyOptimization optimiser(k, matrix, objective, false);
//   Kestrel::CombinatorialCrossEntropyOptimization::Parameters const parameters{
//       0.8, 0.05, 5.0, 3, true, 30,
//       Kestrel::CombinatorialCrossEntropyOptimization::StaticPopulation};
//   std::vector<int> best;                        // 1-based item numbers on return
//   double const last = optimiser.optimize(parameters, best, nullptr, 0);
//
// Guarantees: results are a deterministic function of the inputs, bit for bit, for any number of OpenMP
// threads (the generator is reseeded with a fixed seed in every iteration). The objective is called
// concurrently from several threads and must be safe for that. An exception thrown by the objective is
// carried out of the parallel loop and rethrown on the calling thread (the one of the lowest selection
// index). Copies share the learning state (matrix, exclusion lists, evaluation counter); objects that
// share state must not run `optimize` concurrently.
#pragma once

#include <Kestrel/Export.h>

#include <boost/function.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Kestrel {

class KESTREL_API CombinatorialCrossEntropyOptimization {
public:
    // How the population size is chosen when no base population is given. Only 0 against any other value
    // is tested.
    enum PopulationDynamics { StaticPopulation = 0, AdaptivePopulation = 1 };

    struct KESTREL_API Parameters {
        Parameters(double smoothing, double quantile, double sampleFactor, int stallIterations,
                   bool checkBestStall, int maxIterations, PopulationDynamics populationDynamics);

        double smoothing;       // weight of the elite frequencies in the matrix update
        double quantile;        // quantile level of the scores that becomes the elite threshold
        double sampleFactor;    // multiplies the base and the entropy-derived population sizes
        int stallIterations;    // consecutive equal thresholds (or best scores) that count as convergence
        bool checkBestStall;    // a stall of the per-iteration best score also ends the run
        int maxIterations;      // at most maxIterations - 1 iterations run
        PopulationDynamics populationDynamics;
    };

    using Objective = boost::function<double(std::vector<int> const&)>;
    using Callback = boost::function<void(std::vector<std::vector<double>>&, double)>;

    // Full paths: pathLength = n - 1, selections keep their drawing order.
    // Requires: every row has at least n - 1 entries. `objective` is held by address and must outlive
    // every call of optimize().
    CombinatorialCrossEntropyOptimization(std::vector<std::vector<double>> const& matrix, Objective const& objective);

    // Selections of `pathLength` items; with `ordered` false each selection is sorted ascending before it
    // is scored and counted.
    CombinatorialCrossEntropyOptimization(int pathLength, std::vector<std::vector<double>> const& matrix,
                                          Objective const& objective, bool ordered);

    // Copies share the private state.
    CombinatorialCrossEntropyOptimization(CombinatorialCrossEntropyOptimization const& other);
    CombinatorialCrossEntropyOptimization(CombinatorialCrossEntropyOptimization&& other) noexcept;
    CombinatorialCrossEntropyOptimization& operator=(CombinatorialCrossEntropyOptimization const& other);
    CombinatorialCrossEntropyOptimization& operator=(CombinatorialCrossEntropyOptimization&& other) noexcept;
    ~CombinatorialCrossEntropyOptimization();

    // Restricts selections to at most one item per group. `groups` holds sorted 0-based item boundaries
    // b0 < b1 < ... < bk (group g is items b_g ... b_(g+1) - 1); items outside every group form one more
    // group. A null pointer or an empty list removes the restriction.
    void setPreGroups(std::vector<int> const* groups);

    // Number of objective calls over all optimize() calls of this object and its copies.
    std::uint64_t getNumberOfEvaluations() const;

    // Runs the cross-entropy loop. Writes the best selection of all iterations into `result` (node numbers,
    // 1-based items) and returns the smallest score of the last iteration. If no iteration runs
    // (maxIterations < 2) or a population is empty, `result` is left unchanged and +infinity is returned.
    // `callback` (may be null) is called after a matrix update in iterations whose population was capped.
    // Throws: whatever the objective or callback throws (boost::bad_function_call for an empty one).
    double optimize(Parameters const& parameters, std::vector<int>& result, Callback* callback, int basePopulation);

private:
    class Private;
    std::shared_ptr<Private> d_;
};

}  // namespace Kestrel
