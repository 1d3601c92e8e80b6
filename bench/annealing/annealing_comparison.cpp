// How often and how fast the ready annealer finds the global minimum of multimodal test functions,
// compared with a plain random-restart local search given the same number of evaluations.
//
// For each function and each seed 1..S (default 50): annealInBox4HSA with the default settings counts its
// objective and gradient calls (E = their sum). The local search then gets the same budget E: from a
// uniform point in the box (std::mt19937(seed)), projected gradient descent with Armijo backtracking
// (each objective and each gradient call counts one), restarted at a new uniform point once an iteration
// lowers f by no more than 1e-10 * (1 + |f|) or after 500 iterations, until the budget is spent.
// A run succeeds when some objective call was made within 1e-2 (Euclidean) of a global minimiser; "calls
// to success" is the number of evaluations (objective + gradient) spent until the first such call.
//
//   annealing_comparison [seeds] [dimension] [coolingFactor] [stepsPerSample] [stepFraction]
//                        [finalTemperatureRatio] [chains] [refinementCalls] [freshStartInterval]
// (settings not given keep the defaults of Kestrel::AnnealingSettings4HSA; the single long chain that the
// annealer ran before it used short chains is `annealing_comparison 50 2 0.95 20 0.005 1e-5 1 0 0`)
#include <Kestrel/ReadyComponents4HSA.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr double kSuccessDistance = 1e-2;

// Wraps a test function: counts objective and gradient calls and notes the count at the first objective
// call within kSuccessDistance of a global minimiser.
struct Counter {
    Kestrel::TestFunction4HSA const* f;
    std::uint64_t calls = 0;
    std::uint64_t firstSuccess = 0;  // 0: never
    double best = std::numeric_limits<double>::infinity();

    double value(std::vector<double> const& x) {
        ++calls;
        double const v = f->objective(x);
        best = std::min(best, v);
        if (firstSuccess == 0) {
            for (std::vector<double> const& m : f->globalMinima) {
                double d2 = 0.0;
                for (std::size_t i = 0; i < x.size(); ++i) {
                    d2 += (x[i] - m[i]) * (x[i] - m[i]);
                }
                if (std::sqrt(d2) <= kSuccessDistance) {
                    firstSuccess = calls;
                }
            }
        }
        return v;
    }
    void gradient(std::vector<double> const& x, std::vector<double>& g) {
        ++calls;
        f->gradient(x, g);
    }
};

double uniform53(std::mt19937& engine) {
    double const high = static_cast<double>(engine() >> 5);
    double const low = static_cast<double>(engine() >> 6);
    return (high * 67108864.0 + low) / 9007199254740992.0;
}

void project(Kestrel::Box4HSA const& box, std::vector<double>& x) {
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = std::min(box[i].second, std::max(box[i].first, x[i]));
    }
}

// Random-restart projected gradient descent with Armijo backtracking under a budget of calls.
void localSearch(Counter& counter, Kestrel::Box4HSA const& box, std::uint32_t seed, std::uint64_t budget) {
    std::mt19937 engine(seed);
    std::size_t const n = box.size();
    std::vector<double> x(n);
    std::vector<double> g(n);
    std::vector<double> trial(n);
    while (counter.calls + 2 <= budget) {
        for (std::size_t i = 0; i < n; ++i) {
            x[i] = box[i].first + (box[i].second - box[i].first) * uniform53(engine);
        }
        double fx = counter.value(x);
        double stepLength = 1.0;
        for (int iteration = 0; iteration < 500 && counter.calls + 2 <= budget; ++iteration) {
            counter.gradient(x, g);
            double fTrial = fx;
            for (stepLength = std::min(1.0, 2.0 * stepLength); counter.calls < budget; stepLength *= 0.5) {
                double decrease = 0.0;
                for (std::size_t i = 0; i < n; ++i) {
                    trial[i] = x[i] - stepLength * g[i];
                }
                project(box, trial);
                for (std::size_t i = 0; i < n; ++i) {
                    decrease += g[i] * (x[i] - trial[i]);
                }
                fTrial = counter.value(trial);
                if (fTrial <= fx - 1e-4 * decrease || stepLength < 1e-12) {
                    break;
                }
            }
            double const decrease = fx - fTrial;
            if (fTrial < fx) {
                x = trial;
                fx = fTrial;
            }
            if (!(decrease > 1e-10 * (1.0 + std::fabs(fx)))) {
                break;
            }
        }
    }
}

