#include "ReferenceCrossEntropy.h"

#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace ReferenceCrossEntropy {

Generator::Generator(std::vector<std::vector<double>> const& matrix, unsigned int seed) : engine_(seed) {
    for (std::vector<double> const& row : matrix) {
        std::vector<double> weightRow;
        weightRow.push_back(0.0);
        for (double const entry : row) {
            weightRow.push_back(entry);
        }
        weights_.push_back(weightRow);
    }
}

double Generator::draw() {
    for (;;) {
        double const u = static_cast<double>(engine_()) * (1.0 / 4294967296.0) * (1.0 - 0.0) + 0.0;
        if (u < 1.0) {
            return u;
        }
    }
}

void Generator::generate(int numberOfPaths, std::vector<std::vector<int>>& paths, int pathLength,
                         std::vector<std::vector<int>> const* exclusionLists) {
    paths.clear();
    paths.resize(static_cast<std::size_t>(std::max(numberOfPaths, 0)));
    for (int p = 0; p < numberOfPaths; ++p) {
        std::vector<int>& path = paths[static_cast<std::size_t>(p)];
        path.clear();
        path.reserve(static_cast<std::size_t>(std::max(pathLength, 0)));
        std::vector<int> taken(weights_[0].size(), 0);
        for (int step = 0; step < pathLength; ++step) {
            int const m = path.empty() ? 0 : path.back();
            std::vector<double> const& row = weights_[static_cast<std::size_t>(m)];
            double total = 0.0;
            for (std::size_t j = 1; j < row.size(); ++j) {
                if (taken[j] == 0) {
                    total += row[j];
                }
            }
            double const threshold = draw() * total;
            double runningSum = 0.0;
            std::size_t j = 0;
            for (; j < row.size(); ++j) {
                if (taken[j] == 0) {
                    runningSum += row[j];
                }
                if (threshold <= runningSum) {
                    break;
                }
            }
            path.push_back(static_cast<int>(j));
            taken[j] = 1;
            if (exclusionLists != nullptr) {
                for (int const excluded : (*exclusionLists)[j]) {
                    taken[static_cast<std::size_t>(excluded)] = 1;
                }
            }
        }
    }
}

std::vector<std::vector<int>> exclusionLists(std::vector<int> const& groups, int rows) {
    std::vector<int> b(groups);
    for (int& boundary : b) {
        boundary += 1;
    }
    std::vector<std::vector<int>> lists(static_cast<std::size_t>(rows));
    for (int i = 1; i < rows; ++i) {
        std::vector<int>& list = lists[static_cast<std::size_t>(i)];
        if (i < b.front() || i >= b.back()) {
            for (int k = 1; k < b.front(); ++k) {
                list.push_back(k);
            }
            for (int k = b.back(); k < rows; ++k) {
                list.push_back(k);
            }
        } else {
            for (std::size_t g = 0; g + 1 < b.size(); ++g) {
                if (b[g] <= i && i < b[g + 1]) {
                    for (int k = b[g]; k < b[g + 1]; ++k) {
                        list.push_back(k);
                    }
                    break;
                }
            }
        }
    }
    return lists;
}

namespace {

int perplexity(std::vector<double> const& row) {
    double h = 0.0;
    for (double const p : row) {
        if (p > 0) {
            h += p * std::log(1.0 / p);
        }
    }
    return std::max(1, static_cast<int>(std::exp(h)));
}

int entropyCount(std::vector<std::vector<double>> const& matrix) {
    int e = 0;
    for (std::vector<double> const& row : matrix) {
        e += perplexity(row);
    }
    return e;
}

bool stalled(std::vector<double> const& h, int stallIterations) {
    if (static_cast<long long>(h.size()) < stallIterations) {
        return false;
    }
    if (stallIterations <= 1) {
        return true;
    }
    for (int k = 1; k < stallIterations; ++k) {
        if (!(h[h.size() - 1] == h[h.size() - 1 - static_cast<std::size_t>(k)])) {
            return false;
        }
    }
    return true;
}

std::size_t firstSmallest(std::vector<double> const& values) {
    std::size_t index = 0;
    double smallest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i] < smallest) {
            smallest = values[i];
            index = i;
        }
    }
    return index;
}

}  // namespace

