// Line geometry shared by the drawbead toy model and its master optimiser.
#pragma once

#include <Kestrel/MasterOptimizer4Interpolation.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace Kestrel {

// The transition after segment k. A caller-given vector may be shorter than the line (and an open line has
// no transition after its last segment): a missing transition counts as 0 instead of being read out of range.
inline double transitionAfter(std::vector<double> const& transitions, std::size_t k) {
    return k < transitions.size() ? transitions[k] : 0.0;
}

// What the score of a master choice reads from a toy model, prepared once so that the score costs
// O(number of masters): the total length, each segment's length and zero-weighted term, and for lines of
// up to kMaxTabulatedSegments segments every `fullDistance(from, to)`, bit for bit as the model sums it.
class MasterOptimizer4DrawbeadToyModel::Geometry {
  public:
    static constexpr std::size_t kMaxTabulatedSegments = 512;  // the table holds n * n doubles (2 MiB here)

    explicit Geometry(std::shared_ptr<DrawbeadToyModel const> model);

    // The model's score of a master choice (0-based positions in the order chosen), summed in a fixed
    // order: reciprocal distances of consecutive masters, the wrap-around pair on a closed line, the
    // zero-weighted length terms, then the uncovered-length term.
    double score(std::vector<int> const& masterIndices) const;

    std::vector<double> const& segmentLengths() const { return lengths; }

    // row[to] = the model's fullDistance(from, to) for every to = 0 ... n - 1, in O(n) for any line length.
    void fullDistancesFrom(std::size_t from, double* row) const;

  private:
    double fullDistance(int from, int to) const;

    std::shared_ptr<DrawbeadToyModel const> model;
    std::size_t n;
    bool closed;
    double totalLength = 0.0;
    std::vector<double> lengths;
    std::vector<double> zeroWeightTerms;  // 0.0 / (n * length): 0, or NaN for a zero length
    std::vector<double> fullDistances;    // row-major n x n, empty when the line is too long to tabulate
};

}  // namespace Kestrel
