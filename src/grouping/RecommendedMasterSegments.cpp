// The recommended number of master segments of a line, from the jumps of the segment means, and its
// override through the environment variable KX_CONTROL_NUMBER_OF_LINE_DVS.
#include <Kestrel/Environment.h>
#include <Kestrel/SegmentGrouper.h>

#include "GroupingInputChecks.h"

#include <boost/lexical_cast.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

namespace Kestrel {

namespace {

char const* const kOverrideVariable = "KX_CONTROL_NUMBER_OF_LINE_DVS";

// Mean of the values of every segment. On a closed line whose first segment does not start at 0, the last
// segment also takes in the values before the first start (its tail values are summed first).
std::vector<double> segmentMeans(bool closed, std::vector<double> const& values,
                                 std::vector<int> const& starts) {
    std::size_t const segmentCount = starts.size();
    std::vector<double> means(segmentCount);
    for (std::size_t s = 0; s < segmentCount; ++s) {
        int const begin = starts[s];
        int const end = s + 1 < segmentCount ? starts[s + 1] : static_cast<int>(values.size());
        double sum = 0.0;
        int count = 0;
        for (int i = begin; i < end; ++i) {
            sum += values[static_cast<std::size_t>(i)];
            ++count;
        }
        if (closed && s + 1 == segmentCount && starts[0] > 0) {
            for (int i = 0; i < starts[0]; ++i) {
                sum += values[static_cast<std::size_t>(i)];
                ++count;
            }
        }
        means[s] = sum / static_cast<double>(count);
    }
    return means;
}

// The override level from the environment: the variable's int value, or 0 when it is unset or not an int.
int overrideValue() {
    std::string const text = Environment::getEnv(kOverrideVariable);
    if (text.empty()) {
        return 0;
    }
    try {
        return boost::lexical_cast<int>(text);
    } catch (boost::bad_lexical_cast const&) {
        return 0;
    }
}

// Levels 1 to 3: a count between the recommendation and the upper bound, nearer the bound the smaller the
// weighted magnitude of the values is.
int blendedCount(int level, int recommended, int upper, std::vector<double> const& values,
                 std::vector<double> const& weights) {
    if (weights.size() != values.size()) {
        return upper;
    }
    double weightSum = 0.0;
    for (double const weight : weights) {
        weightSum += weight;
    }
    if (weightSum == 0.0) {
        return upper;
    }
    double magnitude = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        magnitude += std::abs(values[i]) * weights[i];
    }
    int const exponent = level - 1;
    double const base = recommended >= 8 ? 1.0 : std::sqrt(static_cast<double>(recommended) * 0.125);
    double factor = 0.0;
    if (!(magnitude < 0.1)) {
        double const a = 1.0 / (1.0 + std::tanh(1.0));
        factor = (std::tanh(1.0 / magnitude - 1.0) * a + (1.0 - a)) *
                 std::pow(std::tanh(1.0 / magnitude), static_cast<double>(exponent));
    }
    double const p = std::min(1.0, std::max(base, factor));
    int count = static_cast<int>(
        std::ceil(static_cast<double>(upper) * (1.0 - p) + static_cast<double>(recommended) * p));
    if ((count - upper) % 2 != 0) {
        count += 1;
    }
    return std::max(recommended, std::min(upper, count));
}

}  // namespace

int SegmentGrouper::calculateRecommendedNumberOfMasterSegments(bool closed, std::vector<double> const& values,
                                                               std::vector<int> const& segmentStarts,
                                                               std::vector<double> const& weights) {
    int const segmentCount = static_cast<int>(segmentStarts.size());
    if (segmentCount < 4) {
        return std::min(segmentCount, 3);
    }
    grouping::checkSegmentStarts(segmentStarts, values.size());
    std::vector<double> const means = segmentMeans(closed, values, segmentStarts);
    double scaleSum = 0.0;
    for (double const mean : means) {
        scaleSum += std::abs(mean);
    }
    double const scale = scaleSum / static_cast<double>(segmentCount);

    std::vector<double> jumps;
    jumps.reserve(means.size());
    for (std::size_t s = 1; s < means.size(); ++s) {
        jumps.push_back(std::abs(means[s] - means[s - 1]));
    }
    if (closed) {
        jumps.push_back(std::abs(means[0] - means.back()));
    }

    // Threshold from the jumps around the middle; the index comes from the segment count, and the odd case
    // skips the middle jump. Where that index runs past the last jump (an open line of four segments), the
    // last jump is read.
    std::vector<double> sorted(jumps);
    std::sort(sorted.begin(), sorted.end());
    std::size_t const jumpCount = sorted.size();
    std::size_t const half = static_cast<std::size_t>(segmentCount / 2);
    double threshold = 0.0;
    if (jumpCount % 2 == 1) {
        threshold = (sorted[half - 1] + sorted[std::min(half + 1, jumpCount - 1)]) * 0.5 * 0.25;
    } else {
        threshold = (sorted[half - 1] + sorted[half]) * 0.5 * 0.25;
    }

    int bigJumps = 0;
    for (double const jump : jumps) {
        if (jump >= threshold) {
            ++bigJumps;
        }
    }

    // Small jumps across zero still count, weighted by how far from zero the means lie.
    double signChanges = 0.0;
    double const signScale = 0.333 * scale;
    if (signScale > 0.0) {
        for (int j = 0; j + 1 < segmentCount; ++j) {
            std::size_t const at = static_cast<std::size_t>(j);
            if (jumps[at] < threshold && means[at] * means[at + 1] < 0.0) {
                signChanges += std::tanh(std::max(std::abs(means[at]), means[at + 1]) / signScale);
            }
        }
        if (closed && jumps.back() < threshold && means.back() * means[0] < 0.0) {
            signChanges += std::tanh(std::max(std::abs(means.back()), means[0]) / signScale);
        }
    }

    int even = bigJumps + static_cast<int>(signChanges);
    if (even % 2 != 0) {
        even += 1;
    }
    int const recommended = std::min(even > 8 ? even / 2 : 4, segmentCount);

    int const level = std::min(overrideValue(), 4);
    if (level <= 0) {
        return recommended;
    }
    int const upper = std::min(std::max(even, 8), segmentCount);
    if (level == 4) {
        return upper;
    }
    return blendedCount(level, recommended, upper, values, weights);
}

}  // namespace Kestrel