double optimize(State& state, Parameters const& parameters, std::vector<int>& result, Callback* callback,
                int basePopulation) {
    int counter = 1;
    std::vector<double> gammaHistory;
    std::vector<double> bestScoreHistory;
    std::vector<std::vector<int>> bestSelectionHistory;
    if (parameters.maxIterations < 2) {
        return std::numeric_limits<double>::infinity();
    }
    int const n = static_cast<int>(state.probabilities.size());
    double lastMinimum = 0.0;
    for (;;) {
        Generator generator(state.probabilities, 193);

        int const e = entropyCount(state.probabilities);
        int const base = static_cast<int>(parameters.sampleFactor * basePopulation);
        int population = 0;
        bool capped = false;
        if (base != 0) {
            int const s = static_cast<int>(e * parameters.sampleFactor);
            if (s > 1.25 * base) {
                population = base;
                capped = true;
            } else {
                population = std::max(base, s);
            }
        } else if (parameters.populationDynamics == 0) {
            population = static_cast<int>(n * parameters.sampleFactor * (n - 1));
        } else {
            population = static_cast<int>(e * parameters.sampleFactor);
        }
        if (population <= 0) {
            return std::numeric_limits<double>::infinity();
        }

        std::vector<std::vector<int>> selections;
        generator.generate(population, selections, state.pathLength,
                           state.exclusionLists.empty() ? nullptr : &state.exclusionLists);
        if (!state.ordered) {
            for (std::vector<int>& selection : selections) {
                std::sort(selection.begin(), selection.end());
            }
        }

        std::vector<double> scores(static_cast<std::size_t>(population), 0.0);
        for (int i = 0; i < population; ++i) {
            scores[static_cast<std::size_t>(i)] = (*state.objective)(selections[static_cast<std::size_t>(i)]);
        }
        state.numberOfEvaluations += static_cast<std::uint64_t>(population);

        Kestrel::Tessel::StatisticalCalculator calculator(population);
        calculator.loadDataSet(scores);
        double const gamma = calculator.getQuantile(parameters.quantile, 0);

        if (entropyCount(state.probabilities) != n) {
            std::map<std::pair<int, int>, int> counts;
            for (int i = 0; i < population; ++i) {
                if (scores[static_cast<std::size_t>(i)] <= gamma) {
                    int prev = 0;
                    for (int const x : selections[static_cast<std::size_t>(i)]) {
                        counts[std::make_pair(prev, x)] += 1;
                        prev = x;
                    }
                }
            }
            if (n > 1) {
                double const alpha = parameters.smoothing;
                for (int i = 0; i < n; ++i) {
                    int total = 0;
                    for (int j = 1; j < n; ++j) {
                        auto const found = counts.find(std::make_pair(i, j));
                        if (found != counts.end()) {
                            total += found->second;
                        }
                    }
                    for (int j = 1; j < n; ++j) {
                        auto const found = counts.find(std::make_pair(i, j));
                        double f = 0.0;
                        if (found != counts.end()) {
                            f = static_cast<double>(found->second) / static_cast<double>(total);
                        }
                        double& entry =
                            state.probabilities[static_cast<std::size_t>(i)][static_cast<std::size_t>(j - 1)];
                        entry = (1.0 - alpha) * entry + alpha * f;
                    }
                }
            }
            if (callback != nullptr && capped) {
                (*callback)(state.probabilities, parameters.smoothing);
            }
        }

        gammaHistory.push_back(gamma);
        bool converged = stalled(gammaHistory, parameters.stallIterations) || e == n;
        std::size_t const best = firstSmallest(scores);
        bestSelectionHistory.push_back(selections[best]);
        bestScoreHistory.push_back(scores[best]);
        lastMinimum = scores[best];
        if (parameters.checkBestStall) {
            converged = converged || stalled(bestScoreHistory, parameters.stallIterations);
        }
        ++counter;
        if (converged || counter >= parameters.maxIterations) {
            break;
        }
    }
    result = bestSelectionHistory[firstSmallest(bestScoreHistory)];
    return lastMinimum;
}

}  // namespace ReferenceCrossEntropy
