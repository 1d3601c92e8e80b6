// Geometric score and interpolation of master choices on a drawbead toy model.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace Kestrel {
namespace {

constexpr double kPi = 3.141592653589793;

// The evaluator of a full value vector: the model's penalty, bound to the model object itself.
boost::function<double(std::vector<double> const&)> penaltyOf(DrawbeadToyModel const* model) {
    return [model](std::vector<double> const& values) { return model->calculatePenaltyValue(values); };
}

DrawbeadToyModel const& checked(std::shared_ptr<DrawbeadToyModel const> const& model) {
    assert(model != nullptr);
    return *model;
}

}  // namespace

MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel(
    std::shared_ptr<DrawbeadToyModel const> model)
    : MasterOptimizer4Interpolation(checked(model).getMinMaxData(), penaltyOf(model.get())),
      model(std::move(model)) {}

MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel(
    MasterOptimizer4DrawbeadToyModel const& other) = default;
MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel(
    MasterOptimizer4DrawbeadToyModel&& other) noexcept = default;
MasterOptimizer4DrawbeadToyModel& MasterOptimizer4DrawbeadToyModel::operator=(
    MasterOptimizer4DrawbeadToyModel const& other) = default;
MasterOptimizer4DrawbeadToyModel& MasterOptimizer4DrawbeadToyModel::operator=(
    MasterOptimizer4DrawbeadToyModel&& other) noexcept = default;
MasterOptimizer4DrawbeadToyModel::~MasterOptimizer4DrawbeadToyModel() = default;

double MasterOptimizer4DrawbeadToyModel::geometryBasedEvaluation(
    std::vector<int> const& masterIndices) const {
    DrawbeadToyModel const& line = *model;
    std::size_t const n = line.getMinMaxData().size();
    std::size_t const m = masterIndices.size();

    double totalLength = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        totalLength += line.getSegmentLength(static_cast<int>(i));
    }

    double score = 0.0;
    for (std::size_t k = 1; k < m; ++k) {
        score += 1.0 / line.fullDistance(masterIndices[k - 1], masterIndices[k]);
    }
    if (line.isClosed() && m > 0) {
        score += 1.0 / line.fullDistance(masterIndices[m - 1], masterIndices[0]);
    }
    // The zero-weighted term leaves the score unchanged for any non-zero length and makes it NaN for a
    // master of length zero, which marks such a choice as unusable.
    double masterLength = 0.0;
    for (int const master : masterIndices) {
        double const length = line.getSegmentLength(master);
        score += 0.0 / (static_cast<double>(n) * length);
        masterLength += length;
    }

    double const weight = line.isClosed() ? static_cast<double>(m) : static_cast<double>(m) - 0.5;
    return ((totalLength - masterLength) * (weight * 0.125)) / (totalLength * totalLength) + score;
}

std::shared_ptr<std::vector<double>> MasterOptimizer4DrawbeadToyModel::getInterpolation(
    std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const {
    DrawbeadToyModel const& line = *model;
    int const n = static_cast<int>(line.getMinMaxData().size());
    std::size_t const m = masterIndices.size();
    bool const closed = line.isClosed();

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
