// The best grouping for the segment-weighted variance, by dynamic programming over the group starts.
//
// A grouping's objective is (sum over groups, in start order, of count * population variance) / n, so it
// decomposes into one term per group. Every term is tabulated once, with the objective's own arithmetic.
// For a first start s0 (always 0 on an open line; every segment on a closed one), best[g][p] is the
// smallest sum of g group terms covering the segments from start p to the end of the line (n on an open
// line, back round to s0 on a closed one) with all starts in p ... n - 1. The grouping is then read
// forwards, taking at every step the smallest next start whose best completion stays within the near-tie
// tolerance of the optimum.
#include "OptimalGroupingSearch.h"

#include "ParallelFor.h"
#include "SmallestSum.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace Kestrel {

namespace {

// Sums of group terms that differ by less than this share of the optimum are rounding, not substance:
// such groupings count as equal and the lexicographically smallest starts win.
constexpr double kNearTie = 1e-13;

// Lines shorter than this are searched on the calling thread alone: the whole search takes well under a
// millisecond, less than waking a team of threads (on a busy machine, far less).
constexpr int kParallelLines = 64;

// Below this many segments a table layer is too little work to share out: a parallel region per layer
// would cost more (and much more on a busy machine) than it saves.
constexpr int kParallelLayers = 300;

// count * population variance of every group: the values from `start` on, `count` of them (wrapping past
// the line's end on a closed line), summed in reading order in two passes exactly as the objective does.
class GroupTerms {
  public:
    GroupTerms(std::vector<double> const& values, bool closed)
        : n(static_cast<int>(values.size())),
          terms(static_cast<std::size_t>(n) * static_cast<std::size_t>(n)) {
        std::vector<double> line(values);
        line.insert(line.end(), values.begin(), values.end());
        common::forEachIndex(common::threadsFor(n >= kParallelLines), n, [&](std::ptrdiff_t start, int) {
            int const longest = closed ? n : n - static_cast<int>(start);
            double const* const first = line.data() + start;
            double* const row = &terms[static_cast<std::size_t>(start) * static_cast<std::size_t>(n)];
            // The means of all groups from `start` come from one running sum; the squared deviations of
            // four neighbouring counts are summed side by side (each in its own reading order).
            std::vector<double> mean(static_cast<std::size_t>(longest));
            double sum = 0.0;
            for (int count = 1; count <= longest; ++count) {
                sum += first[count - 1];
                mean[static_cast<std::size_t>(count) - 1] = sum / static_cast<double>(count);
            }
            int count = 1;
            for (; count + 3 <= longest; count += 4) {
                double const* const m = &mean[static_cast<std::size_t>(count) - 1];
                double squares[4] = {0.0, 0.0, 0.0, 0.0};
                for (int i = 0; i < count; ++i) {
                    for (int j = 0; j < 4; ++j) {
                        double const deviation = first[i] - m[j];
                        squares[j] += deviation * deviation;
                    }
                }
                for (int j = 1; j < 4; ++j) {
                    for (int i = count; i < count + j; ++i) {
                        double const deviation = first[i] - m[j];
                        squares[j] += deviation * deviation;
                    }
                }
                for (int j = 0; j < 4; ++j) {
                    double const size = static_cast<double>(count + j);
                    row[count + j - 1] = size * (squares[j] / size);
                }
            }
            for (; count <= longest; ++count) {
                double const m = mean[static_cast<std::size_t>(count) - 1];
                double squares = 0.0;
                for (int i = 0; i < count; ++i) {
                    double const deviation = first[i] - m;
                    squares += deviation * deviation;
                }
                double const size = static_cast<double>(count);
                row[count - 1] = size * (squares / size);
            }
        });
    }

    // The term of the group of `count` segments from `start` (0 <= start < n, 1 <= count).
    double operator()(int start, int count) const { return row(start)[count - 1]; }

    // The terms of the groups from `start`, by count - 1.
    double const* row(int start) const {
        return &terms[static_cast<std::size_t>(start) * static_cast<std::size_t>(n)];
    }

  private:
    int n;
    std::vector<double> terms;  // row `start`, column count - 1
};

// best[g][p] for one first start s0 and g = 1 ... groups: the smallest sum of g group terms from start p
// (s0 <= p < n) to the end of the line, the starts ascending in p ... n - 1. Entries that leave fewer than
// g starts are +infinity.
class SuffixTable {
  public:
    SuffixTable(GroupTerms const& terms, int n, bool closed, int firstStart, int groups, bool parallel)
        : n(n),
          best(static_cast<std::size_t>(groups + 1) * static_cast<std::size_t>(n),
               std::numeric_limits<double>::infinity()) {
        for (int p = firstStart; p < n; ++p) {
            at(1, p) = terms(p, closed ? n - p + firstStart : n - p);
        }
        for (int g = 2; g <= groups; ++g) {
            int const lastStart = n - g;  // leaves g - 1 starts after it
            int const count = lastStart - firstStart + 1;
            if (count <= 0) {
                break;
            }
            common::forEachIndex(common::threadsFor(parallel), count, [&](std::ptrdiff_t offset, int) {
                int const p = firstStart + static_cast<int>(offset);
                // q = p + 1 ... n - g + 1: groups of 1 ... n - g + 1 - p segments from p.
                at(g, p) = common::smallestSum(terms.row(p), &at(g - 1, p + 1), n - g + 1 - p);
            });
        }
    }

