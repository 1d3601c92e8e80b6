// Products c[i][j] = (i + a)(j + a) once took the Munkres steps minutes at n = 2000: the uniqueness
// proof's rounding allowance for the steps grows with n^5 times the costs' scale and gave up from about
// n = 1680, and the steps then adjust the matrix n(n - 1)/2 times. On integers the steps compute exactly,
// so the proof needs no such allowance and applies at every size. The optimum is known: by the
// rearrangement inequality the reversed pairing j = n - 1 - i is the only cheapest assignment, so the steps
// must return it. The suite runs n / 4 by default and the full sizes when KESTREL_LARGE_STRUCTURED_MATRICES
// is set; builds without NDEBUG or with AddressSanitizer use n / 16. One product matrix of the full
// n = 2000 runs in every optimised build (seconds).
#include <Kestrel/HungarianAlgorithm.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__)
constexpr int kReducedSizeDivisor = 4;
constexpr bool kOptimisedBuild = true;
#else
constexpr int kReducedSizeDivisor = 16;
constexpr bool kOptimisedBuild = false;
#endif

int sized(int n) {
    return std::getenv("KESTREL_LARGE_STRUCTURED_MATRICES") != nullptr ? n : n / kReducedSizeDivisor;
}

void expectReversedPairing(int n, double offset) {
    std::vector<std::vector<double>> matrix(n, std::vector<double>(n));
    for (int row = 0; row < n; ++row) {
        for (int col = 0; col < n; ++col) {
            matrix[row][col] = (row + offset) * (col + offset);
        }
    }
    std::vector<int> assignment;
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    std::vector<int> reversed(n);
    double expectedCost = 0.0;
    for (int row = 0; row < n; ++row) {
        reversed[row] = n - 1 - row;
        expectedCost += matrix[row][n - 1 - row];
    }
    EXPECT_EQ(assignment, reversed) << "n = " << n << ", offset " << offset;
    EXPECT_EQ(cost, expectedCost) << "n = " << n << ", offset " << offset;
}

TEST(StructuredMatrices, ProductsOfIndicesGiveTheReversedPairingAtLargeSizes) {
    expectReversedPairing(sized(1680), 0.0);
    expectReversedPairing(sized(2000), 0.0);
}

// The size at which the solver once ran for over ten minutes, in every optimised build without
// AddressSanitizer (the test's CTest timeout bounds it); the other builds run the reduced size.
TEST(StructuredMatrices, ProductsOfIndicesFinishAtTheSizeThatOnceTookMinutes) {
    expectReversedPairing(kOptimisedBuild ? 2000 : sized(2000), 0.0);
}

TEST(StructuredMatrices, ProductsOfIndicesPlusOneGiveTheReversedPairingAtLargeSizes) {
    expectReversedPairing(sized(1700), 1.0);
}

}  // namespace
