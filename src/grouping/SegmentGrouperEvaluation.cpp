// The grouper's objective (the dispersion of the values inside the groups of a grouping) and the test of
// whether a grouping is admissible.
//
// The objective is called once per sampled grouping by the optimiser, concurrently from several threads.
// Every group is measured in place, without allocation: a wrapped group (one that runs past the line's end
// back to its start) is read as the tail values followed by the head values, in exactly the order and with
// exactly the arithmetic of the statistics calculator on the gathered values, so the results are the same
// bit for bit.
#include <Kestrel/SegmentGrouper.h>
#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>

namespace Kestrel {

namespace {

// The values of one group as up to two contiguous runs: [first, firstEnd) then [second, secondEnd).
struct GroupRuns {
    double const* first;
    double const* firstEnd;
    double const* second;
    double const* secondEnd;
    int count;
};

// A group whose end is not above its start wraps: start ... n-1, then 0 ... end-1.
GroupRuns groupRuns(std::vector<double> const& values, int start, int end) {
    double const* const data = values.data();
    if (end > start) {
        return {data + start, data + end, data, data, end - start};
    }
    int const n = static_cast<int>(values.size());
    return {data + start, data + n, data, data + end, n - start + end};
}

// The calculator's population variance (two passes, sums in reading order) over the group's runs.
double populationVariance(GroupRuns const& runs) {
    double sum = 0.0;
    for (double const* value = runs.first; value != runs.firstEnd; ++value) {
        sum += *value;
    }
    for (double const* value = runs.second; value != runs.secondEnd; ++value) {
        sum += *value;
    }
    double const count = static_cast<double>(runs.count);
    double const mean = sum / count;
    double squares = 0.0;
    for (double const* value = runs.first; value != runs.firstEnd; ++value) {
        double const deviation = *value - mean;
        squares += deviation * deviation;
    }
    for (double const* value = runs.second; value != runs.secondEnd; ++value) {
        double const deviation = *value - mean;
        squares += deviation * deviation;
    }
    return squares / count;
}

// Largest minus smallest value, each the first extreme in reading order (as std::max_element and
// std::min_element pick them).
double valueRange(GroupRuns const& runs) {
    double smallest = *runs.first;
    double largest = *runs.first;
    auto visit = [&smallest, &largest](double const* value, double const* end) {
        for (; value != end; ++value) {
            if (*value < smallest) {
                smallest = *value;
            }
            if (largest < *value) {
                largest = *value;
            }
        }
    };
    visit(runs.first + 1, runs.firstEnd);
    visit(runs.second, runs.secondEnd);
    return largest - smallest;
}

// A wrapped group without values (start indices out of range) goes to the calculator, which reports it.
Tessel::StatisticalCalculator loadWrappedGroup(std::vector<double> const& values, int start, int end) {
    int const n = static_cast<int>(values.size());
    std::vector<double> gathered(values.begin() + start, values.end());
    gathered.insert(gathered.end(), values.begin(), values.begin() + end);
    Tessel::StatisticalCalculator calculator(n - start + end);
    calculator.loadDataSet(gathered);
    return calculator;
}

// End of group k: the next start; for the last group the first start on a closed line, n on an open one.
int groupEnd(std::vector<int> const& starts, std::size_t k, bool closedLine, int n) {
    std::size_t const next = (k + 1) % starts.size();
    if (next == 0 && !closedLine) {
        return n;
    }
    return starts[next];
}

// Largest fraction of the total length that the largest of G groups may cover, for G = 2 ... 7; other
// numbers of groups have no such limit.
bool hasLargestGroupLimit(std::size_t groupCount) {
    return groupCount >= 2 && groupCount <= 7;
}

double largestGroupShareLimit(std::size_t groupCount) {
    static double const limits[] = {0.8, 0.6, 0.52, 0.46, 0.4, 0.35};
    return limits[groupCount - 2];
}

}  // namespace

double SegmentGrouper::evaluate(std::vector<int> const& grouping) const {
    // The 0-based copy lives in a buffer kept by each calling thread, so that after the first call of a
    // thread the copy allocates nothing.
    thread_local std::vector<int> starts;
    starts.assign(grouping.begin(), grouping.end());
    for (int& start : starts) {
        start -= 1;
    }
    switch (dispersionMeasure) {
        case MinMax:
            return evaluateMinMax(starts);
        case Variance:
            return evaluateVariance(starts);
    }
    throw std::logic_error("Missing implementation");
}

double SegmentGrouper::evaluateMinMax(std::vector<int> const& starts) const {
    double result = std::numeric_limits<double>::lowest();
    int const n = getNumOfSegments();
    for (std::size_t k = 0; k < starts.size(); ++k) {
        double const dispersion = calculateGroupDispersionMinMax(starts[k], groupEnd(starts, k, closed, n));
        if (result < dispersion) {
            result = dispersion;
        }
    }
    return result;
}

double SegmentGrouper::evaluateVariance(std::vector<int> const& starts) const {
    double sum = 0.0;
    int const n = getNumOfSegments();
    for (std::size_t k = 0; k < starts.size(); ++k) {
        int const start = starts[k];
        int const end = groupEnd(starts, k, closed, n);
        // A single group on a closed line starts and ends at the same index: it counts 0 segments here,
        // although its dispersion is measured over the whole line.
        int const count = end >= start ? end - start : n - start + end;
        sum += static_cast<double>(count) * calculateGroupDispersionVariance(start, end);
    }
    return sum / static_cast<double>(n);
}

double SegmentGrouper::calculateGroupDispersionMinMax(int start, int end) const {
    GroupRuns const runs = groupRuns(values, start, end);
    if (runs.count <= 0 || runs.first == runs.firstEnd) {
        Tessel::StatisticalCalculator const calculator = loadWrappedGroup(values, start, end);
        return calculator.getMaximum() - calculator.getMinimum();
    }
    return valueRange(runs);
}

double SegmentGrouper::calculateGroupDispersionVariance(int start, int end) const {
    GroupRuns const runs = groupRuns(values, start, end);
    if (runs.count <= 0) {
        return loadWrappedGroup(values, start, end).getVariance(0);
    }
    return populationVariance(runs);
}

bool SegmentGrouper::isAcceptableGrouping(std::vector<int> const& starts) const {
    double totalLength = 0.0;
    for (double const length : lengths) {
        totalLength += length;
    }
    if (totalLength == 0.0) {
        return false;
    }
    int const n = getNumOfSegments();
    std::size_t const groupCount = starts.size();
    std::vector<double> groupLengths(groupCount, 0.0);
    int totalCount = 0;
    int largestCount = 0;
    for (std::size_t k = 0; k < groupCount; ++k) {
        // The last group always runs round to the first start, whether the line is closed or not.
        int const start = starts[k];
        int const end = k + 1 < groupCount ? starts[k + 1] : n + starts[0];
        for (int i = start; i < end; ++i) {
            groupLengths[k] += lengths[static_cast<std::size_t>(i % n)];
        }
        totalCount += end - start;
        largestCount = std::max(largestCount, end - start);
    }
    double largestLength = groupLengths.empty() ? 0.0 : groupLengths[0];
    for (double const groupLength : groupLengths) {
        if (largestLength < groupLength) {
            largestLength = groupLength;
        }
    }
    // Only groups of three segments or more on average are held to the half-of-the-line rules.
    if (3 * static_cast<int>(groupCount) <= totalCount) {
        if (2 * largestCount > totalCount) {
            return false;
        }
        if (2.0 * largestLength > totalLength) {
            return false;
        }
    }
    if (hasLargestGroupLimit(groupCount) &&
        largestLength > totalLength * largestGroupShareLimit(groupCount)) {
        return false;
    }
    return true;
}

}  // namespace Kestrel
