#include <Kestrel/ReadyComponents4HSA.h>

#include "RandomDeviates4HSA.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Kestrel::Box4HSA;
using Kestrel::BoxDomain4HSA;
using Kestrel::GeometricCoolingSchedule4HSA;
using Kestrel::LeapfrogThermalBath4HSA;
using Kestrel::ObjectiveInterpolator4HSA;
using Kestrel::State4HSA;
using Pair = std::pair<double, double>;

// ---- random deviates -------------------------------------------------------------------------------

TEST(RandomDeviates4HSA, UniformUsesTwoOutputsWithFiftyThreeBits) {
    std::mt19937 engine(5);
    std::mt19937 reference(5);
    for (int i = 0; i < 1000; ++i) {
        std::uint32_t const a = reference() >> 5;
        std::uint32_t const b = reference() >> 6;
        double const u = Kestrel::annealing::drawUniform53(engine);
        EXPECT_EQ(u, (a * 67108864.0 + b) / 9007199254740992.0);
        EXPECT_GE(u, 0.0);
        EXPECT_LT(u, 1.0);
    }
}

TEST(RandomDeviates4HSA, NormalDeviatesFollowThePolarMethod) {
    std::mt19937 engine(9);
    std::mt19937 reference(9);
    std::vector<double> deviates(7);
    Kestrel::annealing::fillStandardNormal(engine, deviates);
    std::vector<double> expected;
    while (expected.size() < 8) {
        double v1 = 0.0;
        double v2 = 0.0;
        double s = 0.0;
        do {
            v1 = 2.0 * Kestrel::annealing::drawUniform53(reference) - 1.0;
            v2 = 2.0 * Kestrel::annealing::drawUniform53(reference) - 1.0;
            s = v1 * v1 + v2 * v2;
        } while (s >= 1.0 || s == 0.0);
        double const m = std::sqrt(-2.0 * std::log(s) / s);
        expected.push_back(v1 * m);
        expected.push_back(v2 * m);
    }
    expected.pop_back();  // the spare of the last pair is dropped
    EXPECT_EQ(deviates, expected);
    EXPECT_EQ(engine(), reference());  // the same number of outputs consumed
}

TEST(RandomDeviates4HSA, NormalDeviatesHaveUnitVariance) {
    std::mt19937 engine(1);
    std::vector<double> deviates(20000);
    Kestrel::annealing::fillStandardNormal(engine, deviates);
    double sum = 0.0;
    for (double const z : deviates) {
        sum += z;
    }
    double const mean = sum / deviates.size();
    double squares = 0.0;
    for (double const z : deviates) {
        squares += (z - mean) * (z - mean);
    }
    EXPECT_NEAR(mean, 0.0, 0.03);
    EXPECT_NEAR(squares / deviates.size(), 1.0, 0.04);
}

// ---- box domain ------------------------------------------------------------------------------------

TEST(BoxDomain4HSA, StartsAtTheCentreOrTheGivenPosition) {
    BoxDomain4HSA const centred(Box4HSA{{-1.0, 3.0}, {2.0, 2.0}});
    std::vector<double> position;
    centred.proposeInitialPosition(position);
    EXPECT_EQ(position, (std::vector<double>{1.0, 2.0}));
    EXPECT_EQ(centred.getDimensionality(), 2);
    BoxDomain4HSA const given(Box4HSA{{-1.0, 3.0}}, {3.0});
    given.proposeInitialPosition(position);
    EXPECT_EQ(position, std::vector<double>{3.0});
}

