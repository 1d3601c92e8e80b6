#include "RemainingIndices.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Kestrel::sampling::RemainingIndices;

TEST(RemainingIndices, TakingByPositionEqualsErasingFromAnAscendingList) {
    std::mt19937 engine(5);
    for (std::size_t const count :
         {1u, 2u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u, 4095u, 4096u, 4097u, 12289u, 20000u}) {
        RemainingIndices remaining(count);
        std::vector<std::size_t> list(count);
        for (std::size_t i = 0; i < count; ++i) {
            list[i] = i;
        }
        while (!list.empty()) {
            std::size_t const position = engine() % list.size();
            ASSERT_EQ(remaining.takeAt(position), list[position]) << "count " << count;
            list.erase(list.begin() + static_cast<std::ptrdiff_t>(position));
        }
    }
}

TEST(RemainingIndices, TakingTheLastPositionEmptiesFromTheBack) {
    RemainingIndices remaining(130);
    for (std::size_t left = 130; left > 0; --left) {
        EXPECT_EQ(remaining.takeAt(left - 1), left - 1);
    }
}

}  // namespace
