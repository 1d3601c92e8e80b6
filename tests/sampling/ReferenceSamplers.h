// Reference implementations of the samplers' steps, without any of the library's speed-ups: lists erased from
// the middle, serial loops, every distance of every Lloyd assignment computed, member lists per centre.
// They are the reference that the library's results must equal bit for bit.
#pragma once

#include <cmath>
#include <cstddef>
#include <deque>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ReferenceSamplers {

using Point = std::pair<double, double>;
using Candidates = std::vector<std::vector<double>>;

template <typename T>
T& checkedAt(std::vector<T>& v, long index) {
    if (index < 0 || static_cast<std::size_t>(index) >= v.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    return v[static_cast<std::size_t>(index)];
}

template <typename T>
T const& checkedAt(std::vector<T> const& v, long index) {
    if (index < 0 || static_cast<std::size_t>(index) >= v.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    return v[static_cast<std::size_t>(index)];
}

inline std::deque<std::vector<double>> cartesianProduct(
    std::vector<std::shared_ptr<Candidates>> const& factors, std::vector<int> const& order) {
    std::mt19937 generator(377);
    double const a = 0.0;
    double const b = 1.0;
    auto draw = [&]() {
        for (;;) {
            double const u = static_cast<double>(generator()) * 0x1p-32 * (b - a) + a;
            if (u < b) {
                return u;
            }
        }
    };
    if (order.empty()) {
        throw std::length_error("deque<T> too long");
    }
    long const n = static_cast<long>(checkedAt(factors, order[0])->size());
    std::vector<std::vector<long>> lists;
    std::size_t expectedLength = 0;
    for (int const k : order) {
        Candidates const& factor = *checkedAt(factors, k);
        std::vector<long> list;
        for (long i = 0; i < n; ++i) {
            list.push_back(i);
        }
        lists.push_back(list);
        expectedLength += factor.empty() ? 0 : factor[0].size();
    }
    std::deque<std::vector<double>> population(static_cast<std::size_t>(n));
    for (long i = 0; i < n; ++i) {
        std::vector<double>& point = population[static_cast<std::size_t>(i)];
        point.reserve(expectedLength);
        long const r = n - i;
        for (std::size_t k = 0; k < order.size(); ++k) {
            double const u = draw();
            long j = static_cast<long>(std::floor(u / (1.0 / static_cast<double>(r))));
            if (j >= r) {
                j = r - 1;
            }
            if (j < 0) {
                j = 0;
            }
            long const index = lists[k][static_cast<std::size_t>(j)];
            std::vector<double> const& candidate = checkedAt(*checkedAt(factors, order[k]), index);
            for (double const value : candidate) {
                point.push_back(value);
            }
            lists[k].erase(lists[k].begin() + j);
        }
    }
    return population;
}

inline double squaredDistance(Point const& p, Point const& q) {
    double const dx = p.first - q.first;
    double const dy = p.second - q.second;
    return dx * dx + dy * dy;
}

// k-means++ seeding; the remaining list and the weight array keep their full length m, so positions past
// the current count hold what earlier selections left there.
inline std::vector<Point> seed(std::vector<Point> const& candidates, int k) {
    std::minstd_rand generator(35);
    auto draw = [&]() {
        for (;;) {
            double const u = static_cast<double>(generator() - 1) / 2147483646.0 * (1.0 - 0.0) + 0.0;
            if (u < 1.0) {
                return u;
            }
        }
    };
    std::size_t const m = candidates.size();
    std::vector<int> remaining(m);
    for (std::size_t i = 0; i < m; ++i) {
        remaining[i] = static_cast<int>(i);
    }
    std::size_t remainingCount = m;
    std::vector<int> chosen;
    std::vector<Point> centres;
    std::vector<double> weights(m, 1.0 / static_cast<double>(m));
    std::vector<double> d2(m, 0.0);
    while (static_cast<int>(chosen.size()) < k && remainingCount > 0) {
        if (!chosen.empty()) {
            // Each remaining candidate's nearest distance meets the newest centre, which replaces it only
            // when strictly closer (the first centre sets it).
            Point const& newest = candidates[static_cast<std::size_t>(chosen.back())];
            for (std::size_t i = 0; i < remainingCount; ++i) {
                std::size_t const p = static_cast<std::size_t>(remaining[i]);
                double const distance = squaredDistance(candidates[p], newest);
                if (chosen.size() == 1 || distance < d2[p]) {
                    d2[p] = distance;
                }
            }
            double sum = 0.0;
            for (std::size_t i = 0; i < remainingCount; ++i) {
                sum += d2[static_cast<std::size_t>(remaining[i])];
            }
            for (std::size_t i = 0; i < remainingCount; ++i) {
                weights[i] = sum != 0.0 ? d2[static_cast<std::size_t>(remaining[i])] / sum
                                        : 1.0 / static_cast<double>(remainingCount);
            }
        }
        double const r = draw();
        double running = 0.0;
        std::size_t position = m - 1;
        for (std::size_t i = 0; i < m; ++i) {
            running += weights[i];
            if (running > r) {
                position = i;
                break;
            }
        }
        chosen.push_back(remaining[position]);
        centres.push_back(candidates[static_cast<std::size_t>(remaining[position])]);
        remaining[position] = remaining[remainingCount - 1];
        --remainingCount;
    }
    return centres;
}

// Lloyd iterations with centres snapping to the member nearest to the mean; returns the iterations run.
inline int lloyd(std::vector<Point> const& candidates, std::vector<Point>& centres, int limit) {
    int iteration = 0;
    std::vector<std::vector<std::size_t>> members(centres.size());
    for (;;) {
        std::vector<Point> const kept = centres;
        for (std::size_t p = 0; p < candidates.size(); ++p) {
            std::size_t best = 0;
            double bestDistance = 0.0;
            for (std::size_t c = 0; c < centres.size(); ++c) {
                double const distance = squaredDistance(candidates[p], centres[c]);
                if (c == 0 || distance < bestDistance) {
                    best = c;
                    bestDistance = distance;
                }
            }
            if (!centres.empty()) {
                members[best].push_back(p);
            }
        }
        for (std::size_t c = 0; c < centres.size(); ++c) {
            if (members[c].empty()) {
                continue;
            }
            double sumX = 0.0;
            double sumY = 0.0;
            for (std::size_t const p : members[c]) {
                sumX += candidates[p].first;
                sumY += candidates[p].second;
            }
            Point const mean{sumX / static_cast<double>(members[c].size()),
                             sumY / static_cast<double>(members[c].size())};
            std::size_t nearest = members[c][0];
            double nearestDistance = squaredDistance(candidates[nearest], mean);
            for (std::size_t const p : members[c]) {
                double const distance = squaredDistance(candidates[p], mean);
                if (distance < nearestDistance) {
                    nearest = p;
                    nearestDistance = distance;
                }
            }
            centres[c] = candidates[nearest];
        }
        ++iteration;
        bool converged = true;
        for (std::size_t c = 0; c < centres.size(); ++c) {
            if (!(centres[c].first == kept[c].first && centres[c].second == kept[c].second)) {
                converged = false;
            }
        }
        if (iteration >= limit || centres.empty() || converged) {
            return iteration;
        }
        for (auto& list : members) {
            list.clear();
        }
    }
}

// The samples for n requested points from the given candidates.
inline std::vector<Point> domainSamples(std::vector<Point> const& candidates, int n) {
    if (n <= 0) {
        return {};
    }
    std::vector<Point> centres = seed(candidates, n);
    lloyd(candidates, centres, n > 100 ? n : 100);
    return centres;
}

}  // namespace ReferenceSamplers