TEST(BoxDomain4HSA, RejectsInvalidBoxesAndStarts) {
    EXPECT_THROW(BoxDomain4HSA(Box4HSA{}), std::invalid_argument);
    EXPECT_THROW(BoxDomain4HSA(Box4HSA{{1.0, 0.0}}), std::invalid_argument);
    EXPECT_THROW(BoxDomain4HSA(Box4HSA{{0.0, std::numeric_limits<double>::infinity()}}),
                 std::invalid_argument);
    EXPECT_THROW(BoxDomain4HSA(Box4HSA{{std::nan(""), 1.0}}), std::invalid_argument);
    EXPECT_THROW(BoxDomain4HSA(Box4HSA{{0.0, 1.0}}, {2.0}), std::invalid_argument);
    EXPECT_THROW(BoxDomain4HSA(Box4HSA{{0.0, 1.0}}, {0.5, 0.5}), std::invalid_argument);
}

TEST(BoxDomain4HSA, MoveInsideIsNoHit) {
    BoxDomain4HSA const box(Box4HSA{{0.0, 1.0}, {0.0, 1.0}});
    std::vector<double> velocity{1.0, -1.0};
    double fraction = 1.0;
    EXPECT_FALSE(box.calculateCollision({0.2, 0.8}, {0.9, 0.1}, velocity, fraction));
    EXPECT_FALSE(
        box.calculateCollision({0.2, 0.8}, {1.0, 0.0}, velocity, fraction));  // on the wall is inside
    EXPECT_EQ(fraction, 1.0);
    EXPECT_EQ(velocity, (std::vector<double>{1.0, -1.0}));
}

TEST(BoxDomain4HSA, HitReflectsTheFirstCrossingCoordinate) {
    BoxDomain4HSA const box(Box4HSA{{0.0, 1.0}, {0.0, 1.0}});
    std::vector<double> velocity{2.0, -0.5};
    double fraction = 1.0;
    // x leaves at t = (1 - 0.5) / (1.5 - 0.5) = 0.5, y at t = (0 - 0.4) / (-0.1 - 0.4) = 0.8.
    EXPECT_TRUE(box.calculateCollision({0.5, 0.4}, {1.5, -0.1}, velocity, fraction));
    EXPECT_EQ(fraction, 0.5);
    EXPECT_EQ(velocity, (std::vector<double>{-2.0, -0.5}));
}

TEST(BoxDomain4HSA, CornerHitReflectsBothCoordinates) {
    BoxDomain4HSA const box(Box4HSA{{-1.0, 1.0}, {-1.0, 1.0}});
    std::vector<double> velocity{-1.0, -1.0};
    double fraction = 1.0;
    EXPECT_TRUE(box.calculateCollision({0.0, 0.0}, {-2.0, -2.0}, velocity, fraction));
    EXPECT_EQ(fraction, 0.5);
    EXPECT_EQ(velocity, (std::vector<double>{1.0, 1.0}));
}

TEST(BoxDomain4HSA, StartBeyondTheWallMovingOutIsAHitWithNothingInside) {
    BoxDomain4HSA const box(Box4HSA{{0.0, 1.0}});
    std::vector<double> velocity{1.0};
    double fraction = 1.0;
    EXPECT_TRUE(box.calculateCollision({1.0 + 1e-15}, {1.5}, velocity, fraction));
    EXPECT_EQ(fraction, 0.0);
    EXPECT_EQ(velocity, std::vector<double>{-1.0});
    // Moving back in from beyond the wall is no hit.
    velocity = {-1.0};
    fraction = 1.0;
    EXPECT_FALSE(box.calculateCollision({1.0 + 1e-15}, {0.5}, velocity, fraction));
}

// ---- interpolator ------------------------------------------------------------------------------------

