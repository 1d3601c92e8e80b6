// computeGroups on closed lines of 12, 24 and 48 segments with both dispersion measures, and the exact
// search for every number of groups (calculateOptimalGroupings, computeOptimalGroups) on open lines of up
// to 1000 and closed lines of up to 200 segments. Items are segments.
#include <Kestrel/SegmentGrouper.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <stdexcept>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;

// A line with plateaus of four segments and a gentle ripple, as a drawbead line's values may be.
SegmentGrouper benchLine(int segments, bool closed, SegmentGrouper::DispersionMeasure measure) {
    std::vector<double> values;
    std::vector<double> lengths;
    for (int i = 0; i < segments; ++i) {
        double const plateau = static_cast<double>((i / 4) % 3) * 2.0;
        values.push_back(plateau + 0.05 * std::sin(1.7 * i));
        lengths.push_back(10.0 + 3.0 * std::cos(0.9 * i));
    }
    return SegmentGrouper(values, lengths, closed, measure);
}

// A grouping is a set of distinct 0-based starts in ascending order.
void verify(std::vector<int> const& starts, int segments) {
    if (starts.empty()) {
        throw std::runtime_error("computeGroups found no grouping");
    }
    for (std::size_t k = 0; k < starts.size(); ++k) {
        if (starts[k] < 0 || starts[k] >= segments || (k > 0 && starts[k] <= starts[k - 1])) {
            throw std::runtime_error("computeGroups returned starts out of order or range");
        }
    }
}

void computeGroups(benchmark::State& state, SegmentGrouper::DispersionMeasure measure) {
    int const segments = static_cast<int>(state.range(0));
    SegmentGrouper const grouper = benchLine(segments, true, measure);
    std::vector<int> first;
    grouper.computeGroups(first);
    verify(first, segments);
    std::vector<int> result;
    for (auto _ : state) {
        grouper.computeGroups(result);
        benchmark::DoNotOptimize(result.data());
    }
    if (result != first) {
        state.SkipWithError("computeGroups is not deterministic");
    }
    state.counters["groups"] = static_cast<double>(first.size());
    state.SetItemsProcessed(state.iterations() * segments);
}

void BM_ComputeGroupsMinMax(benchmark::State& state) {
    computeGroups(state, SegmentGrouper::MinMax);
}
void BM_ComputeGroupsVariance(benchmark::State& state) {
    computeGroups(state, SegmentGrouper::Variance);
}

BENCHMARK(BM_ComputeGroupsMinMax)->Arg(12)->Arg(24)->Arg(48)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComputeGroupsVariance)->Arg(12)->Arg(24)->Arg(48)->Unit(benchmark::kMillisecond);

// The exact best grouping for every number of groups. Checked once: the optimum never rises as groups are
// added (up to the near-tie tolerance), and computeOptimalGroups returns a valid grouping.
void optimalGroupings(benchmark::State& state, bool closed, SegmentGrouper::DispersionMeasure measure) {
    int const segments = static_cast<int>(state.range(0));
    SegmentGrouper const grouper = benchLine(segments, closed, measure);
    std::vector<double> values;
    std::vector<std::vector<int>> starts;
    grouper.calculateOptimalGroupings(values, starts);
    for (std::size_t k = 2; k < values.size(); ++k) {
        if (values[k] > values[k - 1] + std::abs(values[k - 1]) * 1e-12) {
            state.SkipWithError("the optimum rose with the number of groups");
        }
    }
    std::vector<int> chosen;
    grouper.computeOptimalGroups(chosen);
    verify(chosen, segments);
    for (auto _ : state) {
        grouper.computeOptimalGroups(chosen);
        benchmark::DoNotOptimize(chosen.data());
    }
    state.counters["groups"] = static_cast<double>(chosen.size());
    state.SetItemsProcessed(state.iterations() * segments);
}

void BM_ComputeOptimalGroupsOpenMinMax(benchmark::State& state) {
    optimalGroupings(state, false, SegmentGrouper::MinMax);
}
void BM_ComputeOptimalGroupsOpenVariance(benchmark::State& state) {
    optimalGroupings(state, false, SegmentGrouper::Variance);
}
void BM_ComputeOptimalGroupsClosedMinMax(benchmark::State& state) {
    optimalGroupings(state, true, SegmentGrouper::MinMax);
}
void BM_ComputeOptimalGroupsClosedVariance(benchmark::State& state) {
    optimalGroupings(state, true, SegmentGrouper::Variance);
}

BENCHMARK(BM_ComputeOptimalGroupsOpenMinMax)->Arg(48)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComputeOptimalGroupsOpenVariance)->Arg(48)->Arg(200)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComputeOptimalGroupsClosedMinMax)->Arg(48)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComputeOptimalGroupsClosedVariance)->Arg(48)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
