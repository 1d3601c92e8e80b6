#include "HamiltonianPathMCGenerator.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Kestrel::optimization {

namespace {

// Below this many weight additions a population is drawn on the calling thread: starting a team of
// threads would cost more than it saves. The result is the same either way. A population whose selections
// are handed over as they are drawn (to be scored in the same loop) goes to the team whatever its size.
constexpr std::size_t kParallelWork = std::size_t{1} << 16;

// Selections built side by side by one worker. The running sums of a walk form one long chain of
// dependent additions; walking several selections at once lets their chains overlap in the processor,
// two lanes to a 128-bit register (GCC and Clang vector extensions: each lane is added on its own, exactly
// as a scalar addition).
constexpr std::size_t kLanes = 8;
constexpr std::size_t kPairs = kLanes / 2;
typedef double LanePair __attribute__((vector_size(16)));
typedef std::uint64_t LanePairBits __attribute__((vector_size(16)));

// Scratch of one worker, lanes interleaved per position: entry [position * kPairs + lane / 2], element
// lane % 2. An availability mask is all ones for an available position and zero for a taken one, so that
// `weight & mask` is the weight or +0.0 without a branch (the pattern of taken positions is random and
// would defeat branch prediction). Each worker's scratch has cache lines of its own: it is written every
// batch.
struct alignas(64) WalkScratch {
    std::vector<LanePairBits> available;
    bool allAvailable = false;  // every flag of `available` is set: a batch may start without refilling
    std::vector<LanePair> runningSums;
    std::vector<int> idleSelections;  // written by the unused lanes of a last, partial batch, back to back
};

std::uint64_t const kAvailable = ~std::uint64_t{0};

// Number of leading running sums that stay below the threshold, i.e. the first position j with
// threshold <= sumAt(j) (or `length` when there is none), for non-decreasing sums: the test
// !(threshold <= sum) holds on a prefix. Counting whole blocks by their last sum first, then the
// positions of the one block where the prefix ends, takes no data-dependent branch and about a sixth
// of the comparisons of a full count.
template <class SumAt>
std::size_t countBelow(double threshold, SumAt const& sumAt, std::size_t length) {
    constexpr std::size_t kBlock = 8;
    std::size_t blocksBelow = 0;
    for (std::size_t end = kBlock; end <= length; end += kBlock) {
        blocksBelow += threshold <= sumAt(end - 1) ? 0 : 1;
    }
    std::size_t const begin = blocksBelow * kBlock;
    std::size_t const end = std::min(begin + kBlock, length);
    std::size_t below = begin;
    for (std::size_t j = begin; j < end; ++j) {
        below += threshold <= sumAt(j) ? 0 : 1;
    }
    return below;
}

}  // namespace

class HamiltonianPathMCGenerator::Private {
  public:
    Private(std::vector<std::vector<double>> const& matrix, std::shared_ptr<UniformStream> stream);

    void generate(int numberOfPaths, SelectionBlock& paths, int pathLength,
                  std::vector<std::vector<int>> const* exclusionLists, WhenDrawn const* whenDrawn);

    common::AdaptiveTeam* team = nullptr;  // where large populations are drawn; null: the library's threads

  private:
    // Draws one selection per lane, lane k from laneDraws[k][0 ... pathLength - 1] into
    // selections[k][0 ... pathLength - 1].
    void drawBatch(double const* const* laneDraws, std::size_t pathLength, int* const* selections,
                   WalkScratch& scratch, std::vector<std::vector<int>> const* exclusionLists) const;

    // Row r of the weight table: 0.0, then matrix row r, then +0.0 up to the common width. Row `rows_` is
    // the row of every node beyond the matrix and holds only the weight 0 of going back to node 0. Adding
    // the padding zeros leaves every running sum unchanged (none is -0.0, since all start at +0.0).
    std::vector<double> weights_;
    std::vector<std::size_t> rowLengths_;  // length of each row before padding
    std::size_t rows_ = 0;
    std::size_t width_ = 0;
    std::size_t flagCount_ = 0;  // every position of the widest row, and the width itself (a walk that never
                                 // stops writes the row length)
    // No weight is negative or NaN: every row's running sums never decrease, so the first position whose
    // sum reaches the threshold is the number of positions whose sum stays below it.
    bool nonDecreasingSums_ = true;
    std::shared_ptr<UniformStream> stream_;
    std::size_t drawsUsed_ = 0;  // position of this generator's engine in the stream
};

