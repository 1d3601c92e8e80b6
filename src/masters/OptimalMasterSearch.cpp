// Dynamic programme over ascending master positions for the toy model's score.
//
// best[j][p][u]: the smallest sum of the terms that j more masters after position p add (each next master
// q: 1 / fullDistance(previous, q) - lengthWeight * length[q]), plus the closing pair back to the first
// master on a closed line, where u says whether a master outside every pre-group has been used already.
// Consecutive masters must lie in different pre-groups (groups are runs of positions, so this allows at
// most one master per group) and at most one master may lie outside every group.
#include "OptimalMasterSearch.h"

#include "ParallelFor.h"
#include "SmallestSum.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>

namespace Kestrel {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Sums within this share of the score's size count as equal: the lexicographically smallest choice wins.
constexpr double kNearTie = 1e-13;

// Lines shorter than this are searched on the calling thread alone: the whole search takes well under a
// millisecond, less than waking a team of threads (on a busy machine, far less).
constexpr int kParallelLines = 64;

// Below this many positions a table layer is too little work to share out: a parallel region per layer
// would cost more (and much more on a busy machine) than it saves.
constexpr int kParallelLayers = 300;

// What master q adds after master p, for every pair: 1 / fullDistance(p, q) - lengthWeight * length[q].
std::vector<double> stepTable(MasterSearchLine const& line, std::vector<double> const& reciprocal) {
    std::size_t const n = line.lengths.size();
    std::vector<double> steps(n * n);
    for (std::size_t p = 0; p < n; ++p) {
        for (std::size_t q = 0; q < n; ++q) {
            steps[p * n + q] = reciprocal[p * n + q] - line.lengthWeight * line.lengths[q];
        }
    }
    return steps;
}

class MasterTable {
  public:
    // The table for masters after a first master `firstMaster` (closed line; -1 on an open line, where the
    // table does not depend on the first master). `parallel`: split each layer over OpenMP threads.
    MasterTable(MasterSearchLine const& line, std::vector<double> const& reciprocal,
                std::vector<double> const& steps, int masters, int firstMaster, bool parallel)
        : line(line),
          steps(steps),
          n(static_cast<int>(line.lengths.size())),
          best(static_cast<std::size_t>(masters) * 2 * static_cast<std::size_t>(n), kInfinity),
          firstOtherGroup(static_cast<std::size_t>(n) + 1, n) {
        bool anyUngrouped = false;
        for (int p = n - 1; p >= 0; --p) {
            int const group = line.group[static_cast<std::size_t>(p)];
            anyUngrouped = anyUngrouped || group < 0;
            bool const sameAsNext =
                group >= 0 && p + 1 < n && line.group[static_cast<std::size_t>(p) + 1] == group;
            firstOtherGroup[static_cast<std::size_t>(p)] =
                sameAsNext ? firstOtherGroup[static_cast<std::size_t>(p) + 1] : p + 1;
        }
        int const from = firstMaster < 0 ? 0 : firstMaster;
        for (int p = from; p < n; ++p) {
            double const closing = firstMaster < 0 ? 0.0 : reciprocal[index2(p, firstMaster)];
            at(0, p, 0) = closing;
            at(0, p, 1) = closing;
        }
        // next[u][q]: the best completion after q for a state u at its predecessor, +infinity where q may
        // not follow (zero length, or a second master outside every group).
        std::vector<double> next[2] = {std::vector<double>(static_cast<std::size_t>(n)),
                                       std::vector<double>(static_cast<std::size_t>(n))};
        for (int j = 1; j < masters; ++j) {
            for (int q = 0; q < n; ++q) {
                bool const eligible = line.lengths[static_cast<std::size_t>(q)] > 0.0;
                bool const grouped = line.group[static_cast<std::size_t>(q)] >= 0;
                next[0][static_cast<std::size_t>(q)] =
                    !eligible ? kInfinity : value(j - 1, q, grouped ? 0 : 1);
                next[1][static_cast<std::size_t>(q)] = !eligible || !grouped ? kInfinity : value(j - 1, q, 1);
            }
            int const states = anyUngrouped ? 2 : 1;
            common::forEachIndex(common::threadsFor(parallel), n - from, [&](std::ptrdiff_t offset, int) {
                int const p = from + static_cast<int>(offset);
                int const q0 = firstOtherGroup[static_cast<std::size_t>(p)];
                for (int used = 0; used < states; ++used) {
                    at(j, p, used) = common::smallestSum(&steps[index2(p, q0)],
                                                         &next[used][static_cast<std::size_t>(q0)], n - q0);
                }
            });
        }
    }

    double value(int j, int p, int used) const { return best[index(j, p, used)]; }

