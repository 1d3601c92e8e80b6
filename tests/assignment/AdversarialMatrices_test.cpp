// A hunt for matrices on which the fast routes return anything other than what the Munkres steps alone
// return: matrices built to sit at the margins of the uniqueness proof and of the exact route (costs that
// tie only after rounding, costs a few units in the last place apart, many small values next to one large
// one, huge and tiny magnitudes mixed, forbidden pairs, negative values, near-integers). Every matrix is
// solved by Solve and by the steps alone and the two results must agree bit for bit.
//
// The number of matrices scales with the environment variable KESTREL_ADVERSARIAL_SCALE (default 1: a
// million small matrices and two thousand up to 200 x 200); builds without NDEBUG or with
// AddressSanitizer run a hundredth of that. A long run sets the variable to, say, 50.
#include <Kestrel/HungarianAlgorithm.h>

#include "HungarianAlgorithmInternals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <numeric>
#include <random>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using Matrix = std::vector<std::vector<double>>;
double const inf = std::numeric_limits<double>::infinity();

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

#if defined(NDEBUG)
constexpr bool kOptimised = true;
#else
constexpr bool kOptimised = false;
#endif

double scale() {
    char const* text = std::getenv("KESTREL_ADVERSARIAL_SCALE");
    double const requested = text == nullptr ? 1.0 : std::atof(text);
    double const factor = requested > 0.0 ? requested : 1.0;
    return kOptimised && !kSanitized ? factor : factor / 100.0;
}

// Discards what the solver writes for negative elements while the hunt runs.
class DiscardedCerr {
  public:
    DiscardedCerr() : previous_(std::cerr.rdbuf(&sink_)) {}
    ~DiscardedCerr() { std::cerr.rdbuf(previous_); }

  private:
    struct Sink : std::streambuf {
        int overflow(int c) override { return c; }
        std::streamsize xsputn(char const*, std::streamsize n) override { return n; }
    };
    Sink sink_;
    std::streambuf* previous_;
};

enum class Kind {
    TiesAfterRounding,
    LastBits,
    SmallValuesNextToALargeOne,
    MixedMagnitudes,
    ForbiddenPairs,
    NegativeValues,
    NearIntegers,
    RepeatedLines,
    Count
};

char const* nameOf(Kind kind) {
    static char const* const names[] = {"ties after rounding", "last bits",       "small next to large",
                                        "mixed magnitudes",    "forbidden pairs", "negative values",
                                        "near integers",       "repeated lines"};
    return names[static_cast<int>(kind)];
}

class Generator {
  public:
    explicit Generator(std::uint64_t seed) : engine_(seed) {}

    Matrix make(Kind kind, int nRows, int nCols) {
        Matrix matrix(nRows, std::vector<double>(nCols));
        switch (kind) {
            case Kind::TiesAfterRounding:
                // Tenths: 0.1 + 0.2 != 0.3 in double, so equal real sums differ in the last bits.
                fill(matrix, [&] { return static_cast<double>(below(10)) * 0.1; });
                break;
            case Kind::LastBits:
                fill(matrix, [&] { return unit(); });
                plantNearTie(matrix, [&](double value) { return nudge(value, 1 + below(4)); });
                break;
            case Kind::SmallValuesNextToALargeOne:
                fill(matrix, [&] { return unit() * 1e-9; });
                matrix[below(nRows)][below(nCols)] = std::ldexp(1.0 + unit(), static_cast<int>(below(40)));
                plantNearTie(matrix, [&](double value) { return value + 1e-9 * unit() * 1e-7; });
                break;
            case Kind::MixedMagnitudes:
                fill(matrix, [&] { return std::ldexp(unit(), static_cast<int>(below(90)) - 45); });
                break;
            case Kind::ForbiddenPairs:
                fill(matrix, [&] { return unit(); });
                forbidSome(matrix, 0.15 + 0.1 * static_cast<double>(below(6)));
                break;
            case Kind::NegativeValues:
                fill(matrix, [&] { return unit() - (below(2) == 0 ? 1.0 : 0.5); });
                plantNearTie(matrix, [&](double value) { return nudge(value, 1 + below(3)); });
                break;
            case Kind::NearIntegers:
                fill(matrix,
                     [&] { return static_cast<double>(below(5)) + (below(3) == 0 ? unit() * 1e-13 : 0.0); });
                break;
            case Kind::RepeatedLines:
                fill(matrix, [&] { return unit(); });
                for (int row = 1; row < nRows; ++row) {
                    if (below(3) == 0) {
                        for (int col = 0; col < nCols; ++col) {
                            matrix[row][col] = nudge(matrix[row - 1][col], below(3));
                        }
                    }
                }
                if (below(4) == 0) {
                    forbidSome(matrix, 0.2);
                }
                break;
            case Kind::Count:
                break;
        }
        return matrix;
    }

