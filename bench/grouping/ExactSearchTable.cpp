// How good is the cross-entropy search? Compares, per line, the cross-entropy search's best grouping for
// every number of groups with the exact optimum (share of k where it is optimal, mean and worst relative
// gap, whether both choose the same k, time of both), and the same for the master positions. Prints the
// Markdown tables of the README (the choice of k reads the grouper's admissibility test through the tests'
// window on it):
//
//   build-release/bench/grouping/exact_search_table
//
// Lines: the closed line of `ktx demo` and seeded random lines of 12, 24, 36 and 48 segments, open and
// closed, with both dispersion measures; for the masters the demo line and seeded random toy models with 2
// to 8 masters.
#include "GroupCountChoice.h"
#include "SegmentGrouperTestAccess.h"
#include "input/DemoLine.h"

#include <Kestrel/MasterOptimizer4Interpolation.h>
#include <Kestrel/SegmentGrouper.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;
using Access = Kestrel::SegmentGrouperTestAccess;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// How far a found value lies above the optimum, relative to the optimum (to the one-group value where the
// optimum is 0).
struct Gaps {
    int optimal = 0;
    int cases = 0;
    double sum = 0.0;
    double worst = 0.0;

    void add(double found, double optimum, double scale) {
        double const reference = optimum != 0.0 ? std::abs(optimum) : std::abs(scale);
        double const gap = found <= optimum + std::abs(optimum) * 1e-12 ? 0.0 : (found - optimum) / reference;
        optimal += gap == 0.0 ? 1 : 0;
        ++cases;
        sum += gap;
        worst = std::max(worst, gap);
    }
};

struct Line {
    std::string name;
    std::vector<double> values;
    std::vector<double> lengths;
    bool closed;
};

Line demoLine() {
    ktx::DemoLine const demo = ktx::makeDemoLine();
    std::vector<double> curvature;
    std::vector<double> lengths;
    SegmentGrouper::calculateSegmentCurvature(demo.points, true, demo.segments, curvature, lengths);
    return {"demo", demo.values, lengths, true};
}

// Plateaus of random width and level with a little noise, lengths between 5 and 15.
Line randomLine(int n, bool closed, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    Line line{"random " + std::to_string(seed), {}, {}, closed};
    double level = unit(random);
    for (int i = 0; i < n; ++i) {
        if (unit(random) < 0.25) {
            level = unit(random);
        }
        line.values.push_back(level + 0.05 * unit(random));
        line.lengths.push_back(5.0 + 10.0 * unit(random));
    }
    return line;
}

void groupingRow(Line const& line, SegmentGrouper::DispersionMeasure measure) {
    SegmentGrouper const grouper(line.values, line.lengths, line.closed, measure);
    int const n = static_cast<int>(line.values.size());
    auto const crossEntropyStart = Clock::now();
    std::vector<double> crossEntropy;
    std::vector<std::vector<int>> crossEntropyStarts;
    grouper.calculateCrossEntropyGroupings(crossEntropy, crossEntropyStarts, {});
    auto const isAcceptable = [&grouper](std::vector<int> const& starts) {
        return Access::isAcceptableGrouping(grouper, starts);
    };
    std::size_t const crossEntropyChoice =
        Kestrel::grouping::chooseNumberOfGroups(crossEntropy, crossEntropyStarts, isAcceptable);
    double const crossEntropySeconds = secondsSince(crossEntropyStart);

    auto const exactStart = Clock::now();
    std::vector<double> exact;
    std::vector<std::vector<int>> exactStarts;
    grouper.calculateOptimalGroupings(exact, exactStarts);
    std::size_t const exactChoice = Kestrel::grouping::chooseNumberOfGroups(exact, exactStarts, isAcceptable);
    double const exactSeconds = secondsSince(exactStart);

    Gaps gaps;
    for (std::size_t k = 1; k <= static_cast<std::size_t>(n); ++k) {
        gaps.add(crossEntropy[k], exact[k], exact[1]);
    }
    std::printf("| %s | %d | %s | %s | %d/%d | %.2e | %.2e | %s (%zu / %zu) | %.3f | %.2f |\n",
                line.name.c_str(), n, line.closed ? "closed" : "open",
                measure == SegmentGrouper::MinMax ? "MinMax" : "Variance", gaps.optimal, gaps.cases,
                gaps.sum / gaps.cases, gaps.worst, crossEntropyChoice == exactChoice ? "yes" : "no",
                crossEntropyChoice, exactChoice, crossEntropySeconds, exactSeconds * 1000.0);
    std::fflush(stdout);
}

void mastersRow(std::string const& name, std::vector<double> const& lengths, bool closed) {
    int const n = static_cast<int>(lengths.size());
    std::vector<std::pair<double, double>> const bounds(lengths.size(), {0.1, 0.9});
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimiser(
        std::make_shared<Kestrel::DrawbeadToyModel const>(lengths, bounds, closed, nullptr));
    Gaps gaps;
    double crossEntropySeconds = 0.0;
    double exactSeconds = 0.0;
    int const most = std::min(8, n / 2);
    for (int m = 2; m <= most; ++m) {
        auto const crossEntropyStart = Clock::now();
        std::vector<int> found;
        optimiser.calculateOptimalMasterIndices(m, found, nullptr);
        crossEntropySeconds += secondsSince(crossEntropyStart);
        auto const exactStart = Clock::now();
        std::vector<int> best;
        double const optimum = optimiser.calculateExactOptimalMasterIndices(m, best, nullptr);
        exactSeconds += secondsSince(exactStart);
        gaps.add(optimiser.evaluateMasterChoice(found), optimum, optimum);
    }
    std::printf("| %s | %d | %s | 2 ... %d | %d/%d | %.2e | %.2e | %.3f | %.2f |\n", name.c_str(), n,
                closed ? "closed" : "open", most, gaps.optimal, gaps.cases, gaps.sum / gaps.cases, gaps.worst,
                crossEntropySeconds, exactSeconds * 1000.0);
    std::fflush(stdout);
}

}  // namespace

int main() {
    std::printf("Grouping: every number of groups k = 1 ... n\n\n");
    std::printf(
        "| line | segments | line kind | measure | k where cross-entropy is optimal | mean gap | worst gap "
        "| same k chosen (cross-entropy / exact) | cross-entropy s | exact ms |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|---|\n");
    Line const demo = demoLine();
    for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
        groupingRow(demo, measure);
    }
    unsigned seed = 1;
    for (int const n : {12, 24, 36, 48}) {
        for (bool const closed : {false, true}) {
            Line const line = randomLine(n, closed, seed++);
            for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
                groupingRow(line, measure);
            }
        }
    }
    std::printf("\nMasters: toy model, bounds [0.1, 0.9], derived transitions\n\n");
    std::printf(
        "| line | segments | line kind | masters | masters where cross-entropy is optimal | mean gap | worst "
        "gap | cross-entropy s | exact ms |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|\n");
    mastersRow("demo", demo.lengths, true);
    for (int const n : {12, 24, 36, 48}) {
        for (bool const closed : {false, true}) {
            Line const line = randomLine(n, closed, seed++);
            mastersRow(line.name, line.lengths, closed);
        }
    }
    return 0;
}
