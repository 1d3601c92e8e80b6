// Geometric score and interpolation of master choices on a drawbead toy model.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "LineGeometry.h"
#include "MasterInputChecks.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <utility>

namespace Kestrel {
namespace {

constexpr double kPi = 3.141592653589793;

// The evaluator of a full value vector: the model's penalty, bound to the model object itself.
boost::function<double(std::vector<double> const&)> penaltyOf(DrawbeadToyModel const* model) {
    return [model](std::vector<double> const& values) { return model->calculatePenaltyValue(values); };
}

DrawbeadToyModel const& checked(std::shared_ptr<DrawbeadToyModel const> const& model) {
    if (model == nullptr) {
        throw std::invalid_argument("MasterOptimizer4DrawbeadToyModel: model is null");
    }
    return *model;
}

}  // namespace

MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel(
    std::shared_ptr<DrawbeadToyModel const> model)
    : MasterOptimizer4Interpolation(checked(model).getMinMaxData(), penaltyOf(model.get())),
      model(model),
      geometry(std::make_shared<Geometry const>(std::move(model))) {
    setSearchPrecondition([line = geometry] { masters::checkSearchableLengths(line->segmentLengths()); });
}

MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel(
    MasterOptimizer4DrawbeadToyModel const& other) = default;
MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel(
    MasterOptimizer4DrawbeadToyModel&& other) noexcept = default;
MasterOptimizer4DrawbeadToyModel& MasterOptimizer4DrawbeadToyModel::operator=(
    MasterOptimizer4DrawbeadToyModel const& other) = default;
MasterOptimizer4DrawbeadToyModel& MasterOptimizer4DrawbeadToyModel::operator=(
    MasterOptimizer4DrawbeadToyModel&& other) noexcept = default;
MasterOptimizer4DrawbeadToyModel::~MasterOptimizer4DrawbeadToyModel() = default;

// The score is summed by the prepared geometry in one fixed order: reciprocal distances of consecutive
// masters, the wrap-around pair on a closed line, the zero-weighted length terms, then the uncovered length.
double MasterOptimizer4DrawbeadToyModel::geometryBasedEvaluation(
    std::vector<int> const& masterIndices) const {
    return geometry->score(masterIndices);
}

std::shared_ptr<std::vector<double>> MasterOptimizer4DrawbeadToyModel::getInterpolation(
    std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const {
    DrawbeadToyModel const& line = *model;
    int const n = static_cast<int>(line.getMinMaxData().size());
    std::size_t const m = masterIndices.size();
    bool const closed = line.isClosed();
    masters::checkInterpolationMasters(masterIndices, masterValues, static_cast<std::size_t>(n));

    auto result = std::make_shared<std::vector<double>>(n, std::numeric_limits<double>::quiet_NaN());
    std::vector<double>& value = *result;
    for (std::size_t k = 0; k < m; ++k) {
        value[masterIndices[k]] = masterValues[k];
    }

    // Walk the line keeping the previous master p and the next master q (-1: none).
    int previous = closed && m > 0 ? masterIndices[m - 1] : -1;
    int next = m > 0 ? masterIndices[0] : -1;
    std::size_t k = 0;
    for (int i = 0; i < n; ++i) {
        if (i == next) {
            previous = next;
            if (k + 1 < m) {
                ++k;
                next = masterIndices[k];
            } else if (closed) {
                next = masterIndices[0];
            } else {
                next = -1;
            }
        } else if (std::isnan(value[i])) {
            if (previous >= 0 && next >= 0) {
                double const d1 = line.fullDistance(previous, i);
                double const d2 = line.fullDistance(i, next);
                value[i] = (d1 * value[next] + d2 * value[previous]) / (d2 + d1);
            } else if (previous >= 0) {
                value[i] = value[previous];
            } else if (next >= 0) {
                value[i] = value[next];
            }
        }
    }

    enforceMinMaxData(value);
    for (double& v : value) {
        v = (1.0 - std::cos(kPi * v)) * 0.5;
    }
    return result;
}

void MasterOptimizer4DrawbeadToyModel::enforceMinMaxData(std::vector<double>& values) const {
    std::vector<std::pair<double, double>> const& bounds = model->getMinMaxData();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] < bounds[i].first) {
            values[i] = bounds[i].first;
        }
        if (values[i] > bounds[i].second) {
            values[i] = bounds[i].second;
        }
    }
}

void MasterOptimizer4DrawbeadToyModel::sanityCheck(std::vector<int> const& /*masterIndices*/,
                                                   std::vector<double> const& /*masterValues*/) const {}

}  // namespace Kestrel
