#include <Kestrel/ReadyComponents4HSA.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using Kestrel::BasinHoppingThermalBath4HSA;
using Kestrel::Box4HSA;
using Kestrel::BoxDomain4HSA;
using Kestrel::ObjectiveInterpolator4HSA;
using Kestrel::State4HSA;
using Kestrel::TestFunction4HSA;

// A bath bound to a test function over its box, with every objective call's point noted.
struct HoppingRig {
    HoppingRig(TestFunction4HSA function, std::uint32_t seed, int descentCalls = 200,
               double jumpFraction = 1.0)
        : f(std::move(function)),
          domain(std::make_shared<BoxDomain4HSA>(f.box)),
          model(std::make_shared<ObjectiveInterpolator4HSA>(
              [this](std::vector<double> const& x) {
                  points.push_back(x);
                  return f.objective(x);
              },
              f.gradient)),
          bath(std::make_shared<BasinHoppingThermalBath4HSA>(seed, f.box, descentCalls, jumpFraction)) {
        bath->init(domain, model);
    }

    TestFunction4HSA f;
    std::vector<std::vector<double>> points;
    std::shared_ptr<BoxDomain4HSA> domain;
    std::shared_ptr<ObjectiveInterpolator4HSA> model;
    std::shared_ptr<BasinHoppingThermalBath4HSA> bath;
};

TEST(BasinHoppingThermalBath4HSA, AtZeroTemperatureTheValueNeverRisesAndStaysInTheBox) {
    HoppingRig rig(Kestrel::makeTestFunction4HSA("rastrigin", 4), 5u);
    State4HSA state(std::vector<double>{4.1, -3.3, 2.2, 0.6});
    double value = rig.f.objective(state.getPosition());
    for (int sample = 0; sample < 1000; ++sample) {
        rig.bath->calculateSample({0.0, 0.0}, state);
        double const now = rig.f.objective(state.getPosition());
        EXPECT_LE(now, value) << "sample " << sample;
        value = now;
    }
    for (std::vector<double> const& point : rig.points) {
        for (std::size_t i = 0; i < point.size(); ++i) {
            EXPECT_GE(point[i], -5.12);
            EXPECT_LE(point[i], 5.12);
        }
    }
    EXPECT_LT(value, 1.0);  // from about 60: the hops carry the coordinates down the funnel
    EXPECT_EQ(rig.bath->getNumberOfSamples(), 1000u);
}

TEST(BasinHoppingThermalBath4HSA, AnAcceptedJumpEndsAtTheBottomOfItsBasin) {
    HoppingRig rig(Kestrel::makeTestFunction4HSA("sphere", 3), 9u);
    State4HSA state(std::vector<double>{4.0, -4.0, 3.0});
    rig.bath->calculateSample({0.0, 0.0}, state);
    ASSERT_EQ(rig.bath->getNumberOfAcceptedSamples(), 1u);
    EXPECT_LT(rig.f.objective(state.getPosition()), 1e-12);
}

TEST(BasinHoppingThermalBath4HSA, ARejectedJumpCostsOneCallAndLeavesTheState) {
    // At the bottom of a bowl every jump is uphill; at temperature 0 it is rejected.
    HoppingRig rig(Kestrel::makeTestFunction4HSA("sphere", 3), 4u);
    State4HSA state(std::vector<double>{0.0, 0.0, 0.0});
    for (int sample = 0; sample < 50; ++sample) {
        rig.bath->calculateSample({0.0, 0.0}, state);
        EXPECT_EQ(state.getPosition(), (std::vector<double>{0.0, 0.0, 0.0}));
        EXPECT_EQ(state.getVelocity(), (std::vector<double>{0.0, 0.0, 0.0}));
    }
    // The start value once, then one jumped point per sample; no gradient.
    EXPECT_EQ(rig.model->getNumberOfObjectiveCalls(), 51u);
    EXPECT_EQ(rig.model->getNumberOfGradientCalls(), 0u);
    EXPECT_EQ(rig.bath->getNumberOfAcceptedSamples(), 0u);
}