TEST(ObjectiveInterpolator4HSA, KeepsStatisticsOfEveryValueComputed) {
    ObjectiveInterpolator4HSA model([](std::vector<double> const& x) { return x[0]; },
                                    [](std::vector<double> const&, std::vector<double>&) {});
    EXPECT_EQ(model.calculateValue({2.0}), 2.0);
    Kestrel::Interpolator4HSA::Arrays const arrays = model.improveQualityAt({{10.0}, {1.0}, {3.0}});
    EXPECT_EQ(*arrays.first, (std::vector<double>{10.0, 1.0, 3.0}));
    EXPECT_EQ(*arrays.second, std::vector<double>{1.0});
    EXPECT_EQ(model.calculateAverage(), 16.0 / 4.0);
    EXPECT_DOUBLE_EQ(model.calculateStdDeviation(), std::sqrt((4.0 + 36.0 + 9.0 + 1.0) / 4.0));
    EXPECT_EQ(model.calculateMinMax(), (Pair{1.0, 10.0}));
    EXPECT_EQ(model.getBestPosition(), std::vector<double>{1.0});
    EXPECT_EQ(model.getBestValue(), 1.0);
    EXPECT_EQ(model.getNumberOfObjectiveCalls(), 4u);
}

TEST(ObjectiveInterpolator4HSA, RunningStatisticsAgreeWithTheTwoPassReference) {
    std::mt19937 engine(31);
    std::normal_distribution<double> spread(1e3, 250.0);
    for (int trial = 0; trial < 20; ++trial) {
        ObjectiveInterpolator4HSA model([](std::vector<double> const& x) { return x[0]; },
                                        [](std::vector<double> const&, std::vector<double>&) {});
        std::vector<double> values;
        for (int k = 0; k < 1 + 97 * trial; ++k) {
            values.push_back(spread(engine));
            model.calculateValue({values.back()});
        }
        // Reference: the plain two-pass formulas.
        double sum = 0.0;
        for (double const v : values) {
            sum += v;
        }
        double const average = sum / static_cast<double>(values.size());
        double squares = 0.0;
        for (double const v : values) {
            squares += (v - average) * (v - average);
        }
        double const deviation = std::sqrt(squares / static_cast<double>(values.size()));
        EXPECT_EQ(model.calculateAverage(), average);  // the same sum in the same order
        EXPECT_NEAR(model.calculateStdDeviation(), deviation, 1e-9 * (1.0 + deviation));
    }
}

TEST(ObjectiveInterpolator4HSA, GradientIsNegatedIntoTheForce) {
    ObjectiveInterpolator4HSA const model([](std::vector<double> const&) { return 0.0; },
                                          [](std::vector<double> const& x, std::vector<double>& g) {
                                              g[0] = 2.0 * x[0];
                                              g[1] = -3.0;
                                          });
    std::vector<double> force(2);
    model.calculateGradient({1.5, 0.0}, force);
    EXPECT_EQ(force, (std::vector<double>{-3.0, 3.0}));
    EXPECT_EQ(model.getNumberOfGradientCalls(), 1u);
    EXPECT_EQ(model.getNumberOfObjectiveCalls(), 0u);
}

TEST(ObjectiveInterpolator4HSA, StatisticsBeforeAnyValueAreAnError) {
    ObjectiveInterpolator4HSA const model([](std::vector<double> const&) { return 0.0; },
                                          [](std::vector<double> const&, std::vector<double>&) {});
    EXPECT_THROW(model.calculateAverage(), std::logic_error);
    EXPECT_THROW(model.calculateStdDeviation(), std::logic_error);
    EXPECT_THROW(model.calculateMinMax(), std::logic_error);
    EXPECT_THROW(model.getBestPosition(), std::logic_error);
}

TEST(ObjectiveInterpolator4HSA, EmptyCallbacksRaiseBadFunctionCall) {
    ObjectiveInterpolator4HSA const model{Kestrel::Objective4HSA(), Kestrel::Gradient4HSA()};
    std::vector<double> force(1);
    EXPECT_THROW(model.calculateValue({1.0}), boost::bad_function_call);
    EXPECT_THROW(model.calculateGradient({1.0}, force), boost::bad_function_call);
}

