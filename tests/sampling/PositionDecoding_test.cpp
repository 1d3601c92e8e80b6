#include "PositionDecoding.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Kestrel::sampling::DecodingInstructions;
using Kestrel::sampling::stepsTakingOut;

// Every instruction set (the fastest available one is the baseline on processors without wider ones, and
// the baseline is the portable code where no vector instructions are used).
constexpr DecodingInstructions kInstructionSets[] = {
    DecodingInstructions::portable, DecodingInstructions::baseline, DecodingInstructions::fastestAvailable};

// Reference implementation: erase each position from an ascending list, noting the step that takes each
// entry.
std::vector<std::uint32_t> takenByErasing(std::vector<std::uint32_t> const& positions) {
    std::vector<std::uint32_t> list(positions.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i] = static_cast<std::uint32_t>(i);
    }
    std::vector<std::uint32_t> takenAt(positions.size(), 0);
    for (std::size_t step = 0; step < positions.size(); ++step) {
        takenAt[list[positions[step]]] = static_cast<std::uint32_t>(step);
        list.erase(list.begin() + positions[step]);
    }
    return takenAt;
}

std::vector<std::uint32_t> randomPositions(std::mt19937& engine, std::size_t count) {
    std::vector<std::uint32_t> positions(count);
    for (std::size_t i = 0; i < count; ++i) {
        positions[i] = static_cast<std::uint32_t>(engine() % (count - i));
    }
    return positions;
}

TEST(PositionDecoding, StepsTakingOutEqualErasingFromAnAscendingList) {
    std::mt19937 engine(5);
    // Sizes around one word of flags, around sixteen ranges of one word, and several levels of ranges.
    for (std::size_t const count : {0u, 1u, 2u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u, 1023u, 1024u, 1025u,
                                    4095u, 4097u, 16385u, 20000u}) {
        std::vector<std::uint32_t> const positions = randomPositions(engine, count);
        std::vector<std::uint32_t> const expected = takenByErasing(positions);
        for (DecodingInstructions const instructions : kInstructionSets) {
            EXPECT_EQ(stepsTakingOut(positions, instructions), expected) << "count " << count;
        }
    }
}

TEST(PositionDecoding, RandomSizesEqualErasingFromAnAscendingList) {
    std::mt19937 engine(17);
    for (int trial = 0; trial < 40; ++trial) {
        std::size_t const count = engine() % 3000;
        std::vector<std::uint32_t> const positions = randomPositions(engine, count);
        std::vector<std::uint32_t> const expected = takenByErasing(positions);
        for (DecodingInstructions const instructions : kInstructionSets) {
            EXPECT_EQ(stepsTakingOut(positions, instructions), expected) << "count " << count;
        }
    }
}

TEST(PositionDecoding, SkewedPositionsEqualErasingFromAnAscendingList) {
    // Positions crowded at the front or the back leave some ranges full and others empty for long.
    std::mt19937 engine(23);
    for (std::size_t const count : {70u, 1100u, 5000u}) {
        std::vector<std::uint32_t> front(count);
        std::vector<std::uint32_t> back(count);
        for (std::size_t i = 0; i < count; ++i) {
            std::uint32_t const left = static_cast<std::uint32_t>(count - i);
            front[i] = engine() % (left < 3 ? left : 3);
            back[i] = left - 1 - engine() % (left < 3 ? left : 3);
        }
        for (DecodingInstructions const instructions : kInstructionSets) {
            EXPECT_EQ(stepsTakingOut(front, instructions), takenByErasing(front)) << "count " << count;
            EXPECT_EQ(stepsTakingOut(back, instructions), takenByErasing(back)) << "count " << count;
        }
    }
}

TEST(PositionDecoding, AlwaysTakingTheLastPositionEmptiesFromTheBack) {
    std::vector<std::uint32_t> positions(300);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i] = static_cast<std::uint32_t>(positions.size() - 1 - i);
    }
    for (DecodingInstructions const instructions : kInstructionSets) {
        std::vector<std::uint32_t> const takenAt = stepsTakingOut(positions, instructions);
        for (std::size_t v = 0; v < takenAt.size(); ++v) {
            EXPECT_EQ(takenAt[v], takenAt.size() - 1 - v);
        }
    }
}

TEST(PositionDecoding, AlwaysTakingTheFirstPositionEmptiesFromTheFront) {
    std::vector<std::uint32_t> const positions(300, 0);
    for (DecodingInstructions const instructions : kInstructionSets) {
        std::vector<std::uint32_t> const takenAt = stepsTakingOut(positions, instructions);
        for (std::size_t v = 0; v < takenAt.size(); ++v) {
            EXPECT_EQ(takenAt[v], v);
        }
    }
}

}  // namespace