HamiltonianPathMCGenerator::Private::Private(std::vector<std::vector<double>> const& matrix,
                                             std::shared_ptr<UniformStream> stream)
    : rows_(matrix.size()), stream_(std::move(stream)) {
    width_ = 1;
    for (std::vector<double> const& row : matrix) {
        width_ = std::max(width_, row.size() + 1);
    }
    flagCount_ = width_ + 1;
    weights_.assign((rows_ + 1) * width_, 0.0);
    rowLengths_.assign(rows_ + 1, 1);
    for (std::size_t r = 0; r < rows_; ++r) {
        std::copy(matrix[r].begin(), matrix[r].end(),
                  weights_.begin() + static_cast<std::ptrdiff_t>(r * width_ + 1));
        rowLengths_[r] = matrix[r].size() + 1;
        for (double const weight : matrix[r]) {
            nonDecreasingSums_ = nonDecreasingSums_ && weight >= 0.0;
        }
    }
}

void HamiltonianPathMCGenerator::Private::generate(int numberOfPaths, SelectionBlock& paths, int pathLength,
                                                   std::vector<std::vector<int>> const* exclusionLists,
                                                   WhenDrawn const* whenDrawn) {
    std::size_t const count = numberOfPaths > 0 ? static_cast<std::size_t>(numberOfPaths) : 0;
    std::size_t const length = pathLength > 0 ? static_cast<std::size_t>(pathLength) : 0;
    paths.reshape(count, length);
    // Selection i consumes draws i * length ... (i + 1) * length - 1 of this call: draw them all in order
    // first.
    double const* const draws = stream_->draws(drawsUsed_, count * length);
    drawsUsed_ += count * length;
    std::size_t const batches = (count + kLanes - 1) / kLanes;
    bool const worthThreads = whenDrawn != nullptr || count * length * width_ >= kParallelWork;
    int const threads = !worthThreads ? 1 : team != nullptr ? team->threads() : common::threadsForLoop();
    std::vector<WalkScratch> scratch(static_cast<std::size_t>(threads));
    auto const drawOneBatch = [&](std::ptrdiff_t batch, int thread) {
        WalkScratch& workerScratch = scratch[static_cast<std::size_t>(thread)];
        double const* laneDraws[kLanes];
        int* selections[kLanes];
        std::size_t const first = static_cast<std::size_t>(batch) * kLanes;
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            std::size_t const i = first + lane;
            if (i < count) {
                laneDraws[lane] = draws + i * length;
                selections[lane] = paths[i];
            } else {
                workerScratch.idleSelections.resize(kLanes * length);
                laneDraws[lane] = draws + first * length;
                selections[lane] = workerScratch.idleSelections.data() + lane * length;
            }
        }
        drawBatch(laneDraws, length, selections, workerScratch, exclusionLists);
        if (whenDrawn != nullptr) {
            (*whenDrawn)(first, std::min(first + kLanes, count), thread);
        }
    };
    if (worthThreads && team != nullptr) {
        team->forEachIndex(static_cast<std::ptrdiff_t>(batches), drawOneBatch);
    } else {
        common::forEachIndex(threads, static_cast<std::ptrdiff_t>(batches), drawOneBatch);
    }
}