TEST(ObjectiveInterpolator4HSA, RefusesCallsBeyondItsEvaluationBudget) {
    int calls = 0;
    ObjectiveInterpolator4HSA model([&calls](std::vector<double> const& x) { return ++calls, x[0]; },
                                    [&calls](std::vector<double> const&, std::vector<double>& g) {
                                        ++calls;
                                        g[0] = 1.0;
                                    });
    model.limitEvaluations(7, 3);
    std::vector<double> force(1);
    model.calculateValue({1.0});                                                              // 1
    model.calculateGradient({1.0}, force);                                                    // 4
    model.calculateValue({2.0});                                                              // 5
    EXPECT_THROW(model.calculateGradient({1.0}, force), Kestrel::EvaluationBudgetSpent4HSA);  // 8 > 7
    model.calculateValue({3.0});                                                              // 6
    model.calculateValue({0.5});                                                              // 7
    EXPECT_THROW(model.calculateValue({0.0}), Kestrel::EvaluationBudgetSpent4HSA);
    EXPECT_EQ(calls, 5);
    EXPECT_EQ(model.getNumberOfEvaluationsCharged(), 7u);
    EXPECT_EQ(model.getBestValue(), 0.5);  // the refused call left no value behind
    EXPECT_THROW(model.limitEvaluations(10, 0), std::invalid_argument);
    try {
        model.calculateValue({0.0});
        FAIL() << "the budget was spent";
    } catch (Kestrel::EvaluationBudgetSpent4HSA const& error) {
        EXPECT_STREQ(error.what(), "ObjectiveInterpolator4HSA: the evaluation budget is spent");
    }
}

// ---- thermal bath ------------------------------------------------------------------------------------

struct BathRig {
    std::shared_ptr<BoxDomain4HSA> domain;
    std::shared_ptr<ObjectiveInterpolator4HSA> model;
    std::shared_ptr<LeapfrogThermalBath4HSA> bath;
    BathRig(Box4HSA box, Kestrel::Objective4HSA f, Kestrel::Gradient4HSA g, std::uint32_t seed, double step,
            int steps)
        : domain(std::make_shared<BoxDomain4HSA>(std::move(box))),
          model(std::make_shared<ObjectiveInterpolator4HSA>(std::move(f), std::move(g))),
          bath(std::make_shared<LeapfrogThermalBath4HSA>(seed, step, steps)) {
        bath->init(domain, model);
    }
};

double halfSquare(std::vector<double> const& x) {
    double sum = 0.0;
    for (double const xi : x) {
        sum += xi * xi;
    }
    return 0.5 * sum;
}

void identity(std::vector<double> const& x, std::vector<double>& g) {
    g = x;
}

TEST(LeapfrogThermalBath4HSA, MomentaAreNormalWithVarianceTemperaturePlusChange) {
    BathRig rig(
        Box4HSA(2, {-1e9, 1e9}), [](std::vector<double> const&) { return 0.0; },
        [](std::vector<double> const&, std::vector<double>& g) { g.assign(g.size(), 0.0); }, 3u, 0.1, 5);
    State4HSA state(std::vector<double>{0.0, 0.0});
    double squares = 0.0;
    int const samples = 4000;
    for (int i = 0; i < samples; ++i) {
        std::vector<double> const before = state.getPosition();
        rig.bath->calculateSample({2.0, 0.5}, state);
        for (std::size_t k = 0; k < 2; ++k) {
            double const v = state.getVelocity()[k];
            squares += v * v;
            // Free flight for the duration 5 x 0.1, or one step more when rounding leaves a sliver of time.
            double const flight = (state.getPosition()[k] - before[k]) / v;
            EXPECT_TRUE(std::fabs(flight - 0.5) < 1e-6 || std::fabs(flight - 0.6) < 1e-6) << flight;
        }
    }
    EXPECT_NEAR(squares / (2 * samples), 2.5, 0.12);
    EXPECT_EQ(rig.bath->getNumberOfAcceptedSamples(), static_cast<std::uint64_t>(samples));
}

