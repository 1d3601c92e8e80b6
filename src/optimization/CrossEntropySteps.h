// The steps of one cross-entropy iteration that do not involve the generator or the objective: matrix
// entropy and population size, the elite threshold's convergence tests, the exclusion lists of pre-groups
// and the update of the matrix towards the elite transition frequencies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kestrel::optimization {

// exp of the entropy of one row: H = sum over the entries p > 0, in entry order, of p * log(1 / p);
// the result is max(1, (int)exp(H)) (saturated at the largest int). An empty row gives 1.
int rowPerplexity(std::vector<double> const& row);

// Sum of the perplexities of all rows (the matrix entropy count).
std::int64_t entropyCount(std::vector<std::vector<double>> const& matrix);

struct Population {
    int size;     // number of selections to draw; 0 or less means no selection at all
    bool capped;  // the entropy-derived size exceeded 1.25 times the base and was cut to the base
};

// Population size of one iteration for `rows` matrix rows and the entropy count E of the matrix.
Population populationSize(double sampleFactor, int basePopulation, bool staticPopulation, int rows,
                          std::int64_t entropy);

// True when `history` holds at least `stallIterations` values and either stallIterations <= 1 or its last
// value equals each of the stallIterations - 1 values before it (exact comparison, NaN never equal).
bool stalled(std::vector<double> const& history, int stallIterations);

// Index of the first value strictly below every value before it, starting from +infinity; 0 when no
// value is below +infinity (or the list is empty).
std::size_t firstSmallest(std::vector<double> const& values);

// Exclusion lists for `rows` nodes from sorted 0-based item boundaries (item m is node m + 1). An empty
// boundary list gives no lists. Node 0's list is empty; a node outside every group lists every ungrouped
// node; a grouped node lists the nodes of its own group, itself included.
std::vector<std::vector<int>> buildExclusionLists(std::vector<int> const& boundaries, int rows);

// Counts of the transitions (from, to) made by elite selections, dense over from, to in 0 ... rows - 1.
// Transitions leaving or reaching a node >= rows are never read by the update and are not kept.
class EliteTransitionCounts {
  public:
    // Sets every count to zero for a matrix of `rows` rows (keeps the storage when the size is unchanged).
    void reset(int rows);

    // Adds the transitions of one selection, starting from node 0.
    void addSelection(std::vector<int> const& selection);

    // The same for the selection nodes[0 ... length - 1].
    void addSelection(int const* nodes, std::size_t length);

    // new = (1 - smoothing) * old + smoothing * f for entries 0 ... rows - 2 of every row i, where
    // f = count(i, j) / total_i for a counted transition i -> j (j = entry + 1) and f = 0 otherwise;
    // total_i is the sum of count(i, j) over j = 1 ... rows - 1. Nothing happens for fewer than 2 rows.
    void updateMatrix(std::vector<std::vector<double>>& matrix, double smoothing) const;

  private:
    std::size_t rows_ = 0;
    std::vector<std::uint64_t> counts_;  // row-major, counts_[from * rows_ + to]
};

}  // namespace Kestrel::optimization
