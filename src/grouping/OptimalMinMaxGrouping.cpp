// The best grouping for the largest group range.
//
// The optimum for k groups is the smallest group range r such that the line can be cut into at most k
// groups whose ranges are all at most r (a group can always be split without widening any range, so at
// most k groups means exactly k as long as k <= n). Whether a range r allows k groups is a greedy walk:
// from each start, the next start is as far as the range allows. The optimum is found by binary search over
// the sorted ranges of all groups; the lexicographically smallest starts are then read forwards, each the
// smallest next start from which the rest of the line still needs few enough groups.
#include "OptimalGroupingSearch.h"

#include "ParallelFor.h"

#include <algorithm>
#include <cstddef>

namespace Kestrel {

namespace {

// Lines shorter than this are searched on the calling thread alone: the whole search takes well under a
// millisecond, less than waking a team of threads (on a busy machine, far less).
constexpr int kParallelLines = 64;

// Largest minus smallest value of every group (wrapping past the line's end on a closed line), by start
// and count. For a given start the range never shrinks as the group grows.
class GroupRanges {
  public:
    GroupRanges(std::vector<double> const& values, bool closed)
        : n(static_cast<int>(values.size())),
          ranges(static_cast<std::size_t>(n) * static_cast<std::size_t>(n)) {
        common::forEachIndex(common::threadsFor(n >= kParallelLines), n, [&](std::ptrdiff_t start, int) {
            int const longest = closed ? n : n - static_cast<int>(start);
            double* const row = &ranges[static_cast<std::size_t>(start) * static_cast<std::size_t>(n)];
            double smallest = values[static_cast<std::size_t>(start)];
            double largest = smallest;
            for (int count = 1; count <= longest; ++count) {
                double const value = values[static_cast<std::size_t>((start + count - 1) % n)];
                smallest = std::min(smallest, value);
                largest = std::max(largest, value);
                row[count - 1] = largest - smallest;
            }
        });
    }

    // Every group range, sorted ascending, without repetitions.
    std::vector<double> sortedDistinct(bool closed) const {
        std::vector<double> all;
        for (int start = 0; start < n; ++start) {
            int const longest = closed ? n : n - start;
            all.insert(all.end(), row(start), row(start) + longest);
        }
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

    // The largest count of segments from `start` whose range stays within `limit`, at most `longest`.
    int reach(int start, int longest, double limit) const {
        double const* const first = row(start);
        return static_cast<int>(std::upper_bound(first, first + longest, limit) - first);
    }

  private:
    double const* row(int start) const {
        return &ranges[static_cast<std::size_t>(start) * static_cast<std::size_t>(n)];
    }

    int n;
    std::vector<double> ranges;  // row `start`, column count - 1
};

// The segments from `first` (on a closed line: round the whole line from `first`, on an open one up to n)
// cut greedily into groups of range at most `limit`; returns how many groups that takes, stopping early
// once it exceeds `enough`.
int greedyGroups(GroupRanges const& ranges, int n, bool closed, int first, double limit, int enough) {
    int covered = 0;
    int const total = closed ? n : n - first;
    int groups = 0;
    while (covered < total && groups <= enough) {
        covered += ranges.reach((first + covered) % n, total - covered, limit);
        ++groups;
    }
    return groups;
}

// The smallest number of groups of range at most `limit` that cover the line. On a closed line some
// optimal cover cuts the line within the first greedy group from segment 0, so only those first starts
// are tried.
int fewestGroups(GroupRanges const& ranges, int n, bool closed, double limit, int enough) {
    int fewest = greedyGroups(ranges, n, closed, 0, limit, enough);
    if (closed) {
        int const firstReach = ranges.reach(0, n, limit);
        for (int first = 1; first <= std::min(firstReach, n - 1); ++first) {
            fewest = std::min(fewest, greedyGroups(ranges, n, closed, first, limit, enough));
        }
    }
    return fewest;
}

// The lexicographically smallest starts of exactly k groups of range at most `limit`, all starts in
// firstStart ... n - 1 and the last group running to the end of the line (n, or firstStart + n round a
// closed line).
std::vector<int> readStarts(GroupRanges const& ranges, int n, bool closed, int k, int firstStart,
                            double limit) {
    int const length = closed ? n : n - firstStart;
    // needed[r]: fewest groups covering the line from offset r (from firstStart) to its end.
    std::vector<int> needed(static_cast<std::size_t>(length) + 1, 0);
    for (int r = length - 1; r >= 0; --r) {
        int const step = ranges.reach((firstStart + r) % n, length - r, limit);
        needed[static_cast<std::size_t>(r)] = 1 + needed[static_cast<std::size_t>(r + step)];
    }
    std::vector<int> starts{firstStart};
    int r = 0;
    for (int g = k; g >= 2; --g) {
        int const farthest = r + ranges.reach((firstStart + r) % n, length - r, limit);
        int next = r + 1;
        while (next < farthest && needed[static_cast<std::size_t>(next)] > g - 1) {
            ++next;
        }
        r = next;
        starts.push_back(firstStart + r);
    }
    return starts;
}

}  // namespace

std::vector<std::vector<int>> optimalMinMaxStarts(std::vector<double> const& values, bool closed, int first,
                                                  int lastCount) {
    int const n = static_cast<int>(values.size());
    std::vector<std::vector<int>> result(static_cast<std::size_t>(lastCount) + 1);
    GroupRanges const ranges(values, closed);
    std::vector<double> const candidates = ranges.sortedDistinct(closed);
    // The optimum never grows with k: each search is bounded by the previous one.
    std::size_t upper = candidates.size() - 1;
    for (int k = first; k <= lastCount; ++k) {
        std::size_t lower = 0;
        std::size_t high = upper;
        while (lower < high) {
            std::size_t const middle = lower + (high - lower) / 2;
            if (fewestGroups(ranges, n, closed, candidates[middle], k) <= k) {
                high = middle;
            } else {
                lower = middle + 1;
            }
        }
        upper = lower;
        double const limit = candidates[lower];
        int firstStart = 0;
        if (closed) {
            while (greedyGroups(ranges, n, true, firstStart, limit, k) > k) {
                ++firstStart;
            }
        }
        result[static_cast<std::size_t>(k)] = readStarts(ranges, n, closed, k, firstStart, limit);
    }
    return result;
}

}  // namespace Kestrel