TEST(LeapfrogThermalBath4HSA, SamplesFollowTheBoltzmannDistribution) {
    // f = x^2 / 2 at T = 0.7: positions are normal with variance 0.7.
    BathRig rig(Box4HSA(1, {-50.0, 50.0}), &halfSquare, &identity, 11u, 0.2, 7);
    State4HSA state(std::vector<double>{3.0});
    double squares = 0.0;
    int const samples = 5000;
    for (int i = 0; i < samples; ++i) {
        rig.bath->calculateSample({0.7, 0.0}, state);
        squares += state.getPosition()[0] * state.getPosition()[0];
    }
    EXPECT_NEAR(squares / samples, 0.7, 0.06);
    EXPECT_LT(rig.bath->getNumberOfAcceptedSamples(), static_cast<std::uint64_t>(samples));
}

TEST(LeapfrogThermalBath4HSA, SameSeedGivesTheSameSamples) {
    auto run = [](std::uint32_t seed) {
        BathRig rig(Box4HSA(2, {-2.0, 2.0}), &halfSquare, &identity, seed, 0.3, 10);
        State4HSA state(std::vector<double>{1.0, -1.0});
        std::vector<std::vector<double>> path;
        for (int i = 0; i < 50; ++i) {
            rig.bath->calculateSample({3.0, 0.0}, state);
            path.push_back(state.getPosition());
        }
        return path;
    };
    EXPECT_EQ(run(4u), run(4u));
    EXPECT_NE(run(4u), run(5u));
}

TEST(LeapfrogThermalBath4HSA, SamplesStayInsideTheBox) {
    // A hot particle in a small box bounces off the walls many times per trajectory.
    BathRig rig(Box4HSA{{0.0, 1.0}, {-0.5, 0.5}}, &halfSquare, &identity, 8u, 0.05, 40);
    State4HSA state(std::vector<double>{0.5, 0.0});
    for (int i = 0; i < 300; ++i) {
        rig.bath->calculateSample({50.0, 0.0}, state);
        EXPECT_GE(state.getPosition()[0], -1e-12);
        EXPECT_LE(state.getPosition()[0], 1.0 + 1e-12);
        EXPECT_GE(state.getPosition()[1], -0.5 - 1e-12);
        EXPECT_LE(state.getPosition()[1], 0.5 + 1e-12);
    }
}

TEST(LeapfrogThermalBath4HSA, ParticlePressedAgainstAWallEndsItsTrajectoryThere) {
    // f = -10 x pushes towards the upper wall at 1. A slow particle on the wall whose half-step kick points
    // outwards hits the wall with nothing of the move inside again and again; the integrator alone would
    // give up after 1000 such steps, the bath ends the trajectory at the wall instead.
    BathRig rig(
        Box4HSA{{0.0, 1.0}}, [](std::vector<double> const& x) { return -10.0 * x[0]; },
        [](std::vector<double> const&, std::vector<double>& g) { g[0] = -10.0; }, 2u, 0.1, 20);
    State4HSA state(std::vector<double>{1.0});
    for (int i = 0; i < 20; ++i) {
        EXPECT_NO_THROW(rig.bath->calculateSample({0.01, 0.0}, state));
        EXPECT_GE(state.getPosition()[0], 0.9);
        EXPECT_LE(state.getPosition()[0], 1.0 + 1e-12);
    }
    EXPECT_LT(rig.model->getNumberOfGradientCalls(), 20u * 1000u);
}

TEST(LeapfrogThermalBath4HSA, AtZeroTemperatureTheObjectiveNeverRises) {
    BathRig rig(Box4HSA(2, {-3.0, 3.0}), &halfSquare, &identity, 6u, 0.37, 3);
    State4HSA state(std::vector<double>{2.5, -1.0});
    double value = halfSquare(state.getPosition());
    for (int i = 0; i < 50; ++i) {
        rig.bath->calculateSample({0.0, 0.0}, state);
        double const next = halfSquare(state.getPosition());
        EXPECT_LE(next, value);
        value = next;
    }
}

