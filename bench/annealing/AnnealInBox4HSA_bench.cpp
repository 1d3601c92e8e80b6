// Throughput of the leapfrog integrator and of the ready annealer (items: integration steps, and
// objective plus gradient evaluations).
#include <Kestrel/HamiltonianSimulatedAnnealing.h>
#include <Kestrel/ReadyComponents4HSA.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace {

// A harmonic well in n coordinates inside a reflecting box of half-width 1: steps and wall hits.
void BM_LeapfrogIntegrator_DoSteps(benchmark::State& state) {
    std::size_t const n = static_cast<std::size_t>(state.range(0));
    Kestrel::LeapfrogIntegrator::GradientFunction const force = [](std::vector<double> const& x,
                                                                   std::vector<double>& a) {
        for (std::size_t i = 0; i < x.size(); ++i) {
            a[i] = -x[i];
        }
    };
    Kestrel::BoxDomain4HSA const box(Kestrel::Box4HSA(n, {-1.0, 1.0}));
    Kestrel::LeapfrogIntegrator::CollisionFunction const collision =
        [&box](std::vector<double> const& from, std::vector<double> const& to, std::vector<double>& v,
               double& fraction) { return box.calculateCollision(from, to, v, fraction); };
    std::vector<double> position(n, 0.5);
    std::vector<double> velocity(n, 3.0);
    Kestrel::LeapfrogIntegrator integrator(&collision, force, position, velocity);
    int const steps = 1000;
    for (auto _ : state) {
        integrator.doSteps(0.01, 0.01 * steps);
        benchmark::DoNotOptimize(position.data());
    }
    for (double const x : position) {
        if (!(std::fabs(x) <= 1.0 + 1e-9)) {
            throw std::logic_error("the integrator left the box");
        }
    }
    state.SetItemsProcessed(state.iterations() * steps);
}
BENCHMARK(BM_LeapfrogIntegrator_DoSteps)->Arg(2)->Arg(16)->Arg(128);

void BM_AnnealInBox4HSA_Himmelblau(benchmark::State& state) {
    Kestrel::TestFunction4HSA const f = Kestrel::makeTestFunction4HSA("himmelblau", 2);
    std::uint64_t evaluations = 0;
    double bestValue = 0.0;
    for (auto _ : state) {
        Kestrel::AnnealingResult4HSA const found =
            Kestrel::annealInBox4HSA(f.objective, f.gradient, f.box, 1u);
        evaluations += found.objectiveEvaluations + found.gradientEvaluations;
        bestValue = found.bestValue;
    }
    if (!(bestValue < 1e-2)) {
        throw std::logic_error("the annealer missed Himmelblau's minima");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(evaluations));
}
BENCHMARK(BM_AnnealInBox4HSA_Himmelblau);

}  // namespace