    // Whether q may follow p as the next master when `used` says whether an ungrouped master was taken;
    // `nextUsed` receives the flag after q.
    bool allowed(int p, int q, int used, int& nextUsed) const {
        if (!(line.lengths[static_cast<std::size_t>(q)] > 0.0) ||
            q < firstOtherGroup[static_cast<std::size_t>(p)]) {
            return false;
        }
        nextUsed = line.group[static_cast<std::size_t>(q)] < 0 ? 1 : used;
        return line.group[static_cast<std::size_t>(q)] >= 0 || used == 0;
    }

    // What master q adds after master p.
    double step(int p, int q) const { return steps[index2(p, q)]; }

  private:
    std::size_t index2(int from, int to) const {
        return static_cast<std::size_t>(from) * static_cast<std::size_t>(n) + static_cast<std::size_t>(to);
    }
    std::size_t index(int j, int p, int used) const {
        return (static_cast<std::size_t>(j) * 2 + static_cast<std::size_t>(used)) *
                   static_cast<std::size_t>(n) +
               static_cast<std::size_t>(p);
    }
    double& at(int j, int p, int used) { return best[index(j, p, used)]; }

    MasterSearchLine const& line;
    std::vector<double> const& steps;
    int n;
    std::vector<double> best;
    std::vector<int> firstOtherGroup;  // the first position after p outside p's group (p + 1 if ungrouped)
};

int usedBy(MasterSearchLine const& line, int p) {
    return line.group[static_cast<std::size_t>(p)] < 0 ? 1 : 0;
}

// The best sum of a choice whose first master is p0, read from its table.
double totalFrom(MasterSearchLine const& line, MasterTable const& table, int masters, int p0) {
    if (!(line.lengths[static_cast<std::size_t>(p0)] > 0.0)) {
        return kInfinity;
    }
    return -line.lengthWeight * line.lengths[static_cast<std::size_t>(p0)] +
           table.value(masters - 1, p0, usedBy(line, p0));
}

// The lexicographically smallest masters after p0 whose sum stays within `limit` (the best next master
// when rounding leaves none).
std::vector<int> readPositions(MasterSearchLine const& line, MasterTable const& table, int masters, int p0,
                               double limit) {
    int const n = static_cast<int>(line.lengths.size());
    std::vector<int> positions{p0};
    double prefix = -line.lengthWeight * line.lengths[static_cast<std::size_t>(p0)];
    int p = p0;
    int used = usedBy(line, p0);
    for (int j = masters - 1; j >= 1; --j) {
        int chosen = -1;
        int chosenUsed = 0;
        double smallest = kInfinity;
        for (int q = p + 1; q < n; ++q) {
            int nextUsed = 0;
            if (!table.allowed(p, q, used, nextUsed)) {
                continue;
            }
            double const total = (prefix + table.step(p, q)) + table.value(j - 1, q, nextUsed);
            if (total <= limit) {
                chosen = q;
                chosenUsed = nextUsed;
                break;
            }
            if (total < smallest) {
                smallest = total;
                chosen = q;
                chosenUsed = nextUsed;
            }
        }
        prefix += table.step(p, chosen);
        positions.push_back(chosen);
        p = chosen;
        used = chosenUsed;
    }
    return positions;
}

double nearTieLimit(MasterSearchLine const& line, double optimum) {
    return optimum + kNearTie * (std::abs(line.constant) + std::abs(optimum));
}

}  // namespace

std::vector<int> optimalMasterPositions(MasterSearchLine const& line, int masters,
                                        std::vector<double> const& reciprocal) {
    int const n = static_cast<int>(line.lengths.size());
    std::vector<double> total(static_cast<std::size_t>(n), kInfinity);
    std::vector<double> const steps = stepTable(line, reciprocal);
    std::unique_ptr<MasterTable const> openTable;
    if (!line.closed) {
        openTable =
            std::make_unique<MasterTable const>(line, reciprocal, steps, masters, -1, n >= kParallelLayers);
        for (int p0 = 0; p0 < n; ++p0) {
            total[static_cast<std::size_t>(p0)] = totalFrom(line, *openTable, masters, p0);
        }
    } else {
        common::forEachIndex(common::threadsFor(n >= kParallelLines), n, [&](std::ptrdiff_t p0, int) {
            MasterTable const table(line, reciprocal, steps, masters, static_cast<int>(p0), false);
            total[static_cast<std::size_t>(p0)] = totalFrom(line, table, masters, static_cast<int>(p0));
        });
    }
    double optimum = kInfinity;
    for (double const value : total) {
        optimum = std::min(optimum, value);
    }
    if (!(optimum < kInfinity)) {
        return {};
    }
    double const limit = nearTieLimit(line, optimum);
    int p0 = 0;
    while (!(total[static_cast<std::size_t>(p0)] <= limit)) {
        ++p0;
    }
    if (openTable) {
        return readPositions(line, *openTable, masters, p0, limit);
    }
    MasterTable const table(line, reciprocal, steps, masters, p0, n >= kParallelLayers);
    return readPositions(line, table, masters, p0, limit);
}

}  // namespace Kestrel