TEST(LeapfrogThermalBath4HSA, SampleBeforeInitIsAnError) {
    LeapfrogThermalBath4HSA bath(1u, 0.1, 5);
    State4HSA state(std::vector<double>{0.0});
    EXPECT_THROW(bath.calculateSample({1.0, 0.0}, state), std::logic_error);
    EXPECT_EQ(state.getPosition(), std::vector<double>{0.0});
}

TEST(LeapfrogThermalBath4HSA, RejectsInvalidSettings) {
    EXPECT_THROW(LeapfrogThermalBath4HSA(1u, 0.0, 10), std::invalid_argument);
    EXPECT_THROW(LeapfrogThermalBath4HSA(1u, std::numeric_limits<double>::infinity(), 10),
                 std::invalid_argument);
    EXPECT_THROW(LeapfrogThermalBath4HSA(1u, 0.1, 0), std::invalid_argument);
}

// ---- cooling schedule ----------------------------------------------------------------------------------

TEST(GeometricCoolingSchedule4HSA, CoolsGeometricallyUntilTheStoppingTemperature) {
    GeometricCoolingSchedule4HSA schedule(0.5, 1.0);
    Pair tc{4.0, 0.0};
    EXPECT_TRUE(schedule.updateTemperature(tc));
    EXPECT_EQ(tc, (Pair{2.0, 0.0}));
    EXPECT_FALSE(schedule.updateTemperature(tc));  // 1 is not above the stopping temperature
    EXPECT_EQ(tc.first, 1.0);
    EXPECT_EQ(schedule.getNumberOfCoolingSteps(), 2);
}

TEST(GeometricCoolingSchedule4HSA, NeverAsksForDataAndStopsOnNonFiniteTemperatures) {
    GeometricCoolingSchedule4HSA schedule(0.9, 0.0);
    State4HSA const state(std::vector<double>{0.0});
    BathRig rig(Box4HSA(1, {-1.0, 1.0}), &halfSquare, &identity, 1u, 0.1, 1);
    EXPECT_EQ(schedule.proposeAdditionalPopulation({1.0, 0.0}, state, *rig.bath), nullptr);
    Pair infinite{std::numeric_limits<double>::infinity(), 0.0};
    EXPECT_FALSE(schedule.updateTemperature(infinite));
    Pair undefined{std::nan(""), 0.0};
    EXPECT_FALSE(schedule.updateTemperature(undefined));
}

TEST(GeometricCoolingSchedule4HSA, RejectsInvalidSettings) {
    EXPECT_THROW(GeometricCoolingSchedule4HSA(1.0, 0.1), std::invalid_argument);
    EXPECT_THROW(GeometricCoolingSchedule4HSA(0.0, 0.1), std::invalid_argument);
    EXPECT_THROW(GeometricCoolingSchedule4HSA(0.5, -1.0), std::invalid_argument);
    EXPECT_THROW(GeometricCoolingSchedule4HSA(0.5, std::nan("")), std::invalid_argument);
}

}  // namespace

namespace {

// An objective and gradient that count their calls and note every point evaluated.
struct CountingObjective {
    explicit CountingObjective(Kestrel::TestFunction4HSA function) : f(std::move(function)) {}

    Kestrel::TestFunction4HSA f;
    int values = 0;
    int gradients = 0;
    std::vector<std::vector<double>> points;

    ObjectiveInterpolator4HSA interpolator() {
        return ObjectiveInterpolator4HSA(
            [this](std::vector<double> const& x) {
                ++values;
                points.push_back(x);
                return f.objective(x);
            },
            [this](std::vector<double> const& x, std::vector<double>& g) {
                ++gradients;
                f.gradient(x, g);
            });
    }
};

double plane(std::vector<double> const& x) {
    return x[0] + 2.0 * x[1];
}

void planeGradient(std::vector<double> const&, std::vector<double>& g) {
    g[0] = 1.0;
    g[1] = 2.0;
}

}  // namespace