    double at(int groups, int start) const {
        return best[static_cast<std::size_t>(groups) * static_cast<std::size_t>(n) +
                    static_cast<std::size_t>(start)];
    }

  private:
    double& at(int groups, int start) {
        return best[static_cast<std::size_t>(groups) * static_cast<std::size_t>(n) +
                    static_cast<std::size_t>(start)];
    }

    int n;
    std::vector<double> best;
};

double nearTieLimit(double optimum) {
    return optimum + optimum * kNearTie;
}

// The lexicographically smallest starts of k groups from `firstStart` whose sum stays within `limit`;
// should rounding leave no such next start, the one with the smallest sum is taken.
std::vector<int> readStarts(GroupTerms const& terms, SuffixTable const& table, int n, int k, int firstStart,
                            double limit) {
    std::vector<int> starts{firstStart};
    double prefix = 0.0;
    int p = firstStart;
    for (int g = k; g >= 2; --g) {
        int chosen = -1;
        int smallestAt = -1;
        double smallest = std::numeric_limits<double>::infinity();
        for (int q = p + 1; q <= n - g + 1; ++q) {
            double const total = (prefix + terms(p, q - p)) + table.at(g - 1, q);
            if (total <= limit) {
                chosen = q;
                break;
            }
            if (total < smallest) {
                smallest = total;
                smallestAt = q;
            }
        }
        if (chosen < 0) {
            chosen = smallestAt;
        }
        prefix += terms(p, chosen - p);
        starts.push_back(chosen);
        p = chosen;
    }
    return starts;
}

}  // namespace

std::vector<std::vector<int>> optimalVarianceStarts(std::vector<double> const& values, bool closed, int first,
                                                    int lastCount) {
    int const n = static_cast<int>(values.size());
    std::vector<std::vector<int>> result(static_cast<std::size_t>(lastCount) + 1);
    GroupTerms const terms(values, closed);
    if (!closed) {
        SuffixTable const table(terms, n, false, 0, lastCount, n >= kParallelLayers);
        for (int k = first; k <= lastCount; ++k) {
            result[static_cast<std::size_t>(k)] =
                readStarts(terms, table, n, k, 0, nearTieLimit(table.at(k, 0)));
        }
        return result;
    }
    // Closed line: the smallest start s0 fixes where the sum begins; one table per s0 gives the optimum
    // with that first start, for every k at once.
    std::vector<std::vector<double>> optimumFrom(static_cast<std::size_t>(n));
    common::forEachIndex(common::threadsFor(n >= kParallelLines), n, [&](std::ptrdiff_t s0, int) {
        int const firstStart = static_cast<int>(s0);
        SuffixTable const table(terms, n, true, firstStart, lastCount, false);
        std::vector<double>& optimum = optimumFrom[static_cast<std::size_t>(s0)];
        optimum.assign(static_cast<std::size_t>(lastCount) + 1, std::numeric_limits<double>::infinity());
        for (int k = first; k <= std::min(lastCount, n - firstStart); ++k) {
            optimum[static_cast<std::size_t>(k)] = table.at(k, firstStart);
        }
    });
    std::vector<int> firstStartOf(static_cast<std::size_t>(lastCount) + 1, -1);
    std::vector<double> limitOf(static_cast<std::size_t>(lastCount) + 1, 0.0);
    for (int k = first; k <= lastCount; ++k) {
        double optimum = std::numeric_limits<double>::infinity();
        for (int s0 = 0; s0 < n; ++s0) {
            optimum =
                std::min(optimum, optimumFrom[static_cast<std::size_t>(s0)][static_cast<std::size_t>(k)]);
        }
        double const limit = nearTieLimit(optimum);
        int s0 = 0;
        while (optimumFrom[static_cast<std::size_t>(s0)][static_cast<std::size_t>(k)] > limit) {
            ++s0;
        }
        firstStartOf[static_cast<std::size_t>(k)] = s0;
        limitOf[static_cast<std::size_t>(k)] = limit;
    }
    for (int s0 = 0; s0 < n; ++s0) {
        int const lastUsing = [&] {
            int last = 0;
            for (int k = first; k <= lastCount; ++k) {
                if (firstStartOf[static_cast<std::size_t>(k)] == s0) {
                    last = k;
                }
            }
            return last;
        }();
        if (lastUsing == 0) {
            continue;
        }
        SuffixTable const table(terms, n, true, s0, lastUsing, n >= kParallelLayers);
        for (int k = first; k <= lastUsing; ++k) {
            if (firstStartOf[static_cast<std::size_t>(k)] == s0) {
                result[static_cast<std::size_t>(k)] =
                    readStarts(terms, table, n, k, s0, limitOf[static_cast<std::size_t>(k)]);
            }
        }
    }
    return result;
}

}  // namespace Kestrel