struct Tally {
    int successes = 0;
    double callsToSuccess = 0.0;  // summed over successful runs
    double budget = 0.0;
    std::vector<double> bestValues;

    void add(Counter const& counter) {
        bestValues.push_back(counter.best);
        if (counter.firstSuccess != 0) {
            ++successes;
            callsToSuccess += static_cast<double>(counter.firstSuccess);
        }
    }
    double medianBest() {
        std::sort(bestValues.begin(), bestValues.end());
        return bestValues[bestValues.size() / 2];
    }
};

}  // namespace

int main(int argc, char** argv) {
    int const seeds = argc > 1 ? std::atoi(argv[1]) : 50;
    int const dimension = argc > 2 ? std::atoi(argv[2]) : 2;
    Kestrel::AnnealingSettings4HSA settings;
    settings.coolingFactor = argc > 3 ? std::atof(argv[3]) : settings.coolingFactor;
    settings.stepsPerSample = argc > 4 ? std::atoi(argv[4]) : settings.stepsPerSample;
    settings.stepFraction = argc > 5 ? std::atof(argv[5]) : settings.stepFraction;
    settings.finalTemperatureRatio = argc > 6 ? std::atof(argv[6]) : settings.finalTemperatureRatio;
    settings.chains = argc > 7 ? std::atoi(argv[7]) : settings.chains;
    settings.refinementCalls = argc > 8 ? std::atoi(argv[8]) : settings.refinementCalls;
    settings.freshStartInterval = argc > 9 ? std::atoi(argv[9]) : settings.freshStartInterval;
    std::printf(
        "settings: coolingFactor %g, stepsPerSample %d, stepFraction %g, finalTemperatureRatio %g, "
        "warmUpPoints %d, chains %d, refinementCalls %d, freshStartInterval %d\n",
        settings.coolingFactor, settings.stepsPerSample, settings.stepFraction,
        settings.finalTemperatureRatio, settings.warmUpPoints, settings.chains, settings.refinementCalls,
        settings.freshStartInterval);
    std::printf("%-11s %5s | %-36s | %-36s\n", "function", "runs", "annealer: found, calls to find, median f",
                "restarts: found, calls to find, median f");
    for (std::string const name : {"rastrigin", "himmelblau", "ackley"}) {
        if (name == "himmelblau" && dimension != 2) {
            continue;
        }
        Kestrel::TestFunction4HSA const f = Kestrel::makeTestFunction4HSA(name, dimension);
        Tally annealer;
        Tally restarts;
        for (int seed = 1; seed <= seeds; ++seed) {
            Counter counter{&f};
            Kestrel::Objective4HSA const objective = [&counter](std::vector<double> const& x) {
                return counter.value(x);
            };
            Kestrel::Gradient4HSA const gradient =
                [&counter](std::vector<double> const& x, std::vector<double>& g) { counter.gradient(x, g); };
            Kestrel::annealInBox4HSA(objective, gradient, f.box, static_cast<std::uint32_t>(seed), settings);
            annealer.add(counter);
            annealer.budget += static_cast<double>(counter.calls);
            Counter plain{&f};
            localSearch(plain, f.box, static_cast<std::uint32_t>(seed), counter.calls);
            restarts.add(plain);
            restarts.budget += static_cast<double>(plain.calls);
        }
        auto line = [seeds](Tally& t) {
            char text[128];
            std::snprintf(text, sizeof text, "%3d/%-3d %9.0f %13.2e", t.successes, seeds,
                          t.successes > 0 ? t.callsToSuccess / t.successes : 0.0, t.medianBest());
            return std::string(text);
        };
        std::printf("%-11s %5d | %-36s | %-36s  (mean budget %.0f calls)\n", name.c_str(), seeds,
                    line(annealer).c_str(), line(restarts).c_str(), annealer.budget / seeds);
    }
    return 0;
}
