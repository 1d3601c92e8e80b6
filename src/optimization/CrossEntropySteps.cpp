#include "CrossEntropySteps.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Kestrel::optimization {

int rowPerplexity(std::vector<double> const& row) {
    double entropy = 0.0;
    for (double const p : row) {
        if (p > 0.0) {
            entropy += p * std::log(1.0 / p);
        }
    }
    double const perplexity = std::exp(entropy);
    // Keeps the conversion defined for rows of huge unnormalised weights.
    if (!(perplexity < static_cast<double>(std::numeric_limits<int>::max()))) {
        return perplexity >= 1.0 ? std::numeric_limits<int>::max() : 1;
    }
    return std::max(1, static_cast<int>(perplexity));
}

std::int64_t entropyCount(std::vector<std::vector<double>> const& matrix) {
    std::int64_t count = 0;
    for (std::vector<double> const& row : matrix) {
        count += rowPerplexity(row);
    }
    return count;
}

namespace {

// Truncation of a double towards zero into an int, saturated at the int range (NaN gives 0).
int truncateToInt(double value) {
    if (!(value == value)) {
        return 0;
    }
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

}  // namespace

Population populationSize(double sampleFactor, int basePopulation, bool staticPopulation, int rows,
                          std::int64_t entropy) {
    int const base = truncateToInt(sampleFactor * static_cast<double>(basePopulation));
    int const entropySize = truncateToInt(static_cast<double>(entropy) * sampleFactor);
    if (base != 0) {
        if (static_cast<double>(entropySize) > 1.25 * static_cast<double>(base)) {
            return {base, true};
        }
        return {std::max(base, entropySize), false};
    }
    if (staticPopulation) {
        double const n = static_cast<double>(rows);
        return {truncateToInt(n * sampleFactor * (n - 1.0)), false};
    }
    return {entropySize, false};
}

bool stalled(std::vector<double> const& history, int stallIterations) {
    if (stallIterations <= 1) {
        return static_cast<long long>(history.size()) >= stallIterations;
    }
    std::size_t const required = static_cast<std::size_t>(stallIterations);
    if (history.size() < required) {
        return false;
    }
    double const last = history.back();
    std::size_t const end = history.size() - 1;
    for (std::size_t back = 1; back < required; ++back) {
        if (!(history[end - back] == last)) {
            return false;
        }
    }
    return true;
}

std::size_t firstSmallest(std::vector<double> const& values) {
    std::size_t best = 0;
    double smallest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] < smallest) {
            smallest = values[i];
            best = i;
        }
    }
    return best;
}

std::vector<std::vector<int>> buildExclusionLists(std::vector<int> const& boundaries, int rows) {
    if (boundaries.empty()) {
        return {};
    }
    std::vector<int> nodeBoundaries(boundaries);
    for (int& boundary : nodeBoundaries) {
        boundary += 1;
    }
    int const firstGrouped = nodeBoundaries.front();
    int const pastGrouped = nodeBoundaries.back();
    std::vector<std::vector<int>> lists(static_cast<std::size_t>(std::max(rows, 0)));
    for (int node = 1; node < rows; ++node) {
        std::vector<int>& list = lists[static_cast<std::size_t>(node)];
        if (node < firstGrouped || node >= pastGrouped) {
            for (int other = 1; other < firstGrouped; ++other) {
                list.push_back(other);
            }
            for (int other = pastGrouped; other < rows; ++other) {
                list.push_back(other);
            }
        } else {
            std::size_t g = 0;
            while (!(nodeBoundaries[g] <= node && node < nodeBoundaries[g + 1])) {
                ++g;
            }
            for (int other = nodeBoundaries[g]; other < nodeBoundaries[g + 1]; ++other) {
                list.push_back(other);
            }
        }
    }
    return lists;
}

void EliteTransitionCounts::reset(int rows) {
    rows_ = static_cast<std::size_t>(std::max(rows, 0));
    counts_.assign(rows_ * rows_, 0);
}

void EliteTransitionCounts::addSelection(std::vector<int> const& selection) {
    addSelection(selection.data(), selection.size());
}

void EliteTransitionCounts::addSelection(int const* nodes, std::size_t length) {
    std::size_t from = 0;
    for (int const* node = nodes; node != nodes + length; ++node) {
        int const item = *node;
        std::size_t const to = static_cast<std::size_t>(item);
        if (item >= 0 && from < rows_ && to < rows_) {
            ++counts_[from * rows_ + to];
        }
        from = item >= 0 ? to : rows_;
    }
}

void EliteTransitionCounts::updateMatrix(std::vector<std::vector<double>>& matrix, double smoothing) const {
    if (rows_ <= 1) {
        return;
    }
    for (std::size_t i = 0; i < rows_; ++i) {
        std::uint64_t const* const counts = counts_.data() + i * rows_;
        std::uint64_t total = 0;
        for (std::size_t j = 1; j < rows_; ++j) {
            total += counts[j];
        }
        std::vector<double>& row = matrix[i];
        for (std::size_t j = 1; j < rows_ && j - 1 < row.size(); ++j) {
            double const frequency =
                counts[j] != 0 ? static_cast<double>(counts[j]) / static_cast<double>(total) : 0.0;
            row[j - 1] = (1.0 - smoothing) * row[j - 1] + smoothing * frequency;
        }
    }
}

}  // namespace Kestrel::optimization