  private:
    double unit() { return std::uniform_real_distribution<double>(0.0, 1.0)(engine_); }
    std::uint64_t below(std::uint64_t n) { return engine_() % n; }

    template <class Value>
    void fill(Matrix& matrix, Value value) {
        for (auto& row : matrix) {
            for (double& element : row) {
                element = value();
            }
        }
    }

    // Moves a value by `steps` units in the last place (up or down).
    double nudge(double value, std::uint64_t steps) {
        double const direction = below(2) == 0 ? inf : -inf;
        for (std::uint64_t k = 0; k < steps; ++k) {
            value = std::nextafter(value, direction);
        }
        return value;
    }

    // Gives a second assignment (a shifted diagonal) the costs of the first one, changed slightly, so that
    // two assignments lie within rounding of each other.
    template <class Change>
    void plantNearTie(Matrix& matrix, Change change) {
        int const nRows = static_cast<int>(matrix.size());
        int const nCols = static_cast<int>(matrix.front().size());
        int const n = std::min(nRows, nCols);
        if (n < 2) {
            return;
        }
        for (int k = 0; k < n; ++k) {
            matrix[k][k] = std::fabs(matrix[k][k]) * 1e-3 * (matrix[k][k] < 0.0 ? -1.0 : 1.0);
        }
        for (int k = 0; k < n; ++k) {
            matrix[k][(k + 1) % n] = change(matrix[(k + 1) % n][(k + 1) % n]);
        }
    }

    // Forbids a share of the pairs, keeping one random assignment finite so that the matrix is feasible.
    void forbidSome(Matrix& matrix, double share) {
        int const nRows = static_cast<int>(matrix.size());
        int const nCols = static_cast<int>(matrix.front().size());
        std::vector<int> columns(std::max(nRows, nCols));
        std::iota(columns.begin(), columns.end(), 0);
        std::shuffle(columns.begin(), columns.end(), engine_);
        for (int row = 0; row < nRows; ++row) {
            for (int col = 0; col < nCols; ++col) {
                bool const kept = nRows <= nCols ? columns[row] == col : columns[col] == row;
                if (!kept && unit() < share) {
                    matrix[row][col] = inf;
                }
            }
        }
    }

    std::mt19937_64 engine_;
};

bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof(double)) == 0;
}

// Solves by Solve and by the steps alone; returns an empty string when both agree bit for bit, otherwise
// a description of the difference.
std::string disagreement(Matrix& matrix) {
    std::vector<int> fast;
    std::vector<int> steps;
    double const fastCost = HungarianAlgorithm().Solve(matrix, fast);
    double const stepsCost = HungarianAlgorithmInternals::solveByMunkresSteps(matrix, steps);
    if (fast == steps && sameBits(fastCost, stepsCost)) {
        return "";
    }
    return "costs " + std::to_string(fastCost) + " and " + std::to_string(stepsCost);
}

void hunt(int nMatrices, int smallestSide, int largestSide, std::uint64_t seed) {
    DiscardedCerr discarded;
    Generator generator(seed);
    std::mt19937_64 shapes(seed + 1);
    int const kinds = static_cast<int>(Kind::Count);
    for (int trial = 0; trial < nMatrices; ++trial) {
        Kind const kind = static_cast<Kind>(trial % kinds);
        // Sizes lean towards the small end: the steps alone take O(n^4) on the worst of these matrices.
        double const u = std::uniform_real_distribution<double>(0.0, 1.0)(shapes);
        int const span = largestSide - smallestSide + 1;
        int const nRows = smallestSide + static_cast<int>(u * u * u * span) % span;
        int const nCols = trial % 3 == 0 ? nRows : smallestSide + static_cast<int>(shapes() % span);
        Matrix matrix = generator.make(kind, nRows, nCols);
        std::string const difference = disagreement(matrix);
        ASSERT_EQ(difference, "") << nameOf(kind) << ", trial " << trial << ", " << nRows << " x " << nCols;
    }
}

TEST(AdversarialMatrices, AMillionSmallMatricesGiveTheStepsResult) {
    hunt(std::max(1000, static_cast<int>(1e6 * scale())), 1, 6, 20261123);
}

TEST(AdversarialMatrices, ThousandsOfMatricesUpTo200x200GiveTheStepsResult) {
    hunt(std::max(20, static_cast<int>(2000 * scale())), 7, 200, 777);
}

}  // namespace
