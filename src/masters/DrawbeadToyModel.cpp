// Geometry of the drawbead toy model: transition lengths, distances along the line and the penalty of a
// value vector. Every sum runs sequentially in line order, starting from 0.0.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "LineGeometry.h"
#include "MasterInputChecks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Kestrel {
namespace {

// Transition from each segment to the next: the shorter of the two. A closed line also has the transition
// from the last segment back to the first; a single closed segment meets itself.
std::vector<double> deriveTransitionLengths(std::vector<double> const& lengths, bool closed) {
    std::size_t const n = lengths.size();
    if (n >= 2) {
        std::size_t const count = closed ? n : n - 1;
        std::vector<double> transitions(count);
        for (std::size_t i = 0; i < count; ++i) {
            transitions[i] = std::min(lengths[i], lengths[(i + 1) % n]);
        }
        return transitions;
    }
    if (n == 1 && closed) {
        return {lengths[0]};
    }
    return {};
}

}  // namespace

DrawbeadToyModel::DrawbeadToyModel(std::vector<double> const& segmentLengths,
                                   std::vector<std::pair<double, double>> const& minMaxData, bool closed,
                                   std::vector<double> const* transitionLengths)
    : segmentLengths(segmentLengths),
      minMaxData(minMaxData),
      transitionLengths(transitionLengths != nullptr ? *transitionLengths
                                                     : deriveTransitionLengths(segmentLengths, closed)),
      closed(closed) {
    masters::checkToyModelLine(this->segmentLengths, this->minMaxData, this->transitionLengths);
}

double DrawbeadToyModel::getSegmentLength(int i) const {
    masters::checkSegmentIndex("DrawbeadToyModel::getSegmentLength: i", i, segmentLengths.size());
    return segmentLengths[i];
}

std::vector<std::pair<double, double>> const& DrawbeadToyModel::getMinMaxData() const {
    return minMaxData;
}

bool DrawbeadToyModel::isClosed() const {
    return closed;
}

std::vector<double> const& DrawbeadToyModel::getTransitionLengths() const {
    return transitionLengths;
}

double DrawbeadToyModel::distance(int from, int to) const {
    masters::checkSegmentIndex("DrawbeadToyModel::distance: from", from, segmentLengths.size());
    masters::checkSegmentIndex("DrawbeadToyModel::distance: to", to, segmentLengths.size());
    int const n = static_cast<int>(segmentLengths.size());
    double sum = 0.0;
    if (from <= to) {
        for (int k = from + 1; k < to; ++k) {
            sum += segmentLengths[k];
        }
        return sum;
    }
    for (int k = from + 1; k < n; ++k) {
        sum += segmentLengths[k];
    }
    for (int k = 0; k < to; ++k) {
        sum += segmentLengths[k];
    }
    return sum;
}

double DrawbeadToyModel::fullDistance(int from, int to) const {
    masters::checkSegmentIndex("DrawbeadToyModel::fullDistance: from", from, segmentLengths.size());
    masters::checkSegmentIndex("DrawbeadToyModel::fullDistance: to", to, segmentLengths.size());
    int const n = static_cast<int>(segmentLengths.size());
    double sum = 0.5 * segmentLengths[from];
    sum += transitionAfter(transitionLengths, from);
    auto const addSegment = [&](int k) {
        sum += segmentLengths[k];
        sum += transitionAfter(transitionLengths, k);
    };
    if (from <= to) {
        for (int k = from + 1; k < to; ++k) {
            addSegment(k);
        }
    } else {
        for (int k = from + 1; k < n; ++k) {
            addSegment(k);
        }
        for (int k = 0; k < to; ++k) {
            addSegment(k);
        }
    }
    sum += 0.5 * segmentLengths[to];
    return sum;
}

namespace {

// One neighbour term of the penalty: (d / w)^2 * w, with w the middle-to-middle distance.
double gradientEnergy(double leftLength, double rightLength, double transition, double leftValue,
                      double rightValue) {
    double const w = (leftLength + rightLength) * 0.5 + transition;
    double const d = std::abs(rightValue - leftValue);
    double const r = d / w;
    return (r * r) * w;
}

}  // namespace

double DrawbeadToyModel::calculatePenaltyValue(std::vector<double> const& values) const {
    std::size_t const n = segmentLengths.size();
    if (values.size() < n) {
        throw std::invalid_argument("DrawbeadToyModel::calculatePenaltyValue: values has " +
                                    std::to_string(values.size()) + " entries for " + std::to_string(n) +
                                    " segments");
    }
    double penalty = 0.0;
    for (std::size_t i = 1; i < n; ++i) {
        penalty += gradientEnergy(segmentLengths[i - 1], segmentLengths[i],
                                  transitionAfter(transitionLengths, i - 1), values[i - 1], values[i]);
    }
    if (closed && n > 0) {
        double const closing = transitionLengths.empty() ? 0.0 : transitionLengths.back();
        penalty +=
            gradientEnergy(segmentLengths[n - 1], segmentLengths[0], closing, values[n - 1], values[0]);
    }
    return penalty;
}

}  // namespace Kestrel
