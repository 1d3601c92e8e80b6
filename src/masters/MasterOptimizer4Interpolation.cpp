// The master search as a cross-entropy optimisation over unordered selections of positions.
#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "MasterInputChecks.h"
#include "MasterTransitionMatrix.h"
#include "SegmentSearchSettings.h"

#include <algorithm>
#include <utility>

namespace Kestrel {
namespace {

using Optimiser = CombinatorialCrossEntropyOptimization;

// Positions of a master choice, and whether a call on this thread is using them.
struct ChoiceBuffer {
    // Marks the buffer as used for its lifetime.
    class Use {
      public:
        explicit Use(ChoiceBuffer& buffer) : buffer_(buffer) { buffer_.busy = true; }
        ~Use() { buffer_.busy = false; }
        Use(Use const&) = delete;
        Use& operator=(Use const&) = delete;

      private:
        ChoiceBuffer& buffer_;
    };

    std::vector<int> positions;
    bool busy = false;
};

// The optimiser numbers positions from 1 (its state 0 is the start row).
std::vector<int> const& toZeroBased(std::vector<int>& positions) {
    for (int& position : positions) {
        --position;
    }
    return positions;
}

}  // namespace

MasterOptimizer4Interpolation::MasterOptimizer4Interpolation(
    std::vector<std::pair<double, double>> const& minMaxData,
    boost::function<double(std::vector<double> const&)> evaluator)
    : minMaxData(minMaxData), evaluator(std::move(evaluator)) {}

MasterOptimizer4Interpolation::MasterOptimizer4Interpolation(MasterOptimizer4Interpolation const& other) =
    default;
MasterOptimizer4Interpolation::MasterOptimizer4Interpolation(MasterOptimizer4Interpolation&& other) noexcept =
    default;
MasterOptimizer4Interpolation& MasterOptimizer4Interpolation::operator=(
    MasterOptimizer4Interpolation const& other) = default;
MasterOptimizer4Interpolation& MasterOptimizer4Interpolation::operator=(
    MasterOptimizer4Interpolation&& other) noexcept = default;
MasterOptimizer4Interpolation::~MasterOptimizer4Interpolation() = default;

void MasterOptimizer4Interpolation::calculateOptimalMasterIndices(int numberOfMasters,
                                                                  std::vector<int>& result,
                                                                  std::vector<int> const* preGroups) const {
    int const n = static_cast<int>(minMaxData.size());
    if (numberOfMasters <= 0 || n == 0) {
        result.clear();
        return;
    }
    if (numberOfMasters == 1) {
        result.assign(1, preGroups == nullptr || preGroups->empty() ? 0 : preGroups->front());
        return;
    }
    if (n == 1) {
        result.assign(1, 0);
        return;
    }
    int const masterCount = std::min(numberOfMasters, n);
    if (preGroups != nullptr) {
        masters::checkMasterPreGroups(*preGroups, minMaxData.size(), masterCount);
    }
    if (searchPrecondition) {
        searchPrecondition();
    }

    std::vector<std::vector<double>> const matrix = masters::buildMasterTransitionMatrix(minMaxData.size());
    Optimiser::Objective const objective = [this](std::vector<int> const& choice) {
        return masterChoiceEvaluator(choice);
    };
    Optimiser optimiser(masterCount, matrix, objective, false);
    Optimiser::Parameters const parameters = common::segmentSearchParameters();
    result.clear();
    optimiser.setPreGroups(preGroups);
    optimiser.optimize(parameters, result, nullptr, 0);
    // The optimiser numbers positions from 1 (state 0 is its start row) and, with unordered selections,
    // hands them back ascending.
    for (int& index : result) {
        --index;
    }
}

std::shared_ptr<std::vector<double>> MasterOptimizer4Interpolation::interpolate(
    std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const {
    return getInterpolation(masterIndices, masterValues);
}

double MasterOptimizer4Interpolation::evaluateMasterChoice(std::vector<int> const& masterIndices) const {
    return geometryBasedEvaluation(masterIndices);
}

boost::function<double(std::vector<double> const&)> const& MasterOptimizer4Interpolation::getTheEvaluator()
    const {
    return evaluator;
}

void MasterOptimizer4Interpolation::setSearchPrecondition(boost::function<void()> check) {
    searchPrecondition = std::move(check);
}

double MasterOptimizer4Interpolation::masterChoiceEvaluator(std::vector<int> const& choice) const {
    // The optimiser scores thousands of choices per iteration on each thread: their 0-based positions go
    // into a buffer of the calling thread, reused from call to call, instead of a vector allocated per
    // call. A call made while the buffer is in use on this thread (an evaluation that itself runs a master
    // search) uses a vector of its own.
    thread_local ChoiceBuffer buffer;
    if (buffer.busy) {
        std::vector<int> positions(choice);
        return geometryBasedEvaluation(toZeroBased(positions));
    }
    ChoiceBuffer::Use const use(buffer);
    buffer.positions.assign(choice.begin(), choice.end());
    return geometryBasedEvaluation(toZeroBased(buffer.positions));
}

}  // namespace Kestrel
