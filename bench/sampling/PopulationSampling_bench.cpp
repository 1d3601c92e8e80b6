// Speed of the population samplers: Latin-hypercube populations over four factors, the domain sampler
// on candidates spread uniformly over a square, and the polygon domain's candidate generation. Each
// benchmark checks its result once before timing.
#include <Kestrel/PopulationSampling.h>

#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <random>
#include <set>
#include <stdexcept>

namespace {

using Kestrel::CartesianProductSampler;
using Point = Kestrel::DomainSampler2D::Point;

std::vector<std::shared_ptr<CartesianProductSampler::Candidates>> fourFactors(std::size_t size) {
    std::vector<std::shared_ptr<CartesianProductSampler::Candidates>> factors;
    for (int f = 0; f < 4; ++f) {
        auto candidates = std::make_shared<CartesianProductSampler::Candidates>(size);
        for (std::size_t i = 0; i < size; ++i) {
            (*candidates)[i] = {static_cast<double>(i)};
        }
        factors.push_back(candidates);
    }
    return factors;
}

void checkLatin(CartesianProductSampler::Population const& population, std::size_t size) {
    for (std::size_t k = 0; k < 4; ++k) {
        std::vector<bool> used(size, false);
        for (auto const& point : population) {
            used.at(static_cast<std::size_t>(point.at(k))) = true;
        }
        if (population.size() != size || std::count(used.begin(), used.end(), false) != 0) {
            throw std::logic_error("population is not a Latin hypercube");
        }
    }
}

void BM_CartesianProductSampler_FourFactors(benchmark::State& state) {
    std::size_t const size = static_cast<std::size_t>(state.range(0));
    omp_set_num_threads(static_cast<int>(state.range(1)));
    auto const factors = fourFactors(size);
    std::vector<int> const order{0, 1, 2, 3};
    checkLatin(*CartesianProductSampler(factors, order).getPopulation(), size);
    for (auto _ : state) {
        CartesianProductSampler sampler(factors, order);
        benchmark::DoNotOptimize(sampler.getPopulation().get());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_CartesianProductSampler_FourFactors)
    ->ArgsProduct({{10000, 100000, 1000000}, {1, 2}})
    ->ArgNames({"points", "threads"})
    ->Unit(benchmark::kMillisecond);

class UniformSquare : public Kestrel::DomainSampler2D {
  public:
    void generateCandidates(int count, std::vector<Point>& out) override {
        std::mt19937_64 engine(12345);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        out.resize(static_cast<std::size_t>(count));
        for (Point& p : out) {
            p.first = unit(engine);
            p.second = unit(engine);
        }
    }
};

void BM_DomainSampler2D_UniformSquare(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    omp_set_num_threads(static_cast<int>(state.range(1)));
    UniformSquare domain;
    std::vector<Point> candidates;
    domain.generateCandidates(100 * n, candidates);
    std::set<Point> const known(candidates.begin(), candidates.end());
    std::vector<Point> samples;
    domain.calculateSamples(n, samples);
    if (samples.size() != static_cast<std::size_t>(n) ||
        !std::all_of(samples.begin(), samples.end(), [&](Point const& p) { return known.count(p) == 1; })) {
        throw std::logic_error("samples are not candidates");
    }
    for (auto _ : state) {
        domain.calculateSamples(n, samples);
        benchmark::DoNotOptimize(samples.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 100 * n);
}
BENCHMARK(BM_DomainSampler2D_UniformSquare)
    ->ArgsProduct({{5, 50, 300}, {1, 2}})
    ->ArgNames({"samples", "threads"})
    ->Unit(benchmark::kMillisecond);

void BM_PolygonSampler2D_Candidates(benchmark::State& state) {
    Kestrel::PolygonSampler2D polygon({{0, 0}, {10, 0}, {10, 6}, {6, 6}, {6, 3}, {4, 3}, {4, 6}, {0, 6}},
                                      {{{1, 1}, {3, 1}, {3, 2}, {1, 2}}, {{7, 1}, {9, 1}, {8, 2.5}}});
    int const count = static_cast<int>(state.range(0));
    std::vector<Point> candidates;
    polygon.generateCandidates(count, candidates);
    if (!std::all_of(candidates.begin(), candidates.end(),
                     [&](Point const& p) { return polygon.contains(p); })) {
        throw std::logic_error("candidate outside the polygon");
    }
    for (auto _ : state) {
        polygon.generateCandidates(count, candidates);
        benchmark::DoNotOptimize(candidates.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * count);
}
BENCHMARK(BM_PolygonSampler2D_Candidates)->Arg(30000)->Unit(benchmark::kMillisecond);

}  // namespace
