#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include "AdaptiveTeam.h"
#include "CrossEntropySteps.h"
#include "HamiltonianPathMCGenerator.h"
#include "OptimiserInputChecks.h"

#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace Kestrel {

namespace {

// Fixed so that every iteration, and every run, draws the same stream of random numbers.
unsigned int const kSeed = 193;

// Leading draws of that stream made once for the whole process (1 MiB): a population of up to this many
// draws, e.g. 41 * 40 * 5 selections of 8 nodes, reads them without drawing anything.
std::size_t const kSharedDraws = std::size_t{1} << 17;

// From this many selections on, each batch of selections is scored as soon as it is drawn, in the same
// parallel loop: one loop per iteration instead of two. Smaller populations are drawn first and then scored
// one selection at a time on the team, so that a few expensive evaluations still share out evenly (a batch
// of drawn selections goes to one thread).
std::size_t const kScoredWhileDrawn = 512;

std::shared_ptr<optimization::UniformPrefix const> sharedPrefix() {
    static auto const prefix = std::make_shared<optimization::UniformPrefix const>(kSeed, kSharedDraws);
    return prefix;
}

// The vector one thread hands the objective, on cache lines of its own: it is rewritten for every selection.
struct alignas(64) ThreadSelection {
    std::vector<int> nodes;
};

// Only 0 against any other value is tested. The stored value is read as its underlying integer so that a
// value outside the enumerators (which a caller can store) is read without undefined behaviour.
bool isStaticPopulation(CombinatorialCrossEntropyOptimization::PopulationDynamics const& dynamics) {
    std::underlying_type_t<CombinatorialCrossEntropyOptimization::PopulationDynamics> raw;
    std::memcpy(&raw, &dynamics, sizeof raw);
    return raw == 0;
}

// The progress callback may change the weights but not the shape of the matrix: the next iteration's walk
// and update are sized for `rows` rows.
void checkMatrixAfterCallback(std::vector<std::vector<double>> const& matrix, int rows) {
    if (matrix.size() != static_cast<std::size_t>(rows)) {
        throw std::invalid_argument("optimize: the progress callback left the matrix with " +
                                    std::to_string(matrix.size()) + " rows instead of " +
                                    std::to_string(rows));
    }
    optimization::checkTransitionMatrix(matrix, "optimize: the matrix after the progress callback");
}

}  // namespace

class CombinatorialCrossEntropyOptimization::Private {
  public:
    Private(std::vector<std::vector<double>> const& matrix, Objective const& objective, bool ordered,
            int pathLength)
        : probabilities(matrix), objective(&objective), ordered(ordered), pathLength(pathLength) {}

    std::vector<std::vector<double>> probabilities;
    Objective const* objective;
    std::vector<std::vector<int>> exclusionLists;
    std::uint64_t numberOfEvaluations = 0;
    bool ordered;
    int pathLength;
};

CombinatorialCrossEntropyOptimization::CombinatorialCrossEntropyOptimization(
    std::vector<std::vector<double>> const& matrix, Objective const& objective)
    : d_(std::make_shared<Private>(matrix, objective, true, static_cast<int>(matrix.size()) - 1)) {}

CombinatorialCrossEntropyOptimization::CombinatorialCrossEntropyOptimization(
    int pathLength, std::vector<std::vector<double>> const& matrix, Objective const& objective, bool ordered)
    : d_(std::make_shared<Private>(matrix, objective, ordered, pathLength)) {}

CombinatorialCrossEntropyOptimization::CombinatorialCrossEntropyOptimization(
    CombinatorialCrossEntropyOptimization const& other) = default;
CombinatorialCrossEntropyOptimization::CombinatorialCrossEntropyOptimization(
    CombinatorialCrossEntropyOptimization&& other) noexcept = default;
CombinatorialCrossEntropyOptimization& CombinatorialCrossEntropyOptimization::operator=(
    CombinatorialCrossEntropyOptimization const& other) = default;
CombinatorialCrossEntropyOptimization& CombinatorialCrossEntropyOptimization::operator=(
    CombinatorialCrossEntropyOptimization&& other) noexcept = default;
CombinatorialCrossEntropyOptimization::~CombinatorialCrossEntropyOptimization() = default;

void CombinatorialCrossEntropyOptimization::setPreGroups(std::vector<int> const* groups) {
    if (groups == nullptr || groups->empty()) {
        d_->exclusionLists.clear();
        return;
    }
    int const rows = static_cast<int>(d_->probabilities.size());
    optimization::checkPreGroupBoundaries(*groups, rows);
    d_->exclusionLists = optimization::buildExclusionLists(*groups, rows);
}

std::uint64_t CombinatorialCrossEntropyOptimization::getNumberOfEvaluations() const {
    return d_->numberOfEvaluations;
}