void HamiltonianPathMCGenerator::Private::drawBatch(
    double const* const* laneDraws, std::size_t pathLength, int* const* selections, WalkScratch& scratch,
    std::vector<std::vector<int>> const* exclusionLists) const {
    if (!scratch.allAvailable) {
        scratch.available.assign(kPairs * flagCount_, LanePairBits{kAvailable, kAvailable});
    }
    scratch.allAvailable = false;
    scratch.runningSums.resize(kPairs * width_);
    LanePairBits* const available = scratch.available.data();
    LanePair* const runningSums = scratch.runningSums.data();

    for (std::size_t step = 0; step < pathLength; ++step) {
        double const* row[kLanes];
        std::size_t rowLength[kLanes];
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            std::size_t const last = step == 0 ? 0 : static_cast<std::size_t>(selections[lane][step - 1]);
            std::size_t const r = last < rows_ ? last : rows_;
            row[lane] = weights_.data() + r * width_;
            rowLength[lane] = rowLengths_[r];
        }

        // Running sums over the available positions in index order. Position 0 holds 0.0, so the last
        // sum is the total over the available nodes 1 ... (row length - 1), added in the same order. A
        // taken position adds +0.0, which leaves the sum unchanged.
        LanePair sum[kPairs];
        for (std::size_t pair = 0; pair < kPairs; ++pair) {
            sum[pair] = LanePair{0.0, 0.0};
        }
        for (std::size_t j = 0; j < width_; ++j) {
#pragma GCC unroll 4
            for (std::size_t pair = 0; pair < kPairs; ++pair) {
                LanePair const weight{row[2 * pair][j], row[2 * pair + 1][j]};
                sum[pair] += (LanePair)((LanePairBits)weight & available[j * kPairs + pair]);
                runningSums[j * kPairs + pair] = sum[pair];
            }
        }

        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            std::size_t const pair = lane / 2;
            std::size_t const element = lane % 2;
            auto const sumAt = [&](std::size_t j) { return runningSums[j * kPairs + pair][element]; };
            double const threshold = laneDraws[lane][step] * sum[pair][element];
            std::size_t chosen = 0;
            if (nonDecreasingSums_) {
                chosen = countBelow(threshold, sumAt, rowLength[lane]);
            } else {
                while (chosen < rowLength[lane] && !(threshold <= sumAt(chosen))) {
                    ++chosen;
                }
            }
            selections[lane][step] = static_cast<int>(chosen);
            available[chosen * kPairs + pair][element] = 0;
            if (exclusionLists != nullptr && chosen < exclusionLists->size()) {
                for (int const excluded : (*exclusionLists)[chosen]) {
                    if (excluded >= 0 && static_cast<std::size_t>(excluded) < flagCount_) {
                        available[static_cast<std::size_t>(excluded) * kPairs + pair][element] = 0;
                    }
                }
            }
        }
    }

    // Without exclusion lists only the selected positions were taken: setting them again leaves every flag
    // set for the next batch, a few writes instead of refilling the whole table.
    if (exclusionLists == nullptr) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            for (std::size_t step = 0; step < pathLength; ++step) {
                std::size_t const taken = static_cast<std::size_t>(selections[lane][step]);
                available[taken * kPairs + lane / 2][lane % 2] = kAvailable;
            }
        }
        scratch.allAvailable = true;
    }
}

HamiltonianPathMCGenerator::HamiltonianPathMCGenerator(std::vector<std::vector<double>> const& matrix,
                                                       unsigned int seed)
    : d_(std::make_shared<Private>(matrix, std::make_shared<UniformStream>(seed))) {}

HamiltonianPathMCGenerator::HamiltonianPathMCGenerator(std::vector<std::vector<double>> const& matrix,
                                                       std::shared_ptr<UniformStream> stream)
    : d_(std::make_shared<Private>(matrix, std::move(stream))) {}

void HamiltonianPathMCGenerator::setTeam(common::AdaptiveTeam* team) {
    d_->team = team;
}

namespace {

// The selections of a block as vectors of their own.
void copyOut(SelectionBlock const& block, std::vector<std::vector<int>>& paths) {
    paths.resize(block.size());
    for (std::size_t i = 0; i < block.size(); ++i) {
        paths[i].assign(block[i], block[i] + block.length());
    }
}

}  // namespace

void SelectionBlock::reshape(std::size_t count, std::size_t length) {
    nodes_.resize(count * length);
    count_ = count;
    length_ = length;
}

std::vector<int> SelectionBlock::selection(std::size_t i) const {
    return std::vector<int>((*this)[i], (*this)[i] + length_);
}

void HamiltonianPathMCGenerator::generatePaths(int numberOfPaths, std::vector<std::vector<int>>& paths,
                                               int pathLength) {
    SelectionBlock block;
    d_->generate(numberOfPaths, block, pathLength, nullptr, nullptr);
    copyOut(block, paths);
}

void HamiltonianPathMCGenerator::generatePathsWithExclusions(
    int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength,
    std::vector<std::vector<int>> const& exclusionLists) {
    SelectionBlock block;
    d_->generate(numberOfPaths, block, pathLength, &exclusionLists, nullptr);
    copyOut(block, paths);
}

void HamiltonianPathMCGenerator::generatePaths(int numberOfPaths, SelectionBlock& paths, int pathLength,
                                               std::vector<std::vector<int>> const* exclusionLists,
                                               WhenDrawn const& whenDrawn) {
    d_->generate(numberOfPaths, paths, pathLength, exclusionLists, whenDrawn ? &whenDrawn : nullptr);
}

}  // namespace Kestrel::optimization
