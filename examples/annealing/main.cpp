// Worked example of Hamiltonian simulated annealing.
//
// Section 1 runs the ready annealer (annealInBox4HSA) on the named test functions. Section 2 minimises a
// function of one's own with it. Section 3 assembles the ready classes by hand, plugs in a cooling
// schedule written here, to show how the framework's customisation points fit together, and polishes the
// result with refineInBox4HSA.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>
#include <Kestrel/ReadyComponents4HSA.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string format(std::vector<double> const& x) {
    std::string text = "(";
    for (std::size_t i = 0; i < x.size(); ++i) {
        char number[32];
        std::snprintf(number, sizeof number, "%s%.5f", i ? ", " : "", x[i]);
        text += number;
    }
    return text + ")";
}

void annealTestFunctions() {
    std::printf("1. The ready annealer on the named test functions (seed 7, default settings)\n\n");
    std::printf("   %-16s %-26s %-12s %-10s %-9s\n", "function", "best point", "best value", "f calls",
                "g calls");
    for (std::string const& name : Kestrel::getTestFunctionNames4HSA()) {
        Kestrel::TestFunction4HSA const f = Kestrel::makeTestFunction4HSA(name, 2);
        Kestrel::AnnealingResult4HSA const found =
            Kestrel::annealInBox4HSA(f.objective, f.gradient, f.box, 7u);
        std::printf("   %-16s %-26s %-12.3e %-10llu %-9llu\n", name.c_str(),
                    format(found.bestPosition).c_str(), found.bestValue,
                    static_cast<unsigned long long>(found.objectiveEvaluations),
                    static_cast<unsigned long long>(found.gradientEvaluations));
    }
    std::printf("\n");
}

// A tilted double well with a ripple: the deeper well lies near (1.9, -0.5).
double tiltedWells(std::vector<double> const& p) {
    double const x = p[0];
    double const y = p[1];
    return (x * x - 4.0) * (x * x - 4.0) / 4.0 - 0.8 * x + (y + 0.5) * (y + 0.5) + 0.3 * std::sin(5.0 * y);
}

void tiltedWellsGradient(std::vector<double> const& p, std::vector<double>& g) {
    double const x = p[0];
    double const y = p[1];
    g[0] = x * (x * x - 4.0) - 0.8;
    g[1] = 2.0 * (y + 0.5) + 1.5 * std::cos(5.0 * y);
}

void annealOwnFunction() {
    std::printf("2. A function of one's own: a tilted double well on [-3, 3] x [-2, 2]\n\n");
    Kestrel::Box4HSA const box{{-3.0, 3.0}, {-2.0, 2.0}};
    Kestrel::AnnealingSettings4HSA settings;
    settings.evaluationBudget = 2000;  // a quicker run: two basins need far fewer than the default 10000
    for (std::uint32_t seed : {1u, 2u, 3u}) {
        Kestrel::AnnealingResult4HSA const found =
            Kestrel::annealInBox4HSA(&tiltedWells, &tiltedWellsGradient, box, seed, settings);
        std::printf("   seed %u: f%s = %.6f after %llu samples\n", seed, format(found.bestPosition).c_str(),
                    found.bestValue, static_cast<unsigned long long>(found.samples));
    }
    std::printf("\n");
}

// A cooling schedule of one's own: geometric cooling that prints every tenth temperature and asks the
// interpolator to sample a few points around the current state once, halfway down.
class ReportingSchedule : public Kestrel::CoolingSchedule4HSA {
  public:
    ReportingSchedule(double factor, double stop) : factor_(factor), stop_(stop) {}

  private:
    std::shared_ptr<Population> proposeAdditionalPopulationPrivate(std::pair<double, double> tc,
                                                                   Kestrel::State4HSA const& state,
                                                                   Kestrel::ThermalBath4HSA const&) override {
        if (asked_ || tc.first > 1.0) {
            return nullptr;
        }
        asked_ = true;
        auto population = std::make_shared<Population>();
        for (double const dx : {-0.1, 0.1}) {
            std::vector<double> point = state.getPosition();
            point[0] += dx;
            population->push_back(point);
        }
        std::printf("   T = %-9.4f the schedule asks for %zu more values near %s\n", tc.first,
                    population->size(), format(state.getPosition()).c_str());
        return population;
    }
    bool updateTemperaturePrivate(std::pair<double, double>& tc) override {
        if (++steps_ % 10 == 0) {
            std::printf("   T = %-9.4f after %d cooling steps\n", tc.first, steps_);
        }
        tc.first = factor_ * tc.first;
        return tc.first > stop_;
    }

    double factor_;
    double stop_;
    int steps_ = 0;
    bool asked_ = false;
};

void annealWithOwnSchedule() {
    std::printf("3. The framework by hand: ready domain, interpolator and bath, a schedule of one's own\n\n");
    Kestrel::TestFunction4HSA const f = Kestrel::makeTestFunction4HSA("himmelblau", 2);
    auto domain = std::make_shared<Kestrel::BoxDomain4HSA>(f.box);  // starts at the centre
    auto model = std::make_shared<Kestrel::ObjectiveInterpolator4HSA>(f.objective, f.gradient);
    auto bath = std::make_shared<Kestrel::LeapfrogThermalBath4HSA>(11u, 0.05, 20);
    model->improveQualityAt({{-4.0, -4.0}, {4.0, 4.0}, {0.0, 0.0}, {2.0, -3.0}});  // statistics for T0
    Kestrel::HamiltonianSimulatedAnnealing annealer(domain, model, bath);
    std::pair<double, double> const start = bath->suggestTemperatureAndChange();
    std::printf("   suggested start: temperature %.3f, change %.3f\n", start.first, start.second);
    ReportingSchedule schedule(0.8, 1e-4);
    std::vector<double> result;
    annealer.driveHSA(schedule, result);
    std::printf("   last sample %s with f = %.3e; best seen %s with f = %.3e\n", format(result).c_str(),
                f.objective(result), format(model->getBestPosition()).c_str(), model->getBestValue());
    std::printf("   %llu samples, %llu accepted\n",
                static_cast<unsigned long long>(bath->getNumberOfSamples()),
                static_cast<unsigned long long>(bath->getNumberOfAcceptedSamples()));
    // The annealer's last digits come cheaper from a local descent, as annealInBox4HSA does after each chain.
    Kestrel::refineInBox4HSA(*model, f.box, model->getBestPosition(), 0.05 * 0.05, 40);
    std::printf("   after refineInBox4HSA: best %s with f = %.3e (%llu objective calls in all)\n",
                format(model->getBestPosition()).c_str(), model->getBestValue(),
                static_cast<unsigned long long>(model->getNumberOfObjectiveCalls()));
}

}  // namespace

int main() {
    annealTestFunctions();
    annealOwnFunction();
    annealWithOwnSchedule();
    return 0;
}