TEST(BasinHoppingThermalBath4HSA, MostJumpsMoveOneCoordinateAndTheCoordinatesTakeTurns) {
    HoppingRig rig(Kestrel::makeTestFunction4HSA("sphere", 3), 12u);
    State4HSA state(std::vector<double>{0.0, 0.0, 0.0});
    int const samples = 2000;
    for (int sample = 0; sample < samples; ++sample) {
        rig.bath->calculateSample({0.0, 0.0}, state);
    }
    int single = 0;
    std::size_t expected = 0;
    for (std::size_t k = 1; k < rig.points.size(); ++k) {
        std::vector<double> const& p = rig.points[k];
        int moved = 0;
        std::size_t which = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            if (p[i] != 0.0) {
                ++moved;
                which = i;
            }
        }
        if (moved == 1) {
            ++single;
            EXPECT_EQ(which, expected) << "jump " << k;
            expected = (expected + 1) % 3;
        }
    }
    EXPECT_NEAR(static_cast<double>(single) / samples, 0.9, 0.03);
}

TEST(BasinHoppingThermalBath4HSA, JumpLengthsThatSucceedAreTriedMoreOften) {
    // On Rastrigin at temperature 0, jumps of about one unit (the middle decade of a 10.24 wide box) are
    // the ones that reach a lower basin; the bath learns to prefer them over the shortest decade, whose
    // jumps (about 0.01 to 0.1) never leave the basin.
    HoppingRig rig(Kestrel::makeTestFunction4HSA("rastrigin", 1), 21u, 200, 1.0);
    State4HSA state(std::vector<double>{4.97});
    std::vector<double> jumps;
    for (int sample = 0; sample < 400; ++sample) {
        rig.points.clear();
        std::vector<double> const before = state.getPosition();
        rig.bath->calculateSample({0.0, 0.0}, state);
        jumps.push_back(std::fabs(rig.points.back()[0] - before[0]));
        if (state.getPosition()[0] * state.getPosition()[0] < 1e-6) {
            state.getPosition()[0] = 4.97;  // back to the rim: keep the bath learning
        }
    }
    int shortJumps = 0;
    for (std::size_t k = 200; k < jumps.size(); ++k) {
        shortJumps += jumps[k] < 0.05 ? 1 : 0;
    }
    // Without learning about a third of the jumps would fall in the shortest decade.
    EXPECT_LT(shortJumps, 40);
}

TEST(BasinHoppingThermalBath4HSA, SameSeedGivesTheSameSamples) {
    auto run = [](std::uint32_t seed) {
        HoppingRig rig(Kestrel::makeTestFunction4HSA("levy", 3), seed);
        State4HSA state(std::vector<double>{-7.0, 3.0, 9.0});
        std::vector<std::vector<double>> path;
        for (int sample = 0; sample < 100; ++sample) {
            rig.bath->calculateSample({0.5, 0.0}, state);
            path.push_back(state.getPosition());
        }
        return path;
    };
    EXPECT_EQ(run(3u), run(3u));
    EXPECT_NE(run(3u), run(4u));
}

TEST(BasinHoppingThermalBath4HSA, RejectsInvalidSettingsAndUse) {
    Box4HSA const box(2, {-1.0, 1.0});
    EXPECT_THROW(BasinHoppingThermalBath4HSA(1u, Box4HSA{}, 10, 0.5), std::invalid_argument);
    EXPECT_THROW(BasinHoppingThermalBath4HSA(1u, box, -1, 0.5), std::invalid_argument);
    EXPECT_THROW(BasinHoppingThermalBath4HSA(1u, box, 10, 0.0), std::invalid_argument);
    EXPECT_THROW(BasinHoppingThermalBath4HSA(1u, box, 10, 1.01), std::invalid_argument);
    BasinHoppingThermalBath4HSA unbound(1u, box, 10, 0.5);
    State4HSA state(std::vector<double>{0.0, 0.0});
    EXPECT_THROW(unbound.calculateSample({1.0, 0.0}, state), std::logic_error);
    HoppingRig rig(Kestrel::makeTestFunction4HSA("sphere", 2), 1u);
    State4HSA wrong(std::vector<double>{0.0, 0.0, 0.0});
    EXPECT_THROW(rig.bath->calculateSample({1.0, 0.0}, wrong), std::invalid_argument);
}

}  // namespace
