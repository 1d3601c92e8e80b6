// Dynamic programme over ascending master positions for the toy model's score.
//
// best[j][p][u]: the smallest sum of the terms that j more masters after position p add (each next master
// q: 1 / fullDistance(previous, q) - lengthWeight * length[q]), plus the closing pair back to the first
// master on a closed line, where u says whether a master outside every pre-group has been used already.
// Consecutive masters must lie in different pre-groups (groups are runs of positions, so this allows at
// most one master per group) and at most one master may lie outside every group.
#include "OptimalMasterSearch.h"

#include "ParallelLoop.h"

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

class MasterTable {
  public:
    // The table for masters after a first master `firstMaster` (closed line; -1 on an open line, where the
    // table does not depend on the first master). `parallel`: split each layer over OpenMP threads.
    MasterTable(MasterSearchLine const& line, std::vector<double> const& reciprocal, int masters,
                int firstMaster, bool parallel)
        : line(line),
          reciprocal(reciprocal),
          n(static_cast<int>(line.lengths.size())),
          best(static_cast<std::size_t>(masters) * static_cast<std::size_t>(n) * 2, kInfinity) {
        int const from = firstMaster < 0 ? 0 : firstMaster;
        for (int p = from; p < n; ++p) {
            double const closing = firstMaster < 0 ? 0.0 : reciprocalOf(p, firstMaster);
            at(0, p, 0) = closing;
            at(0, p, 1) = closing;
        }
        for (int j = 1; j < masters; ++j) {
            detail::parallelForStatic(
                n - from,
                [&](std::ptrdiff_t offset, int) {
                    int const p = from + static_cast<int>(offset);
                    for (int used = 0; used <= 1; ++used) {
                        double smallest = kInfinity;
                        for (int q = p + 1; q < n; ++q) {
                            int nextUsed = 0;
                            if (allowed(p, q, used, nextUsed)) {
                                double const total = step(p, q) + value(j - 1, q, nextUsed);
                                if (total < smallest) {
                                    smallest = total;
                                }
                            }
                        }
                        at(j, p, used) = smallest;
                    }
                },
                parallel);
        }
    }

    double value(int j, int p, int used) const { return best[index(j, p, used)]; }

    // Whether q may follow p as the next master when `used` says whether an ungrouped master was taken;
    // `nextUsed` receives the flag after q.
    bool allowed(int p, int q, int used, int& nextUsed) const {
        if (!(line.lengths[static_cast<std::size_t>(q)] > 0.0)) {
            return false;
        }
        int const groupOfQ = line.group[static_cast<std::size_t>(q)];
        if (groupOfQ < 0) {
            nextUsed = 1;
            return used == 0;
        }
        nextUsed = used;
        return groupOfQ != line.group[static_cast<std::size_t>(p)];
    }

    // What master q adds after master p.
    double step(int p, int q) const {
        return reciprocalOf(p, q) - line.lengthWeight * line.lengths[static_cast<std::size_t>(q)];
    }

  private:
    double reciprocalOf(int from, int to) const {
        return reciprocal[static_cast<std::size_t>(from) * static_cast<std::size_t>(n) +
                          static_cast<std::size_t>(to)];
    }
    std::size_t index(int j, int p, int used) const {
        return (static_cast<std::size_t>(j) * static_cast<std::size_t>(n) + static_cast<std::size_t>(p)) * 2 +
               static_cast<std::size_t>(used);
    }
    double& at(int j, int p, int used) { return best[index(j, p, used)]; }

    MasterSearchLine const& line;
    std::vector<double> const& reciprocal;
    int n;
    std::vector<double> best;
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
    std::unique_ptr<MasterTable const> openTable;
    if (!line.closed) {
        openTable = std::make_unique<MasterTable const>(line, reciprocal, masters, -1, true);
        for (int p0 = 0; p0 < n; ++p0) {
            total[static_cast<std::size_t>(p0)] = totalFrom(line, *openTable, masters, p0);
        }
    } else {
        detail::parallelForStatic(n, [&](std::ptrdiff_t p0, int) {
            MasterTable const table(line, reciprocal, masters, static_cast<int>(p0), false);
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
    MasterTable const table(line, reciprocal, masters, p0, true);
    return readPositions(line, table, masters, p0, limit);
}

}  // namespace Kestrel
