// The annealing framework and its ready components refuse arrays of the wrong length, missing objects and
// integrations that make no progress, with an exception instead of a memory error or an endless run.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>
#include <Kestrel/ReadyComponents4HSA.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Kestrel::LeapfrogIntegrator;
using Collision = LeapfrogIntegrator::CollisionFunction;
using Gradient = LeapfrogIntegrator::GradientFunction;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

// Counts its calls and writes `written` entries of 1.0.
struct CountingGradient {
    int* calls;
    std::size_t written;
    void operator()(std::vector<double> const&, std::vector<double>& out) const {
        ++*calls;
        out.assign(written, 1.0);
    }
};

// A particle whose gradient writes `written` entries, with an integrator over its arrays (no wall).
struct Particle {
    Particle(std::size_t written, std::vector<double> start, std::vector<double> speed)
        : gradient(CountingGradient{&calls, written}),
          position(std::move(start)),
          velocity(std::move(speed)),
          integrator(nullptr, gradient, position, velocity) {}
    Particle(Particle const&) = delete;
    Particle& operator=(Particle const&) = delete;

    int calls = 0;
    Gradient const gradient;
    std::vector<double> position;
    std::vector<double> velocity;
    LeapfrogIntegrator integrator;
};

TEST(IntegratorInput, GradientThatResizesItsOutputIsRefused) {
    Particle p(5, {0.0, 0.0}, {1.0, 1.0});
    EXPECT_THAT([&] { p.integrator.doSteps(0.1, 1.0); },
                ThrowsMessage<std::invalid_argument>(
                    HasSubstr("the gradient's output has 5 entries, the position at construction 2")));
    EXPECT_EQ(1, p.calls);
}

TEST(IntegratorInput, ShortVelocityIsRefusedBeforeAnyStep) {
    Particle p(3, {0.0, 0.0, 0.0}, {1.0});
    EXPECT_THAT([&] { p.integrator.doSteps(0.1, 1.0); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("the velocity has 1 entries")));
    EXPECT_EQ(0, p.calls);
    EXPECT_EQ((std::vector<double>{0.0, 0.0, 0.0}), p.position);
}

TEST(IntegratorInput, PositionResizedAfterConstructionIsRefused) {
    Particle p(2, {0.0, 0.0}, {1.0, 1.0});
    p.position.resize(7);
    p.velocity.resize(7);
    EXPECT_THAT([&] { p.integrator.doSteps(0.1, 1.0); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("the position has 7 entries")));
    EXPECT_EQ(0, p.calls);
}

TEST(IntegratorInput, DurationTooLongForAStepToCountEndsTheRun) {
    // 1e20 - 0.001 == 1e20: no step changes the remaining time.
    Particle p(1, {0.0}, {0.0});
    EXPECT_THAT([&] { p.integrator.doSteps(0.001, 1e20); },
                ThrowsMessage<std::runtime_error>(HasSubstr("makes no progress")));
    EXPECT_EQ(1001, p.calls);  // one restart, then one gradient per completed step
}

TEST(IntegratorInput, CollisionTestThatShrinksTheVelocityIsRefused) {
    int calls = 0;
    Gradient const gradient = CountingGradient{&calls, 2};
    Collision const shrinking = [](std::vector<double> const&, std::vector<double> const&,
                                   std::vector<double>& v, double& fraction) {
        v.clear();
        fraction = 0.5;
        return true;
    };
    std::vector<double> position{0.0, 0.0};
    std::vector<double> velocity{1.0, 1.0};
    LeapfrogIntegrator integrator(&shrinking, gradient, position, velocity);
    EXPECT_THAT(
        [&] { integrator.doSteps(0.1, 1.0); },
        ThrowsMessage<std::invalid_argument>(HasSubstr("the velocity the collision test left has 0")));
}

// A wall that always lets `fraction` of the move through and reflects nothing.
struct SlowWall {
    int* hits;
    double fraction;
    bool operator()(std::vector<double> const&, std::vector<double> const&, std::vector<double>&,
                    double& f) const {
        ++*hits;
        f = fraction;
        return true;
    }
};

TEST(IntegratorInput, CutStepsWithNegligibleProgressEndTheRun) {
    // Each cut consumes 1e-12 of a step: 10^13 steps would be needed; the block rule stops after 1000.
    int hits = 0;
    int calls = 0;
    Collision const wall = SlowWall{&hits, 1e-12};
    Gradient const gradient = CountingGradient{&calls, 1};
    std::vector<double> position{0.0};
    std::vector<double> velocity{1.0};
    LeapfrogIntegrator integrator(&wall, gradient, position, velocity);
    EXPECT_THAT([&] { integrator.doSteps(0.1, 1.0); },
                ThrowsMessage<std::runtime_error>(HasSubstr("the integration makes no progress")));
    EXPECT_EQ(1000, hits);
}

