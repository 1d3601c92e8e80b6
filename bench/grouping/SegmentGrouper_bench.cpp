// computeGroups on closed lines of 12, 24 and 48 segments with both dispersion measures. Items are the
// numbers of groups tried (one cross-entropy optimisation each).
#include <Kestrel/SegmentGrouper.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <stdexcept>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;

// A closed line with plateaus of four segments and a gentle ripple, as a drawbead line's values may be.
SegmentGrouper closedLine(int segments, SegmentGrouper::DispersionMeasure measure) {
    std::vector<double> values;
    std::vector<double> lengths;
    for (int i = 0; i < segments; ++i) {
        double const plateau = static_cast<double>((i / 4) % 3) * 2.0;
        values.push_back(plateau + 0.05 * std::sin(1.7 * i));
        lengths.push_back(10.0 + 3.0 * std::cos(0.9 * i));
    }
    return SegmentGrouper(values, lengths, true, measure);
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
    SegmentGrouper const grouper = closedLine(segments, measure);
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

}  // namespace
