// Random selections of nodes drawn from a table of transition weights, without replacement.
//
// A selection starts at the implicit node 0 and visits each node at most once: every step draws the next
// node from the weights of the row of the last node written (row 0 for the first step), restricted to the
// nodes still available, by a cumulative walk over one uniform number. The cross-entropy optimiser builds
// one generator per iteration from its current matrix with the fixed seed 193, so every iteration draws
// from the same stream.
//
// Guarantees: the population is a deterministic function of seed, weights and sizes, bit for bit, for any
// number of OpenMP threads. Selection i of a call always uses the call's uniform draws i * L ...
// (i + 1) * L - 1 (L = pathLength, one 32-bit engine output per draw), so the draws are made first, in
// order, and the selections are then built in parallel, several side by side on each thread.
//
// Walk, for one step from row m: total = sum, in index order, of the weights of the available nodes
// 1 ... (row length - 1); threshold = u * total; then j = 0, 1, ... adds the weight at j to a running sum
// when j is available and stops at the first j with threshold <= running sum (the row length when it
// never stops). Node j is written and marked taken. Position 0 has weight 0, so a threshold of 0 (u = 0,
// or nothing left with positive weight) writes node 0 and the next step uses row 0 again. A node beyond
// the last row (only reachable with rows longer than the matrix is high, or when NaN weights keep the walk
// from stopping) has a row holding only the weight 0, so the step after it writes node 0.
//
// Copies share the private state (the engine included). One generator must not be used from several
// threads at once.
#pragma once

#include "AdaptiveTeam.h"
#include "UniformStream.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace Kestrel::optimization {

// The selections of one population stored back to back, selection i at nodes i * length ... (i + 1) *
// length - 1: one block for a whole population, kept from one population to the next, instead of a
// vector allocated per selection.
class SelectionBlock {
  public:
    // Room for `count` selections of `length` nodes (the storage is kept when it is large enough).
    void reshape(std::size_t count, std::size_t length);

    std::size_t size() const { return count_; }
    std::size_t length() const { return length_; }
    int* operator[](std::size_t i) { return nodes_.data() + i * length_; }
    int const* operator[](std::size_t i) const { return nodes_.data() + i * length_; }

    // Selection i as a vector of its own.
    std::vector<int> selection(std::size_t i) const;

  private:
    std::vector<int> nodes_;
    std::size_t count_ = 0;
    std::size_t length_ = 0;
};

class HamiltonianPathMCGenerator {
  public:
    // Row i of `weights` becomes 0.0 followed by matrix row i; the engine is seeded with `seed`.
    HamiltonianPathMCGenerator(std::vector<std::vector<double>> const& matrix, unsigned int seed);

    // The same with the engine seeded with the stream's seed: the generator reads the stream from its
    // first draw, reusing what earlier generators on the stream have drawn.
    HamiltonianPathMCGenerator(std::vector<std::vector<double>> const& matrix,
                               std::shared_ptr<UniformStream> stream);

    // Replaces `paths` by `numberOfPaths` selections of `pathLength` nodes (none for a count <= 0).
    void generatePaths(int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength);

    // The same, but choosing node j also marks every node of exclusionLists[j] as taken.
    void generatePathsWithExclusions(int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength,
                                     std::vector<std::vector<int>> const& exclusionLists);

    // What to do with selections first ... last - 1 as soon as they are drawn, on the thread `thread` that
    // drew them (below the team's size), while other threads still draw: e.g. score them, in the same
    // parallel loop. Must not throw. Selections of one call are handed over once each, in batches of
    // consecutive indices; a selection may be changed in place (e.g. sorted) once handed over.
    using WhenDrawn = std::function<void(std::size_t first, std::size_t last, int thread)>;

    // generatePathsWithExclusions(), or generatePaths() for a null `exclusionLists`, into a block, handing
    // every selection to `whenDrawn` unless it is empty; the loop then runs on the team whatever the
    // population's size, since the work of `whenDrawn` is not known here.
    void generatePaths(int numberOfPaths, SelectionBlock& paths, int pathLength,
                       std::vector<std::vector<int>> const* exclusionLists, WhenDrawn const& whenDrawn);

    // Large populations of the following calls are drawn on `team` (which must outlive them) as part of
    // its current round; until set, on the library's threads. The selections do not depend on it.
    void setTeam(common::AdaptiveTeam* team);

  private:
    class Private;
    std::shared_ptr<Private> d_;
};

}  // namespace Kestrel::optimization
