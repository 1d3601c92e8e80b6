// Products c[i][j] = (i + a)(j + a) are full of ties in the working matrix and once took the Munkres steps
// minutes at n = 2000 (the uniqueness proof's margin grows with n^5 times the costs' scale, and gives up
// from about n = 1680). They now take the exact route. The optimum is known: by the rearrangement
// inequality the reversed pairing j = n - 1 - i is the only cheapest assignment, so the steps must return it.
// Builds without NDEBUG or with AddressSanitizer use smaller n.
#include <Kestrel/HungarianAlgorithm.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__)
constexpr int kSizeDivisor = 1;
#else
constexpr int kSizeDivisor = 8;
#endif

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
    expectReversedPairing(1680 / kSizeDivisor, 0.0);
    expectReversedPairing(2000 / kSizeDivisor, 0.0);
}

TEST(StructuredMatrices, ProductsOfIndicesPlusOneGiveTheReversedPairingAtLargeSizes) {
    expectReversedPairing(1700 / kSizeDivisor, 1.0);
}

}  // namespace
