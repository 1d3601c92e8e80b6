#include "PositionDecoding.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Kestrel::sampling::takeOutInOrder;

// The plain method: erase each position from an ascending list.
std::vector<std::uint32_t> takenByErasing(std::vector<std::uint32_t> const& positions) {
    std::vector<std::uint32_t> list(positions.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i] = static_cast<std::uint32_t>(i);
    }
    std::vector<std::uint32_t> taken;
    for (std::uint32_t const position : positions) {
        taken.push_back(list[position]);
        list.erase(list.begin() + position);
    }
    return taken;
}

TEST(PositionDecoding, TakingOutEqualsErasingFromAnAscendingList) {
    std::mt19937 engine(5);
    for (std::size_t const count :
         {0u, 1u, 2u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u, 4095u, 4097u, 20000u}) {
        std::vector<std::uint32_t> positions(count);
        for (std::size_t i = 0; i < count; ++i) {
            positions[i] = static_cast<std::uint32_t>(engine() % (count - i));
        }
        std::vector<std::uint32_t> const expected = takenByErasing(positions);
        takeOutInOrder(positions);
        EXPECT_EQ(positions, expected) << "count " << count;
    }
}

TEST(PositionDecoding, AlwaysTakingTheLastPositionEmptiesFromTheBack) {
    std::vector<std::uint32_t> positions(300);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i] = static_cast<std::uint32_t>(positions.size() - 1 - i);
    }
    takeOutInOrder(positions);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        EXPECT_EQ(positions[i], positions.size() - 1 - i);
    }
}

TEST(PositionDecoding, AlwaysTakingTheFirstPositionEmptiesFromTheFront) {
    std::vector<std::uint32_t> positions(300, 0);
    takeOutInOrder(positions);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        EXPECT_EQ(positions[i], i);
    }
}

}  // namespace
