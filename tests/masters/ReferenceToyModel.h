// Reference implementations of the drawbead toy model's geometry and of the master optimiser's score and
// interpolation, computed from the raw vectors, and seeded random lines to compare them with the library.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace ReferenceToyModel {

struct Line {
    std::vector<double> lengths;
    std::vector<std::pair<double, double>> bounds;
    std::vector<double> transitions;
    bool closed = false;
};

// Segments strictly between `from` and `to` going forward, wrapping past the end.
inline std::vector<int> segmentsBetween(int n, int from, int to) {
    std::vector<int> between;
    if (from == to) {
        return between;
    }
    for (int k = (from + 1) % n; k != to; k = (k + 1) % n) {
        between.push_back(k);
    }
    return between;
}

inline double distance(Line const& line, int from, int to) {
    double sum = 0.0;
    for (int k : segmentsBetween(static_cast<int>(line.lengths.size()), from, to)) {
        sum = sum + line.lengths[k];
    }
    return sum;
}

// A transition the vector does not hold (after the last segment of an open line) counts as 0.
inline double transition(Line const& line, int k) {
    return k < static_cast<int>(line.transitions.size()) ? line.transitions[k] : 0.0;
}

inline double fullDistance(Line const& line, int from, int to) {
    double sum = 0.0;
    sum = sum + 0.5 * line.lengths[from];
    sum = sum + transition(line, from);
    for (int k : segmentsBetween(static_cast<int>(line.lengths.size()), from, to)) {
        sum = sum + line.lengths[k];
        sum = sum + transition(line, k);
    }
    sum = sum + 0.5 * line.lengths[to];
    return sum;
}

inline double penalty(Line const& line, std::vector<double> const& values) {
    std::size_t const n = line.lengths.size();
    double p = 0.0;
    for (std::size_t i = 1; i < n; ++i) {
        double const w = (line.lengths[i - 1] + line.lengths[i]) * 0.5 + line.transitions[i - 1];
        double const d = std::fabs(values[i] - values[i - 1]);
        double const r = d / w;
        p = p + (r * r) * w;
    }
    if (line.closed) {
        double const w = (line.lengths[n - 1] + line.lengths[0]) * 0.5 + line.transitions[n - 1];
        double const d = std::fabs(values[0] - values[n - 1]);
        double const r = d / w;
        p = p + (r * r) * w;
    }
    return p;
}

inline double geometryScore(Line const& line, std::vector<int> const& masters) {
    std::size_t const n = line.lengths.size();
    std::size_t const m = masters.size();
    double L = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        L = L + line.lengths[i];
    }
    double S = 0.0;
    for (std::size_t k = 1; k < m; ++k) {
        S = S + 1.0 / fullDistance(line, masters[k - 1], masters[k]);
    }
    if (line.closed) {
        S = S + 1.0 / fullDistance(line, masters[m - 1], masters[0]);
    }
    double M = 0.0;
    for (std::size_t k = 0; k < m; ++k) {
        S = S + 0.0 / (double(n) * line.lengths[masters[k]]);
        M = M + line.lengths[masters[k]];
    }
    double const c = line.closed ? double(m) : double(m) - 0.5;
    return ((L - M) * (c * 0.125)) / (L * L) + S;
}

inline std::vector<double> interpolation(Line const& line, std::vector<int> const& masters,
                                         std::vector<double> const& masterValues) {
    int const n = static_cast<int>(line.lengths.size());
    int const m = static_cast<int>(masters.size());
    std::vector<double> value(n, std::numeric_limits<double>::quiet_NaN());
    for (int k = 0; k < m; ++k) {
        value[masters[k]] = masterValues[k];
    }
    int p = line.closed ? masters[m - 1] : -1;
    int q = masters[0];
    int k = 0;
    for (int i = 0; i < n; ++i) {
        if (i == q) {
            p = q;
            if (k + 1 < m) {
                k = k + 1;
                q = masters[k];
            } else {
                q = line.closed ? masters[0] : -1;
            }
            continue;
        }
        if (!std::isnan(value[i])) {
            continue;
        }
        if (p != -1 && q != -1) {
            double const d1 = fullDistance(line, p, i);
            double const d2 = fullDistance(line, i, q);
            value[i] = (d1 * value[q] + d2 * value[p]) / (d2 + d1);
        } else if (p != -1) {
            value[i] = value[p];
        } else if (q != -1) {
            value[i] = value[q];
        }
    }
    for (int i = 0; i < n; ++i) {
        if (value[i] < line.bounds[i].first) {
            value[i] = line.bounds[i].first;
        }
        if (value[i] > line.bounds[i].second) {
            value[i] = line.bounds[i].second;
        }
        value[i] = (1.0 - std::cos(3.141592653589793 * value[i])) * 0.5;
    }
    return value;
}

// A line of n segments with lengths in [0.2, 6), bounds inside [0, 1] and derived transitions.
inline Line randomLine(std::mt19937& engine, int n, bool closed) {
    std::uniform_real_distribution<double> length(0.2, 6.0);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    Line line;
    line.closed = closed;
    for (int i = 0; i < n; ++i) {
        line.lengths.push_back(length(engine));
        double const a = unit(engine);
        double const b = unit(engine);
        line.bounds.emplace_back(std::min(a, b), std::max(a, b));
    }
    int const count = n >= 2 ? (closed ? n : n - 1) : (closed && n == 1 ? 1 : 0);
    for (int i = 0; i < count; ++i) {
        line.transitions.push_back(n == 1 ? line.lengths[0]
                                          : std::min(line.lengths[i], line.lengths[(i + 1) % n]));
    }
    return line;
}

// `count` distinct positions out of n, ascending.
inline std::vector<int> randomAscendingChoice(std::mt19937& engine, int n, int count) {
    std::vector<int> all(n);
    for (int i = 0; i < n; ++i) {
        all[i] = i;
    }
    std::shuffle(all.begin(), all.end(), engine);
    std::vector<int> choice(all.begin(), all.begin() + count);
    std::sort(choice.begin(), choice.end());
    return choice;
}

}  // namespace ReferenceToyModel
