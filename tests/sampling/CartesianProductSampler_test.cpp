#include <Kestrel/PopulationSampling.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <random>
#include <set>
#include <stdexcept>
#include <string>

#include "ReferenceSamplers.h"

namespace {

using Kestrel::CartesianProductSampler;
using Candidates = CartesianProductSampler::Candidates;
using Factors = std::vector<std::shared_ptr<Candidates>>;
using Population = CartesianProductSampler::Population;

std::shared_ptr<Candidates> factorOf(Candidates candidates) {
    return std::make_shared<Candidates>(std::move(candidates));
}

// Candidate i of factor f has the single coordinate 100 * f + i, so every coordinate names its origin.
std::shared_ptr<Candidates> numberedFactor(int factor, int count) {
    Candidates candidates;
    for (int i = 0; i < count; ++i) {
        candidates.push_back({100.0 * factor + i});
    }
    return factorOf(candidates);
}

Population populationOf(Factors const& factors, std::vector<int> const& order) {
    return *CartesianProductSampler(factors, order).getPopulation();
}

// Every value of `column` over the population, in population order.
std::vector<double> column(Population const& population, std::size_t column) {
    std::vector<double> values;
    for (auto const& point : population) {
        values.push_back(point.at(column));
    }
    return values;
}

void expectPermutationOf(std::vector<double> values, std::vector<double> expected) {
    std::sort(values.begin(), values.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(values, expected);
}

template <typename Call>
void expectThrowsWithText(Call call, std::string const& text) {
    try {
        call();
        ADD_FAILURE() << "nothing thrown, expected: " << text;
    } catch (std::exception const& error) {
        EXPECT_EQ(std::string(error.what()), text);
    }
}

Factors randomFactors(std::mt19937& engine, int factorCount, int size) {
    Factors factors;
    std::uniform_int_distribution<int> extra(0, 3);
    std::uniform_int_distribution<int> dimension(1, 3);
    for (int f = 0; f < factorCount; ++f) {
        Candidates candidates;
        int const count = size + (f == 0 ? 0 : extra(engine));
        int const dims = dimension(engine);
        for (int i = 0; i < count; ++i) {
            std::vector<double> coordinates;
            for (int d = 0; d < dims; ++d) {
                coordinates.push_back(static_cast<double>(engine()) / 7.0);
            }
            candidates.push_back(coordinates);
        }
        factors.push_back(factorOf(candidates));
    }
    return factors;
}

// Starts with factor 0, the one with the fewest candidates, then names factors at random.
std::vector<int> randomOrder(std::mt19937& engine, int factorCount) {
    std::uniform_int_distribution<int> length(0, 3);
    std::uniform_int_distribution<int> index(0, factorCount - 1);
    std::vector<int> order(1 + static_cast<std::size_t>(length(engine)), 0);
    for (std::size_t k = 1; k < order.size(); ++k) {
        order[k] = index(engine);
    }
    return order;
}

TEST(CartesianProductSampler, OneFactor_PopulationHoldsEachCandidateOnce) {
    Factors const factors{factorOf({{1.0, 1.5}, {2.0, 2.5}, {3.0, 3.5}})};
    Population const population = populationOf(factors, {0});
    ASSERT_EQ(population.size(), 3u);
    std::set<std::vector<double>> const seen(population.begin(), population.end());
    EXPECT_EQ(seen, (std::set<std::vector<double>>{{1.0, 1.5}, {2.0, 2.5}, {3.0, 3.5}}));
    EXPECT_EQ(population, ReferenceSamplers::cartesianProduct(factors, {0}));
}

TEST(CartesianProductSampler, OneFactor_OrderFollowsTheSeededDraws) {
    // Replays the draws of std::mt19937 seeded 377: position floor(u / (1 / r)) of the unused candidates.
    std::mt19937 engine(377);
    std::vector<double> unused{0.0, 1.0, 2.0};
    std::vector<double> expected;
    for (int r = 3; r > 0; --r) {
        double const u = static_cast<double>(engine()) / 4294967296.0;
        std::size_t const j = static_cast<std::size_t>(std::floor(u / (1.0 / r)));
        expected.push_back(unused[j]);
        unused.erase(unused.begin() + static_cast<std::ptrdiff_t>(j));
    }
    EXPECT_EQ(column(populationOf({numberedFactor(0, 3)}, {0}), 0), expected);
}

TEST(CartesianProductSampler, TwoFactors_EachCandidateOfEachFactorUsedOnce) {
    Factors const factors{numberedFactor(0, 3), numberedFactor(1, 3)};
    Population const population = populationOf(factors, {0, 1});
    ASSERT_EQ(population.size(), 3u);
    for (auto const& point : population) {
        EXPECT_EQ(point.size(), 2u);
    }
    expectPermutationOf(column(population, 0), {0.0, 1.0, 2.0});
    expectPermutationOf(column(population, 1), {100.0, 101.0, 102.0});
    EXPECT_EQ(population, ReferenceSamplers::cartesianProduct(factors, {0, 1}));
}

TEST(CartesianProductSampler, PointsConcatenateFactorsInTheNamedOrder) {
    Factors const factors{factorOf({{1.0}, {2.0}}), factorOf({{10.0, 11.0}, {20.0, 21.0}})};
    Population const population = populationOf(factors, {1, 0});
    ASSERT_EQ(population.size(), 2u);
    for (auto const& point : population) {
        ASSERT_EQ(point.size(), 3u);
        EXPECT_EQ(point[0] + 1.0, point[1]);
    }
    expectPermutationOf(column(population, 0), {10.0, 20.0});
    expectPermutationOf(column(population, 2), {1.0, 2.0});
}

TEST(CartesianProductSampler, FactorNamedTwice_ContributesTwoIndependentPermutations) {
    Factors const factors{numberedFactor(0, 40)};
    Population const population = populationOf(factors, {0, 0});
    std::vector<double> all;
    for (int i = 0; i < 40; ++i) {
        all.push_back(i);
    }
    expectPermutationOf(column(population, 0), all);
    expectPermutationOf(column(population, 1), all);
    EXPECT_NE(column(population, 0), column(population, 1));
    EXPECT_EQ(population, ReferenceSamplers::cartesianProduct(factors, {0, 0}));
}

TEST(CartesianProductSampler, LongerSecondFactor_ExtraCandidatesNeverUsed) {
    Factors const factors{numberedFactor(0, 4), numberedFactor(1, 9)};
    Population const population = populationOf(factors, {0, 1});
    ASSERT_EQ(population.size(), 4u);
    expectPermutationOf(column(population, 1), {100.0, 101.0, 102.0, 103.0});
    EXPECT_EQ(population, ReferenceSamplers::cartesianProduct(factors, {0, 1}));
}

TEST(CartesianProductSampler, BadIndexInOrder_ThrowsInvalidVectorSubscript) {
    Factors const factors{numberedFactor(0, 3), numberedFactor(1, 3)};
    expectThrowsWithText([&] { CartesianProductSampler(factors, {0, 2}); }, "invalid vector subscript");
    expectThrowsWithText([&] { CartesianProductSampler(factors, {-1}); }, "invalid vector subscript");
    EXPECT_THROW(CartesianProductSampler(factors, {5, 0}), std::out_of_range);
}

TEST(CartesianProductSampler, ShorterLaterFactor_ThrowsInvalidVectorSubscript) {
    Factors const factors{numberedFactor(0, 5), numberedFactor(1, 4)};
    EXPECT_THROW(CartesianProductSampler(factors, {0, 1}), std::out_of_range);
    expectThrowsWithText([&] { CartesianProductSampler(factors, {0, 1}); }, "invalid vector subscript");
    EXPECT_THROW(ReferenceSamplers::cartesianProduct(factors, {0, 1}), std::out_of_range);
}

TEST(CartesianProductSampler, EmptyOrder_ThrowsDequeLengthError) {
    Factors const factors{numberedFactor(0, 3)};
    EXPECT_THROW(CartesianProductSampler(factors, {}), std::length_error);
    expectThrowsWithText([&] { CartesianProductSampler(factors, {}); }, "deque<T> too long");
}

TEST(CartesianProductSampler, NullNamedFactor_ThrowsInvalidArgument) {
    Factors const factors{numberedFactor(0, 3), nullptr};
    EXPECT_THROW(CartesianProductSampler(factors, {0, 1}), std::invalid_argument);
}

TEST(CartesianProductSampler, EmptyFirstFactor_GivesEmptyPopulation) {
    Factors const factors{factorOf({}), numberedFactor(1, 3)};
    EXPECT_TRUE(populationOf(factors, {0, 1}).empty());
}

TEST(CartesianProductSampler, CopiesShareThePopulation) {
    CartesianProductSampler const sampler({numberedFactor(0, 5)}, {0});
    CartesianProductSampler copy(sampler);
    EXPECT_EQ(copy.getPopulation(), sampler.getPopulation());
    CartesianProductSampler assigned({numberedFactor(0, 2)}, {0});
    assigned = sampler;
    EXPECT_EQ(assigned.getPopulation(), sampler.getPopulation());
    CartesianProductSampler moved(std::move(copy));
    EXPECT_EQ(moved.getPopulation(), sampler.getPopulation());
}

TEST(CartesianProductSampler, SameInputGivesSamePopulationEveryTime) {
    Factors const factors{numberedFactor(0, 50), numberedFactor(1, 60)};
    EXPECT_EQ(populationOf(factors, {0, 1, 0}), populationOf(factors, {0, 1, 0}));
}

TEST(CartesianProductSampler, LatinProperty_EachCandidateOfEachNamingUsedOnce) {
    std::mt19937 engine(11);
    for (int trial = 0; trial < 30; ++trial) {
        int const factorCount = 1 + trial % 4;
        int const size = 1 + static_cast<int>(engine() % 200);
        Factors factors;
        for (int f = 0; f < factorCount; ++f) {
            factors.push_back(numberedFactor(f, size + f));
        }
        std::vector<int> const order = randomOrder(engine, factorCount);
        int const n = static_cast<int>(factors[static_cast<std::size_t>(order[0])]->size());
        Population const population = populationOf(factors, order);
        ASSERT_EQ(population.size(), static_cast<std::size_t>(n));
        for (std::size_t k = 0; k < order.size(); ++k) {
            std::vector<double> expected;
            for (int i = 0; i < n; ++i) {
                expected.push_back(100.0 * order[k] + i);
            }
            expectPermutationOf(column(population, k), expected);
        }
    }
}

TEST(CartesianProductSampler, FastPathEqualsReferenceOnRandomInputs) {
    std::mt19937 engine(2024);
    for (int trial = 0; trial < 60; ++trial) {
        int const factorCount = 1 + trial % 3;
        int const size = static_cast<int>(engine() % (trial < 50 ? 150 : 1500));
        Factors const factors = randomFactors(engine, factorCount, size);
        std::vector<int> const order = randomOrder(engine, factorCount);
        SCOPED_TRACE(trial);
        EXPECT_EQ(populationOf(factors, order), ReferenceSamplers::cartesianProduct(factors, order));
    }
}

TEST(CartesianProductSampler, ParallelPathEqualsReferenceForOneAndTwoThreads) {
    // Enough points for the parallel loops and the deeper decoding splits; few lists, as the reference
    // erases from the middle of them.
    std::mt19937 engine(31);
    Factors const factors = randomFactors(engine, 2, 21000);
    std::vector<int> const order{0, 1};
    Population const expected = ReferenceSamplers::cartesianProduct(factors, order);
    int const threads = omp_get_max_threads();
    for (int const count : {1, 2}) {
        omp_set_num_threads(count);
        EXPECT_EQ(populationOf(factors, order), expected) << count << " threads";
    }
    omp_set_num_threads(threads);
}

TEST(CartesianProductSampler, OneAndTwoThreadsGiveIdenticalPopulations) {
    std::mt19937 engine(7);
    Factors const factors = randomFactors(engine, 4, 30000);  // enough points for the parallel loops
    std::vector<int> const order{0, 1, 2, 3, 1};
    int const threads = omp_get_max_threads();
    omp_set_num_threads(1);
    Population const single = populationOf(factors, order);
    omp_set_num_threads(2);
    Population const two = populationOf(factors, order);
    omp_set_num_threads(threads);
    EXPECT_EQ(single, two);
}

}  // namespace
