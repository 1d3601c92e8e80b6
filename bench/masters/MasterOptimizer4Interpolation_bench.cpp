// calculateOptimalMasterIndices on open and closed drawbead toy lines of 20 and 40 segments with 4 and 8
// masters, and the score of one master choice alone.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

// A line whose lengths and bounds vary smoothly with position, the same on every run.
std::shared_ptr<Kestrel::DrawbeadToyModel const> benchLine(int n, bool closed) {
    std::vector<double> lengths(n);
    std::vector<std::pair<double, double>> bounds(n);
    for (int i = 0; i < n; ++i) {
        lengths[i] = 2.0 + 1.5 * std::sin(0.7 * i) + 0.25 * (i % 3);
        bounds[i] = {0.1 + 0.01 * (i % 5), 0.9 - 0.01 * (i % 7)};
    }
    return std::make_shared<Kestrel::DrawbeadToyModel const>(lengths, bounds, closed, nullptr);
}

// Counts objective calls of one search, to report evaluations per second.
class CountingOptimiser : public Kestrel::MasterOptimizer4Interpolation {
  public:
    explicit CountingOptimiser(std::shared_ptr<Kestrel::DrawbeadToyModel const> const& model)
        : MasterOptimizer4Interpolation(model->getMinMaxData(),
                                        [](std::vector<double> const&) { return 0.0; }),
          inner(model) {}

    Kestrel::MasterOptimizer4DrawbeadToyModel inner;
    mutable std::atomic<long> calls{0};

  private:
    std::shared_ptr<std::vector<double>> getInterpolation(
        std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const override {
        return inner.interpolate(masterIndices, masterValues);
    }
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        ++calls;
        return inner.evaluateMasterChoice(masterIndices);
    }
};

void checkChoice(std::vector<int> const& result, int n, int masters) {
    if (static_cast<int>(result.size()) != masters) {
        throw std::runtime_error("wrong number of masters");
    }
    for (std::size_t k = 0; k < result.size(); ++k) {
        if (result[k] < 0 || result[k] >= n || (k > 0 && result[k - 1] >= result[k])) {
            throw std::runtime_error("masters not ascending inside the line");
        }
    }
}

void BM_CalculateOptimalMasterIndices(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    int const masters = static_cast<int>(state.range(1));
    bool const closed = state.range(2) != 0;
    auto const model = benchLine(n, closed);
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(model);

    CountingOptimiser const counting(model);
    std::vector<int> expected;
    counting.calculateOptimalMasterIndices(masters, expected, nullptr);
    checkChoice(expected, n, masters);

    std::vector<int> result;
    for (auto _ : state) {
        optimiser.calculateOptimalMasterIndices(masters, result, nullptr);
        benchmark::DoNotOptimize(result.data());
    }
    if (result != expected) {
        state.SkipWithError("the search changed its answer");
    }
    state.SetItemsProcessed(state.iterations() * counting.calls.load());
    state.counters["evaluations_per_call"] = static_cast<double>(counting.calls.load());
}
BENCHMARK(BM_CalculateOptimalMasterIndices)
    ->ArgNames({"segments", "masters", "closed"})
    ->ArgsProduct({{20, 40}, {4, 8}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_EvaluateMasterChoice(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    int const masters = static_cast<int>(state.range(1));
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(benchLine(n, true));
    std::vector<int> choice(masters);
    for (int k = 0; k < masters; ++k) {
        choice[k] = k * n / masters;
    }
    if (!std::isfinite(optimiser.evaluateMasterChoice(choice))) {
        state.SkipWithError("score not finite");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(optimiser.evaluateMasterChoice(choice));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EvaluateMasterChoice)->ArgNames({"segments", "masters"})->ArgsProduct({{20, 40}, {4, 8}});

}  // namespace

namespace {

// The exact master search; the result is checked once against an evenly spread choice, which it must not
// score worse than.
void BM_CalculateExactOptimalMasterIndices(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    int const masters = static_cast<int>(state.range(1));
    bool const closed = state.range(2) != 0;
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(benchLine(n, closed));
    std::vector<int> first;
    double const score = optimiser.calculateExactOptimalMasterIndices(masters, first, nullptr);
    checkChoice(first, n, masters);
    std::vector<int> even;
    for (int k = 0; k < masters; ++k) {
        even.push_back(k * n / masters);
    }
    if (!(score <= optimiser.evaluateMasterChoice(even))) {
        state.SkipWithError("the exact search scores worse than an evenly spread choice");
    }
    std::vector<int> result;
    for (auto _ : state) {
        benchmark::DoNotOptimize(optimiser.calculateExactOptimalMasterIndices(masters, result, nullptr));
    }
    if (result != first) {
        state.SkipWithError("the exact search is not deterministic");
    }
    state.SetItemsProcessed(state.iterations() * n);
}

}  // namespace

BENCHMARK(BM_CalculateExactOptimalMasterIndices)
    ->ArgNames({"segments", "masters", "closed"})
    ->ArgsProduct({{48, 200}, {20}, {0, 1}})
    ->Unit(benchmark::kMillisecond);
