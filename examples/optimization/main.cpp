// Worked example of the cross-entropy optimiser.
//
// A line of 12 readings is cut into 3 pieces so that the largest spread (max - min) inside a piece is as
// small as possible. A selection is the set of 2 cut positions: item c (node c) cuts the line before
// reading c, for c = 1 ... 11. The selections are unordered, so the optimiser sorts them before scoring.
#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

std::vector<double> const kReadings{20.1, 20.4, 19.8, 20.0, 24.9, 25.3, 25.1, 24.7, 30.2, 29.8, 30.5, 30.1};

// Largest spread over the pieces that the ascending cut positions make.
double largestSpread(std::vector<int> const& cuts) {
    double largest = 0.0;
    std::size_t begin = 0;
    for (std::size_t piece = 0; piece <= cuts.size(); ++piece) {
        std::size_t const end =
            piece < cuts.size() ? static_cast<std::size_t>(cuts[piece]) : kReadings.size();
        if (end <= begin) {
            return 1e9;  // an empty piece is not a valid cut
        }
        auto const range = std::minmax_element(kReadings.begin() + static_cast<std::ptrdiff_t>(begin),
                                               kReadings.begin() + static_cast<std::ptrdiff_t>(end));
        largest = std::max(largest, *range.second - *range.first);
        begin = end;
    }
    return largest;
}

}  // namespace

int main() {
    using Optimiser = Kestrel::CombinatorialCrossEntropyOptimization;
    int const items = static_cast<int>(kReadings.size()) - 1;  // possible cut positions 1 ... 11
    int const cuts = 2;

    // Row 0: the first cut drawn, uniform over the items. Row i: the cut drawn after item i, uniform over
    // the other items (a zero for item i itself).
    std::vector<std::vector<double>> matrix(items + 1, std::vector<double>(items, 1.0 / (items - 1)));
    std::fill(matrix[0].begin(), matrix[0].end(), 1.0 / items);
    for (int i = 1; i <= items; ++i) {
        matrix[i][i - 1] = 0.0;
    }

    Optimiser::Objective const objective = largestSpread;  // must outlive optimize()
    Optimiser optimiser(cuts, matrix, objective, false);
    Optimiser::Parameters const parameters{0.8, 0.05, 5.0, 3, true, 30, Optimiser::StaticPopulation};
    std::vector<int> best;
    double const lastMinimum = optimiser.optimize(parameters, best, nullptr, 0);

    std::printf("Cut a line of %zu readings into %d pieces of similar values\n\n  readings:",
                kReadings.size(), cuts + 1);
    for (double const reading : kReadings) {
        std::printf(" %.1f", reading);
    }
    std::printf("\n  best cuts: before readings");
    for (int const cut : best) {
        std::printf(" %d", cut);
    }
    std::printf("\n  pieces:   ");
    int begin = 0;
    for (std::size_t piece = 0; piece <= best.size(); ++piece) {
        int const end = piece < best.size() ? best[piece] : static_cast<int>(kReadings.size());
        std::printf(" [%d..%d]", begin, end - 1);
        begin = end;
    }
    std::printf("\n  largest spread inside a piece: %.2f\n", largestSpread(best));
    std::printf("  objective calls: %llu, best score of the last iteration: %.2f\n",
                static_cast<unsigned long long>(optimiser.getNumberOfEvaluations()), lastMinimum);
    return 0;
}
