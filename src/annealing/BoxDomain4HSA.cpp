// An axis-aligned box whose walls reflect the velocity.
#include <Kestrel/ReadyComponents4HSA.h>

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

Box4HSA checkedBox(Box4HSA box) {
    if (box.empty()) {
        throw std::invalid_argument("BoxDomain4HSA: the box has no coordinates");
    }
    for (std::pair<double, double> const& bounds : box) {
        if (!std::isfinite(bounds.first) || !std::isfinite(bounds.second) || bounds.first > bounds.second) {
            throw std::invalid_argument("BoxDomain4HSA: every bound pair must be finite with lower <= upper");
        }
    }
    return box;
}

std::vector<double> centreOf(Box4HSA const& box) {
    std::vector<double> centre(box.size());
    for (std::size_t i = 0; i < box.size(); ++i) {
        centre[i] = 0.5 * (box[i].first + box[i].second);
    }
    return centre;
}

}  // namespace

BoxDomain4HSA::BoxDomain4HSA(Box4HSA box)
    : box_(checkedBox(std::move(box))), initialPosition_(centreOf(box_)) {}

BoxDomain4HSA::BoxDomain4HSA(Box4HSA box, std::vector<double> initialPosition)
    : box_(checkedBox(std::move(box))), initialPosition_(std::move(initialPosition)) {
    if (initialPosition_.size() != box_.size()) {
        throw std::invalid_argument("BoxDomain4HSA: the initial position has another length than the box");
    }
    for (std::size_t i = 0; i < box_.size(); ++i) {
        if (!(initialPosition_[i] >= box_[i].first && initialPosition_[i] <= box_[i].second)) {
            throw std::invalid_argument("BoxDomain4HSA: the initial position lies outside the box");
        }
    }
}

void BoxDomain4HSA::proposeInitialPositionPrivate(std::vector<double>& position) const {
    position = initialPosition_;
}

double BoxDomain4HSA::crossingOf(std::size_t i, double start, double end) const {
    double wall = 0.0;
    if (end > box_[i].second && end > start) {
        wall = box_[i].second;
    } else if (end < box_[i].first && end < start) {
        wall = box_[i].first;
    } else {
        return -1.0;
    }
    return std::fmax(0.0, (wall - start) / (end - start));
}

bool BoxDomain4HSA::calculateCollisionPrivate(std::vector<double> const& start,
                                              std::vector<double> const& end, std::vector<double>& velocity,
                                              double& fraction) const {
    if (start.size() != box_.size() || end.size() != box_.size() || velocity.size() != box_.size()) {
        throw std::invalid_argument("BoxDomain4HSA::calculateCollision: start, end and velocity have " +
                                    std::to_string(start.size()) + ", " + std::to_string(end.size()) +
                                    " and " + std::to_string(velocity.size()) + " entries for a box of " +
                                    std::to_string(box_.size()) + " coordinates");
    }
    double first = 2.0;  // above every crossing: no wall crossed yet
    for (std::size_t i = 0; i < box_.size(); ++i) {
        double const t = crossingOf(i, start[i], end[i]);
        if (t >= 0.0 && t < first) {
            first = t;
        }
    }
    if (first > 1.0) {
        return false;
    }
    for (std::size_t i = 0; i < box_.size(); ++i) {
        if (crossingOf(i, start[i], end[i]) == first) {
            velocity[i] = -velocity[i];
        }
    }
    fraction = first;
    return true;
}

int BoxDomain4HSA::getDimensionalityPrivate() const {
    return static_cast<int>(box_.size());
}

}  // namespace Kestrel
