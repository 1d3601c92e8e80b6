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
    std::vector<int> positions(choice);
    for (int& position : positions) {
        --position;
    }
    return geometryBasedEvaluation(positions);
}

}  // namespace Kestrel