TEST(IntegratorInput, CutStepsWithSmallButSteadyProgressFinish) {
    // Each cut consumes 1 % of a step: every block of 1000 steps advances well beyond 0.001 of a step.
    int hits = 0;
    int calls = 0;
    Collision const wall = SlowWall{&hits, 0.01};
    Gradient const gradient = CountingGradient{&calls, 1};
    std::vector<double> position{0.0};
    std::vector<double> velocity{1.0};
    LeapfrogIntegrator integrator(&wall, gradient, position, velocity);
    EXPECT_NO_THROW(integrator.doSteps(0.1, 1.0));
    EXPECT_GT(hits, 1000);
}

TEST(ThermalBathInput, SuggestionBeforeInitIsRefused) {
    Kestrel::LeapfrogThermalBath4HSA const bath(7u, 0.1, 2);
    EXPECT_THAT([&] { bath.suggestTemperatureAndChange(); },
                ThrowsMessage<std::logic_error>(HasSubstr("init() has not been called")));
}

std::shared_ptr<Kestrel::ObjectiveInterpolator4HSA> squareObjective() {
    return std::make_shared<Kestrel::ObjectiveInterpolator4HSA>(
        [](std::vector<double> const& x) { return x[0] * x[0] + x[1] * x[1]; },
        [](std::vector<double> const& x, std::vector<double>& g) {
            g[0] = 2.0 * x[0];
            g[1] = 2.0 * x[1];
        });
}

TEST(DriverInput, NullObjectsAreRefused) {
    auto const domain = std::make_shared<Kestrel::BoxDomain4HSA>(Kestrel::Box4HSA(2, {-1.0, 1.0}));
    auto const model = squareObjective();
    auto const bath = std::make_shared<Kestrel::LeapfrogThermalBath4HSA>(7u, 0.1, 2);
    EXPECT_THAT([&] { Kestrel::HamiltonianSimulatedAnnealing(nullptr, model, bath); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("domain is null")));
    EXPECT_THAT([&] { Kestrel::HamiltonianSimulatedAnnealing(domain, nullptr, bath); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("interpolator is null")));
    EXPECT_THAT([&] { Kestrel::HamiltonianSimulatedAnnealing(domain, model, nullptr); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("thermalBath is null")));
}

TEST(ThermalBathInput, StateShorterThanTheDomainIsRefused) {
    auto const domain = std::make_shared<Kestrel::BoxDomain4HSA>(Kestrel::Box4HSA(2, {-1.0, 1.0}));
    auto const model = squareObjective();
    Kestrel::LeapfrogThermalBath4HSA bath(7u, 0.1, 2);
    bath.init(domain, model);
    Kestrel::State4HSA state(std::vector<double>{0.5});
    EXPECT_THAT(
        [&] {
            bath.calculateSample({1.0, 0.0}, state);
        },
        ThrowsMessage<std::invalid_argument>(
            HasSubstr("the state's position has 1 coordinates, the domain 2")));
    EXPECT_EQ(0u, model->getNumberOfObjectiveCalls());
}

TEST(BoxDomainInput, WallTestWithArraysOfAnotherLengthIsRefused) {
    Kestrel::BoxDomain4HSA const domain(Kestrel::Box4HSA(3, {-1.0, 1.0}));
    std::vector<double> velocity{1.0};
    double fraction = 1.0;
    EXPECT_THAT(
        [&] {
            domain.calculateCollision({0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}, velocity, fraction);
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("have 3, 3 and 1 entries for a box of 3")));
}

TEST(RefineInput, PositionLongerThanTheBoxIsRefused) {
    auto const model = squareObjective();
    EXPECT_THAT(
        [&] {
            Kestrel::refineInBox4HSA(*model, Kestrel::Box4HSA(2, {-1.0, 1.0}), {0.1, 0.2, 0.3}, 0.01, 10);
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("position has 3 coordinates, the box 2")));
    EXPECT_EQ(0u, model->getNumberOfObjectiveCalls());
}

TEST(TestFunctionInput, WrongLengthsAreRefused) {
    Kestrel::TestFunction4HSA const himmelblau = Kestrel::makeTestFunction4HSA("himmelblau", 2);
    EXPECT_THAT([&] { himmelblau.objective({1.0}); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("has 1 coordinates, not 2")));
    std::vector<double> gradient(2);
    EXPECT_THAT(
        [&] {
            himmelblau.gradient({1.0, 2.0, 3.0}, gradient);
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("has 3 coordinates, not 2")));
    for (std::string const& name : Kestrel::getTestFunctionNames4HSA()) {
        if (name == "himmelblau") {
            continue;
        }
        Kestrel::TestFunction4HSA const f = Kestrel::makeTestFunction4HSA(name, 3);
        std::vector<double> shortGradient(1);
        EXPECT_THAT(
            [&] {
                f.gradient({1.0, 2.0, 3.0}, shortGradient);
            },
            ThrowsMessage<std::invalid_argument>(HasSubstr("the output has 1 entries for 3 coordinates")))
            << name;
    }
    Kestrel::TestFunction4HSA const levy = Kestrel::makeTestFunction4HSA("levy", 3);
    EXPECT_THAT([&] { levy.objective({}); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("the position has no coordinates")));
}

}  // namespace