TEST(RefineInBox4HSA, DescendsToTheMinimumOfABowl) {
    CountingObjective counted{Kestrel::makeTestFunction4HSA("sphere", 2)};
    ObjectiveInterpolator4HSA const model = counted.interpolator();
    Kestrel::refineInBox4HSA(model, counted.f.box, {-4.0, 3.0}, 1e-3, 200);
    EXPECT_LT(model.getBestValue(), 1e-12);
    EXPECT_LE(counted.values + counted.gradients, 200);
}

TEST(RefineInBox4HSA, StaysWithinItsCallsAndTheBoxAndNeverRaisesTheBestValue) {
    std::mt19937 engine(23);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int limit = 0; limit <= 40; ++limit) {
        CountingObjective counted{Kestrel::makeTestFunction4HSA("rastrigin", 2)};
        ObjectiveInterpolator4HSA const model = counted.interpolator();
        std::vector<double> const start{-5.12 + 10.24 * unit(engine), -5.12 + 10.24 * unit(engine)};
        Kestrel::refineInBox4HSA(model, counted.f.box, start, 0.01 * unit(engine) + 1e-4, limit);
        EXPECT_LE(counted.values + counted.gradients, limit);
        if (limit < 2) {
            EXPECT_EQ(counted.values + counted.gradients, 0);
            continue;
        }
        ASSERT_FALSE(counted.points.empty());
        EXPECT_EQ(counted.points.front(), start);
        EXPECT_LE(model.getBestValue(), counted.f.objective(start));
        for (std::vector<double> const& point : counted.points) {
            EXPECT_GE(point[0], -5.12);
            EXPECT_LE(point[0], 5.12);
            EXPECT_GE(point[1], -5.12);
            EXPECT_LE(point[1], 5.12);
        }
    }
}

TEST(RefineInBox4HSA, StopsAtACornerThatTheForcePressesInto) {
    ObjectiveInterpolator4HSA const model(&plane, &planeGradient);
    Kestrel::refineInBox4HSA(model, Box4HSA(2, {0.0, 1.0}), {0.0, 0.0}, 0.5, 100);
    EXPECT_EQ(model.getNumberOfObjectiveCalls(), 1u);
    EXPECT_EQ(model.getNumberOfGradientCalls(), 1u);
    EXPECT_EQ(model.getBestValue(), 0.0);
}

TEST(RefineInBox4HSA, SlidesAlongAWallTowardsTheLowestCorner) {
    ObjectiveInterpolator4HSA const model(&plane, &planeGradient);
    Kestrel::refineInBox4HSA(model, Box4HSA(2, {0.0, 1.0}), {0.9, 0.5}, 0.2, 100);
    EXPECT_EQ(model.getBestPosition(), (std::vector<double>{0.0, 0.0}));
    EXPECT_LE(model.getNumberOfObjectiveCalls() + model.getNumberOfGradientCalls(), 100u);
}

TEST(RefineInBox4HSA, FollowsRosenbrocksCurvedValleyToItsMinimum) {
    // A curvature model is what gets along the bent valley within a few dozen steps; plain gradient steps
    // zigzag across it.
    ObjectiveInterpolator4HSA const model(Kestrel::makeTestFunction4HSA("rosenbrock", 2).objective,
                                          Kestrel::makeTestFunction4HSA("rosenbrock", 2).gradient);
    Kestrel::refineInBox4HSA(model, Box4HSA(2, {-5.0, 10.0}), {-1.2, 1.0}, 0.1, 200);
    EXPECT_LT(model.getBestValue(), 1e-10);
    EXPECT_LE(model.getNumberOfObjectiveCalls() + model.getNumberOfGradientCalls(), 200u);
}
