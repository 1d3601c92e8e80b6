// Cross-entropy minimisation over ordered selections of nodes.
//
// The caller gives an n x (n-1) matrix of transition probabilities between nodes (row 0: the first item
// drawn, row i: the item following node i; entry k of a row is the weight of the step to node k+1) and an
// objective that scores one selection (lower is better). Node 0 is the start and is not written into a
// selection; items are nodes 1 ... n-1. Each iteration draws a population of selections from the matrix
// with a generator reseeded with the fixed seed 193, scores them in parallel (OpenMP),
// takes a quantile of the scores as elite threshold and moves the matrix towards the transition
// frequencies of the elite. The best selection seen is written to `result`.
//
// The rows are read as probability distributions: a row's entropy, sum of p * log(1/p) over its positive
// entries, decides when the run has converged (every row with perplexity 1) and, for an adaptive population,
// how many selections are drawn. Rows of unnormalised weights such as 1.0 have entropy 0, so a run on them
// ends after one iteration: normalise the rows (each summing to 1) to learn.
//
// Cost per iteration: drawing N selections of L items costs O(N * L * n), N = n*(n-1)*sampleFactor with a
// static population; then N objective calls. Drawing is parallel as well as the scoring. The first
// iteration draws and scores on a team of threads; the following ones go on with the calling thread alone
// when that team was not clearly faster (a machine whose cores are busy), trying a team again after 10,
// 40, 160 ... iterations. Called from inside an active OpenMP parallel region, everything runs on the
// calling thread.
//
//   std::vector<std::vector<double>> matrix(n + 1, std::vector<double>(n, 1.0 / n));
//   boost::function<double(std::vector<int> const&)> objective = ...;   // must outlive optimize()
//   Kestrel::CombinatorialCrossEntropyOptimization optimiser(k, matrix, objective, false);
//   Kestrel::CombinatorialCrossEntropyOptimization::Parameters const parameters{
//       0.8, 0.05, 5.0, 3, true, 30,
//       Kestrel::CombinatorialCrossEntropyOptimization::StaticPopulation};
//   std::vector<int> best;                        // k item numbers (1-based) on return
//   double const last = optimiser.optimize(parameters, best, nullptr, 0);
//
// Guarantees: results are a deterministic function of the inputs, bit for bit, for any number of OpenMP
// threads. The objective is called concurrently from several threads and must be safe for that. An
// exception thrown by the objective does not escape the worker threads: the loop runs to its end and the
// exception of the lowest selection index is rethrown on the calling thread. Copies share the learning
// state (matrix, exclusion lists, evaluation counter); objects that share state must not run `optimize`
// concurrently. A moved-from object may only be assigned to or destroyed.
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

        double smoothing;     // weight of the elite frequencies in the matrix update
        double quantile;      // quantile level of the scores that becomes the elite threshold
        double sampleFactor;  // multiplies the base and the entropy-derived population sizes
        int stallIterations;  // consecutive equal thresholds (or best scores) that count as convergence
        bool checkBestStall;  // a stall of the per-iteration best score also ends the run
        int maxIterations;    // at most maxIterations - 1 iterations run
        PopulationDynamics populationDynamics;
    };

    using Objective = boost::function<double(std::vector<int> const&)>;
    using Callback = boost::function<void(std::vector<std::vector<double>>&, double)>;

    // Full paths: pathLength = n - 1, selections keep their drawing order. Copies the matrix; no pre-groups,
    // no evaluations yet.
    // Requires: every row has at least n - 1 finite, non-negative weights (checked by optimize()).
    // `objective` is held by address (not copied) and must
    // outlive every call of optimize().
    CombinatorialCrossEntropyOptimization(std::vector<std::vector<double>> const& matrix,
                                          Objective const& objective);

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
    // b0 < b1 < ... < bk within 0 ... n-1 (group g is items b_g ... b_(g+1) - 1); the items outside every
    // group form one more group. A null pointer or an empty list removes the restriction. When a selection
    // has taken one item of every group and more are asked for, the remaining places hold node 0.
    // Throws: std::invalid_argument naming the index and value of the first boundary outside 0 ... n-1 or
    // not above the one before it (unsorted or repeated); the earlier restriction is then kept.
    void setPreGroups(std::vector<int> const* groups);

    // Number of objective calls over all optimize() calls of this object and its copies.
    std::uint64_t getNumberOfEvaluations() const;

    // Runs the cross-entropy loop, starting from the matrix as earlier calls left it. Writes the best
    // selection of all iterations into `result` (node numbers, 1-based items; ascending when not ordered)
    // and returns the smallest score of the last iteration, which is larger than the score of `result`
    // when an earlier iteration was better. At most maxIterations - 1 iterations run; the run also ends
    // when the thresholds (or, with checkBestStall, the per-iteration best scores) have been equal for
    // stallIterations iterations, or when every row has perplexity 1.
    // If maxIterations < 2, or an iteration's population is empty (0 selections, or fewer: a negative
    // basePopulation caps it below 0), optimize returns +infinity at once and leaves `result` unchanged;
    // that iteration counts no evaluation and calls no callback (a base population of 0 with a static
    // population and one row is such a case).
    // `callback` (may be null) is called with the matrix and `smoothing` after the matrix update of an
    // iteration whose population was capped to the base population; it may change the weights, within the
    // same requirements, but not the number of rows.
    // Requires (when maxIterations >= 2): 0 <= smoothing <= 1 (so that the update keeps the weights valid);
    // every one of the n rows has at least n - 1 entries, every weight is finite and not negative and every
    // row's sum is finite. Rows whose available weights are all zero
    // are valid: the walk then writes node 0.
    // Throws: std::invalid_argument naming the smoothing, or the row and entry (and the value), that breaks
    // the requirements, before any objective call; the same after a callback that broke them or changed the
    // number of rows (the matrix then holds what the callback left, `result` is unchanged); whatever the
    // objective throws, rethrown once the iteration's evaluation loop is over
    // (`result` is then left unchanged and that iteration's evaluations are not counted); whatever the
    // callback throws. An empty objective or a non-null pointer to an empty callback gives
    // boost::bad_function_call ("call to empty boost::function").
    double optimize(Parameters const& parameters, std::vector<int>& result, Callback* callback,
                    int basePopulation);

  private:
    class Private;
    std::shared_ptr<Private> d_;
};

}  // namespace Kestrel
