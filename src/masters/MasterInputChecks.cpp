#include "MasterInputChecks.h"

#include "MessageText.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace Kestrel::masters {

using common::entryText;
using common::numberText;

namespace {

void checkLengths(char const* name, std::vector<double> const& lengths) {
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        if (!std::isfinite(lengths[i]) || lengths[i] < 0.0) {
            throw std::invalid_argument("DrawbeadToyModel: " + entryText(name, i) + " is " +
                                        numberText(lengths[i]) +
                                        " (lengths must be finite and not negative)");
        }
    }
}

}  // namespace

void checkToyModelLine(std::vector<double> const& segmentLengths,
                       std::vector<std::pair<double, double>> const& minMaxData,
                       std::vector<double> const& transitionLengths) {
    if (minMaxData.size() != segmentLengths.size()) {
        throw std::invalid_argument("DrawbeadToyModel: minMaxData has " + std::to_string(minMaxData.size()) +
                                    " pairs but segmentLengths has " + std::to_string(segmentLengths.size()) +
                                    " entries (one of each per segment)");
    }
    checkLengths("segmentLengths", segmentLengths);
    checkLengths("transitionLengths", transitionLengths);
}

void checkSegmentIndex(char const* where, int index, std::size_t n) {
    if (index < 0 || static_cast<std::size_t>(index) >= n) {
        throw std::invalid_argument(std::string(where) + " = " + std::to_string(index) +
                                    " is not a segment (" + std::to_string(n) + " segments)");
    }
}

void checkMasterPreGroups(std::vector<int> const& preGroups, std::size_t n, int masters) {
    for (std::size_t k = 0; k < preGroups.size(); ++k) {
        int const boundary = preGroups[k];
        if (boundary < 0 || static_cast<std::size_t>(boundary) > n) {
            throw std::invalid_argument("calculateOptimalMasterIndices: " + entryText("preGroups", k) +
                                        " = " + std::to_string(boundary) + " lies outside 0 ... " +
                                        std::to_string(n));
        }
        if (k > 0 && !(preGroups[k - 1] < boundary)) {
            throw std::invalid_argument(
                "calculateOptimalMasterIndices: " + entryText("preGroups", k) + " = " +
                std::to_string(boundary) + " does not exceed " + entryText("preGroups", k - 1) + " = " +
                std::to_string(preGroups[k - 1]) + " (group starts must be strictly ascending)");
        }
    }
    if (preGroups.empty()) {
        return;
    }
    bool const ungrouped = preGroups.front() > 0 || static_cast<std::size_t>(preGroups.back()) < n;
    std::size_t const groups = preGroups.size() - 1 + (ungrouped ? 1 : 0);
    if (static_cast<std::size_t>(masters) > groups) {
        throw std::invalid_argument("calculateOptimalMasterIndices: preGroups leave " +
                                    std::to_string(groups) + " groups for " + std::to_string(masters) +
                                    " masters (at most one master per group)");
    }
}

void checkInterpolationMasters(std::vector<int> const& masterIndices, std::vector<double> const& masterValues,
                               std::size_t n) {
    if (masterValues.size() < masterIndices.size()) {
        throw std::invalid_argument("interpolate: masterValues has " + std::to_string(masterValues.size()) +
                                    " entries for " + std::to_string(masterIndices.size()) + " masters");
    }
    for (std::size_t k = 0; k < masterIndices.size(); ++k) {
        int const index = masterIndices[k];
        if (index < 0 || static_cast<std::size_t>(index) >= n) {
            throw std::invalid_argument("interpolate: " + entryText("masterIndices", k) + " = " +
                                        std::to_string(index) + " is not a segment (" + std::to_string(n) +
                                        " segments)");
        }
        if (k > 0 && !(masterIndices[k - 1] < index)) {
            throw std::invalid_argument("interpolate: " + entryText("masterIndices", k) + " = " +
                                        std::to_string(index) + " does not exceed " +
                                        entryText("masterIndices", k - 1) + " = " +
                                        std::to_string(masterIndices[k - 1]) +
                                        " (masters must be strictly ascending along the line)");
        }
    }
}

void checkSearchableLengths(std::vector<double> const& lengths) {
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        if (!(lengths[i] > 0.0)) {
            throw std::invalid_argument("calculateOptimalMasterIndices: segment " + std::to_string(i) +
                                        " has length " + numberText(lengths[i]) +
                                        "; a master there scores NaN, so no choice can be ranked");
        }
    }
}

}  // namespace Kestrel::masters