double CombinatorialCrossEntropyOptimization::optimize(Parameters const& parameters, std::vector<int>& result,
                                                       Callback* callback, int basePopulation) {
    double const noResult = std::numeric_limits<double>::infinity();
    if (parameters.maxIterations < 2) {
        return noResult;
    }
    Private& state = *d_;
    optimization::checkSmoothing(parameters.smoothing);
    optimization::checkTransitionMatrix(state.probabilities, "optimize: the transition matrix");
    int const rows = static_cast<int>(state.probabilities.size());
    Objective const& objective = *state.objective;

    std::vector<double> thresholdHistory;
    std::vector<double> bestScoreHistory;
    std::vector<std::vector<int>> bestSelectionHistory;
    optimization::SelectionBlock selections;
    std::vector<double> scores;
    optimization::EliteTransitionCounts eliteCounts;
    double lastMinimum = noResult;
    // Every iteration's generator restarts the stream of seed kSeed: its draws are made once (the leading
    // ones once per process).
    auto const draws = std::make_shared<optimization::UniformStream>(sharedPrefix());
    // Drawing and scoring a population take about the same time every iteration: the team is chosen by
    // measuring them (the calling thread alone when a team does not pay on this machine right now).
    int const mostThreads = common::threadsForLoop();
    common::AdaptiveTeam team(mostThreads);
    // The objective takes a selection as a vector: each thread copies the selection it scores into a vector
    // of its own, kept from one selection to the next.
    std::vector<ThreadSelection> threadSelections(static_cast<std::size_t>(mostThreads));

    for (int iteration = 1;;) {
        optimization::HamiltonianPathMCGenerator generator(state.probabilities, draws);
        generator.setTeam(&team);
        std::int64_t const entropy = optimization::entropyCount(state.probabilities);
        optimization::Population const population =
            optimization::populationSize(parameters.sampleFactor, basePopulation,
                                         isStaticPopulation(parameters.populationDynamics), rows, entropy);
        if (population.size <= 0) {
            return noResult;
        }
        std::size_t const count = static_cast<std::size_t>(population.size);

        // Every selection is scored even after a failure; the exception of the lowest failing index is
        // rethrown once every selection was scored. Unordered selections are sorted in place first: the
        // elite's transitions are counted along the sorted order.
        scores.assign(count, 0.0);
        bool const sortSelections = !state.ordered;
        common::LoopFailures failures(team.threads());
        auto const score = [&](std::size_t index, int thread) {
            try {
                std::vector<int>& selection = threadSelections[static_cast<std::size_t>(thread)].nodes;
                int* const nodes = selections[index];
                selection.assign(nodes, nodes + selections.length());
                if (sortSelections) {
                    std::sort(selection.begin(), selection.end());
                    std::copy(selection.begin(), selection.end(), nodes);
                }
                scores[index] = objective(selection);
            } catch (...) {
                failures.capture(thread, static_cast<std::ptrdiff_t>(index));
            }
        };
        std::vector<std::vector<int>> const* const exclusions =
            state.exclusionLists.empty() ? nullptr : &state.exclusionLists;
        if (count >= kScoredWhileDrawn) {
            // Each batch is scored by the thread that drew it, right after drawing: one parallel loop.
            generator.generatePaths(population.size, selections, state.pathLength, exclusions,
                                    [&](std::size_t first, std::size_t last, int thread) {
                                        for (std::size_t index = first; index < last; ++index) {
                                            score(index, thread);
                                        }
                                    });
        } else {
            generator.generatePaths(population.size, selections, state.pathLength, exclusions, nullptr);
            team.forEachBlock(static_cast<std::ptrdiff_t>(count),
                              [&](std::ptrdiff_t first, std::ptrdiff_t last, int thread) {
                                  for (std::ptrdiff_t index = first; index < last; ++index) {
                                      score(static_cast<std::size_t>(index), thread);
                                  }
                              });
        }
        team.endRound();
        failures.rethrowFirst();
        state.numberOfEvaluations += count;

        Tessel::StatisticalCalculator calculator(population.size);
        calculator.loadDataSet(scores);
        double const threshold = calculator.getQuantile(parameters.quantile, 0);

        bool const matrixUndecided = entropy != rows;
        if (matrixUndecided) {
            eliteCounts.reset(rows);
            for (std::size_t i = 0; i < count; ++i) {
                if (scores[i] <= threshold) {
                    eliteCounts.addSelection(selections[i], selections.length());
                }
            }
            eliteCounts.updateMatrix(state.probabilities, parameters.smoothing);
            if (callback != nullptr && population.capped) {
                (*callback)(state.probabilities, parameters.smoothing);
                checkMatrixAfterCallback(state.probabilities, rows);
            }
        }

        thresholdHistory.push_back(threshold);
        bool converged =
            optimization::stalled(thresholdHistory, parameters.stallIterations) || !matrixUndecided;

        std::size_t const best = optimization::firstSmallest(scores);
        bestSelectionHistory.push_back(selections.selection(best));
        bestScoreHistory.push_back(scores[best]);
        lastMinimum = scores[best];
        if (parameters.checkBestStall) {
            converged = converged || optimization::stalled(bestScoreHistory, parameters.stallIterations);
        }

        ++iteration;
        if (converged || iteration >= parameters.maxIterations) {
            break;
        }
    }

    result = bestSelectionHistory[optimization::firstSmallest(bestScoreHistory)];
    return lastMinimum;
}

}  // namespace Kestrel
