#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <gtest/gtest.h>
#include <boost/function.hpp>

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Kestrel::LeapfrogIntegrator;
using Collision = LeapfrogIntegrator::CollisionFunction;
using Gradient = LeapfrogIntegrator::GradientFunction;
using Trajectory = std::vector<std::vector<double>>;

// A constant acceleration that counts its calls and remembers where it was evaluated.
struct ConstantField {
    std::vector<double> acceleration;
    std::vector<std::vector<double>>* calls;
    void operator()(std::vector<double> const& at, std::vector<double>& out) const {
        calls->push_back(at);
        out = acceleration;
    }
};

// A particle in a ConstantField: its own gradient (logging every evaluation in calls), position, velocity
// and trajectory, and an integrator over them with the given wall (null: none). Record::trajectory
// registers the trajectory at construction.
enum class Record { trajectory, nothing };

struct ParticleInConstantField {
    ParticleInConstantField(std::vector<double> field, std::vector<double> start, std::vector<double> speed,
                            Collision const* collision = nullptr, Record record = Record::trajectory)
        : gradient(ConstantField{std::move(field), &calls}),
          position(std::move(start)),
          velocity(std::move(speed)),
          integrator(collision, gradient, position, velocity) {
        if (record == Record::trajectory) {
            integrator.registerTrajectory(&trajectory);
        }
    }
    ParticleInConstantField(ParticleInConstantField const&) = delete;
    ParticleInConstantField& operator=(ParticleInConstantField const&) = delete;

    std::vector<std::vector<double>> calls;
    Gradient const gradient;
    std::vector<double> position;
    std::vector<double> velocity;
    Trajectory trajectory;
    LeapfrogIntegrator integrator;
};

// Reference implementation of the integrator, unoptimised, that the library is compared with bit for bit.
class ReferenceLeapfrog {
  public:
    ReferenceLeapfrog(Collision const* collision, Gradient const& gradient, std::vector<double>& position,
                      std::vector<double>& velocity, Trajectory* trajectory)
        : collision(collision),
          gradient(gradient),
          position(position),
          velocity(velocity),
          trial(position.size(), 0.0),
          acceleration(position.size(), 0.0),
          half(position.size(), 0.0),
          trajectory(trajectory) {}

    static double plan(double h, double T) {
        int k = static_cast<int>(T / h);
        if (k == 0) {
            k = 1;
        }
        if ((k + 0.25) * h < T) {
            return T / (k + 1);
        }
        return h;
    }

    void doSteps(double h, double T) {
        if (T <= 0) {
            return;
        }
        double remaining = T;
        double dt = plan(h, remaining);
        bool restart = true;
        while (remaining > 0) {
            double r = doStep(dt, restart);
            restart = r > 0;
            remaining = remaining - (dt - r);
            if (remaining > 0) {
                dt = plan(h, remaining);
            } else {
                for (std::size_t i = 0; i < acceleration.size(); ++i) {
                    velocity[i] = half[i] - 0.5 * dt * acceleration[i];
                }
            }
        }
    }

  private:
    double doStep(double h, bool restart) {
        if (restart) {
            gradient(position, acceleration);
            for (std::size_t i = 0; i < acceleration.size(); ++i) {
                half[i] = velocity[i] + 0.5 * h * acceleration[i];
            }
        }
        for (std::size_t i = 0; i < acceleration.size(); ++i) {
            trial[i] = position[i] + h * half[i];
        }
        double fraction = 1.0;
        bool hit = false;
        if (collision != nullptr) {
            hit = (*collision)(position, trial, half, fraction);
        }
        double left = (1 - fraction) * h;
        if (hit && left > 0) {
            for (std::size_t i = 0; i < acceleration.size(); ++i) {
                position[i] = fraction * trial[i] + (1 - fraction) * position[i];
            }
            std::swap(velocity, half);
            if (trajectory != nullptr) {
                trajectory->push_back(position);
            }
            return left;
        }
        gradient(trial, acceleration);
        for (std::size_t i = 0; i < acceleration.size(); ++i) {
            half[i] = half[i] + h * acceleration[i];
        }
        std::swap(position, trial);
        if (trajectory != nullptr) {
            trajectory->push_back(position);
        }
        return left;
    }

    Collision const* collision;
    Gradient const& gradient;
    std::vector<double>& position;
    std::vector<double>& velocity;
    std::vector<double> trial;
    std::vector<double> acceleration;
    std::vector<double> half;
    Trajectory* trajectory;
};

TEST(LeapfrogIntegrator, StepOneDurationTwoPointTwoTakesThreeFullSteps) {
    ParticleInConstantField p({0.0}, {0.0}, {1.0});
    p.integrator.doSteps(1.0, 2.2);
    EXPECT_EQ(p.trajectory, (Trajectory{{1.0}, {2.0}, {3.0}}));  // overshoots 2.2 by 0.8
    EXPECT_EQ(p.calls, (std::vector<std::vector<double>>{{0.0}, {1.0}, {2.0}, {3.0}}));
    EXPECT_EQ(p.position, std::vector<double>{3.0});
    EXPECT_EQ(p.velocity, std::vector<double>{1.0});
}

TEST(LeapfrogIntegrator, StepOneDurationTwoPointThreeCutsTwoEqualStepsThenOneFull) {
    ParticleInConstantField p({0.0}, {0.0}, {1.0});
    p.integrator.doSteps(1.0, 2.3);
    double const first = 2.3 / 3.0;
    double const second = (2.3 - first) / 2.0;
    EXPECT_NEAR(second, first, 1e-15);
    ASSERT_EQ(p.trajectory.size(), 3u);
    EXPECT_EQ(p.trajectory[0][0], 0.0 + first * 1.0);
    EXPECT_EQ(p.trajectory[1][0], p.trajectory[0][0] + second * 1.0);
    EXPECT_EQ(p.trajectory[2][0], p.trajectory[1][0] + 1.0);
}

TEST(LeapfrogIntegrator, HalfStepVelocityAndFinalSynchronisation) {
    // Constant acceleration g from x0 with v0, steps of 0.5 for a duration of 1.
    double const g = -3.0;
    double const x0 = 0.25;
    double const v0 = 2.0;
    double const h = 0.5;
    ParticleInConstantField p({g}, {x0}, {v0}, nullptr, Record::nothing);
    p.integrator.doSteps(h, 1.0);
    double half = v0 + 0.5 * h * g;
    double x = x0 + h * half;
    half = half + h * g;
    x = x + h * half;
    half = half + h * g;
    EXPECT_EQ(p.position[0], x);
    EXPECT_EQ(p.velocity[0], half - 0.5 * h * g);
    EXPECT_EQ(p.calls.size(), 3u);
}

TEST(LeapfrogIntegrator, CollisionWithFractionOneIsAFullStepAndKeepsTheVelocityChange) {
    int collisions = 0;
    Collision const collision = [&](std::vector<double> const&, std::vector<double> const&,
                                    std::vector<double>& v, double&) {
        ++collisions;
        v[0] = 2.0 * v[0];
        return true;
    };
    ParticleInConstantField p({0.0, 0.0}, {0.0, 0.0}, {1.0, 1.0}, &collision);
    p.integrator.doSteps(1.0, 2.0);
    // Step 1: half (1, 1) doubled to (2, 1) after the trial point (1, 1) was formed; step 2 continues with
    // (2, 1), whose trial point (3, 2) is taken; the velocity is then (4, 1).
    EXPECT_EQ(collisions, 2);
    EXPECT_EQ(p.trajectory, (Trajectory{{1.0, 1.0}, {3.0, 2.0}}));
    EXPECT_EQ(p.calls.size(), 3u);  // one restart, no further restarts
    EXPECT_EQ(p.velocity, (std::vector<double>{4.0, 1.0}));
}

TEST(LeapfrogIntegrator, NullCollisionNeverCutsAStep) {
    ParticleInConstantField p({0.0}, {0.0}, {1e9});
    p.integrator.doSteps(0.25, 1.0);
    EXPECT_EQ(p.trajectory.size(), 4u);
    EXPECT_EQ(p.calls.size(), 5u);
    EXPECT_EQ(p.position[0], 1e9);
}

TEST(LeapfrogIntegrator, CutStepStopsAtImpactSwapsVelocityAndRestarts) {
    int collisions = 0;
    Collision const wall = [&](std::vector<double> const&, std::vector<double> const& end,
                               std::vector<double>& v, double& fraction) {
        ++collisions;
        if (end[0] <= 1.0) {
            return false;
        }
        fraction = 0.25;
        v[0] = -v[0];
        return true;
    };
    ParticleInConstantField p({1.0}, {0.0}, {3.5}, &wall);
    p.integrator.doSteps(1.0, 1.0);
    // Step 1: half = 3.5 + 0.5 = 4, trial 4, cut at a quarter: impact 0.25 * 4 + 0.75 * 0 = 1, velocity -4,
    // 0.75 left. The remainder 0.75 is shorter than 1.25 steps, so step 2 is a whole nominal step that
    // restarts at 1: half = -4 + 0.5, trial 1 - 3.5, overshooting the duration by 0.25.
    double const impact = 0.25 * 4.0 + (1.0 - 0.25) * 0.0;
    double const dt = 1.0;
    double half = -4.0 + 0.5 * dt * 1.0;
    double const x = impact + dt * half;
    half = half + dt * 1.0;
    ASSERT_EQ(p.trajectory.size(), 2u);
    EXPECT_EQ(p.trajectory[0][0], impact);
    EXPECT_EQ(p.trajectory[1][0], x);
    EXPECT_EQ(p.calls, (std::vector<std::vector<double>>{{0.0}, {impact}, {x}}));
    EXPECT_EQ(p.velocity[0], half - 0.5 * dt * 1.0);
    EXPECT_EQ(collisions, 2);
}

TEST(LeapfrogIntegrator, RunEndingOnACutStepSynchronisesTheSwappedHalfStepArray) {
    Collision const wall = [](std::vector<double> const&, std::vector<double> const&, std::vector<double>& v,
                              double& fraction) {
        fraction = 0.5;
        v[0] = -v[0];
        return true;
    };
    ParticleInConstantField p({2.0}, {0.0}, {1.0}, &wall, Record::nothing);
    p.integrator.doSteps(1.0, 0.2);  // one nominal step, cut after half of it: 0.2 - 0.5 < 0 ends the run
    // After the exchange the half-step array holds the former velocity 1; acceleration 2 from the restart.
    EXPECT_EQ(p.velocity[0], 1.0 - 0.5 * 1.0 * 2.0);
    EXPECT_EQ(p.position[0], 0.5 * (0.0 + 1.0 * (1.0 + 0.5 * 1.0 * 2.0)) + (1.0 - 0.5) * 0.0);
    EXPECT_EQ(p.calls.size(), 1u);
}

TEST(LeapfrogIntegrator, NonPositiveDurationDoesNothing) {
    for (double const T : {0.0, -1.0, -0.0, std::numeric_limits<double>::quiet_NaN()}) {
        ParticleInConstantField p({5.0}, {1.0}, {2.0});
        p.integrator.doSteps(0.1, T);
        EXPECT_TRUE(p.calls.empty());
        EXPECT_TRUE(p.trajectory.empty());
        EXPECT_EQ(p.position, std::vector<double>{1.0});
        EXPECT_EQ(p.velocity, std::vector<double>{2.0});
    }
}

TEST(LeapfrogIntegrator, NonPositiveStepOrInfiniteDurationIsRejected) {
    ParticleInConstantField p({5.0}, {1.0}, {2.0}, nullptr, Record::nothing);
    EXPECT_THROW(p.integrator.doSteps(0.0, 1.0), std::invalid_argument);
    EXPECT_THROW(p.integrator.doSteps(-0.5, 1.0), std::invalid_argument);
    EXPECT_THROW(p.integrator.doSteps(0.1, std::numeric_limits<double>::infinity()), std::invalid_argument);
    EXPECT_TRUE(p.calls.empty());
}

TEST(LeapfrogIntegrator, CollisionWithoutProgressStopsAfterAThousandCutSteps) {
    int collisions = 0;
    Collision const stuck = [&](std::vector<double> const&, std::vector<double> const&,
                                std::vector<double>& v, double& fraction) {
        ++collisions;
        fraction = 0.0;
        v[0] = -v[0];
        return true;
    };
    ParticleInConstantField p({0.0}, {0.5}, {1.0}, &stuck);
    try {
        p.integrator.doSteps(0.1, 1.0);
        FAIL() << "no exception";
    } catch (std::runtime_error const& error) {
        EXPECT_NE(std::string(error.what()).find("integration makes no progress"), std::string::npos);
    }
    EXPECT_EQ(collisions, 1000);
    EXPECT_EQ(p.calls.size(), 1000u);
    EXPECT_EQ(p.trajectory.size(), 1000u);
    EXPECT_EQ(p.position, std::vector<double>{0.5});
    EXPECT_EQ(p.velocity, std::vector<double>{1.0});  // reflected an even number of times
}

TEST(LeapfrogIntegrator, CollisionThatStallsFewerThanAThousandTimesFinishes) {
    int collisions = 0;
    Collision const sticky = [&](std::vector<double> const&, std::vector<double> const&, std::vector<double>&,
                                 double& fraction) {
        ++collisions;
        if (collisions > 999) {
            return false;
        }
        fraction = 0.0;
        return true;
    };
    ParticleInConstantField p({0.0}, {0.0}, {1.0}, &sticky, Record::nothing);
    EXPECT_NO_THROW(p.integrator.doSteps(0.5, 1.0));
    EXPECT_EQ(p.position, std::vector<double>{1.0});
}

TEST(LeapfrogIntegrator, EmptyGradientRaisesBadFunctionCall) {
    Gradient const empty;
    std::vector<double> position{1.0};
    std::vector<double> velocity{2.0};
    LeapfrogIntegrator integrator(nullptr, empty, position, velocity);
    try {
        integrator.doSteps(0.1, 1.0);
        FAIL() << "no exception";
    } catch (boost::bad_function_call const& error) {
        EXPECT_STREQ(error.what(), "call to empty boost::function");
    }
    EXPECT_EQ(position, std::vector<double>{1.0});
    EXPECT_EQ(velocity, std::vector<double>{2.0});
}

TEST(LeapfrogIntegrator, EmptyCollisionRaisesBadFunctionCall) {
    Collision const empty;
    ParticleInConstantField p({0.0}, {1.0}, {2.0}, &empty, Record::nothing);
    EXPECT_THROW(p.integrator.doSteps(0.1, 1.0), boost::bad_function_call);
    EXPECT_EQ(p.calls.size(), 1u);
    EXPECT_EQ(p.position, std::vector<double>{1.0});
    EXPECT_EQ(p.velocity, std::vector<double>{2.0});
}

TEST(LeapfrogIntegrator, NullTrajectorySwitchesRecordingOff) {
    ParticleInConstantField p({0.0}, {0.0}, {1.0});
    p.integrator.doSteps(1.0, 1.0);
    p.integrator.registerTrajectory(nullptr);
    p.integrator.doSteps(1.0, 1.0);
    EXPECT_EQ(p.trajectory, Trajectory{{1.0}});
    EXPECT_EQ(p.position, std::vector<double>{2.0});
}

TEST(LeapfrogIntegrator, VeryLongDurationIsCutIntoStepsNoLongerThanTheNominalStep) {
    int collisions = 0;
    double firstStep = 0.0;
    // Reports the length of the first step and ends the run there.
    Collision const probe = [&](std::vector<double> const& start, std::vector<double> const& end,
                                std::vector<double>&, double&) {
        ++collisions;
        firstStep = end[0] - start[0];
        if (collisions == 1) {
            throw std::range_error("probe");
        }
        return false;
    };
    ParticleInConstantField p({0.0}, {0.0}, {1.0}, &probe, Record::nothing);
    double const T = 1e12 + 0.5;  // 1e12 whole steps and a half left over: T / (1e12 + 1) each
    EXPECT_THROW(p.integrator.doSteps(1.0, T), std::range_error);
    EXPECT_EQ(collisions, 1);
    EXPECT_LT(firstStep, 1.0);
    EXPECT_EQ(firstStep, T / (1e12 + 1.0));
}

// Random harmonic-plus-sine fields with a box wall that reflects or sticks at random; the library and the
// reference see identical callbacks and must agree bit for bit on positions, velocities and records.
TEST(LeapfrogIntegrator, MatchesReferenceOnRandomFieldsAndWalls) {
    std::mt19937 engine(2024);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 300; ++trial) {
        std::size_t const n = 1 + static_cast<std::size_t>(engine() % 4);
        std::vector<double> stiffness(n);
        std::vector<double> start(n);
        std::vector<double> speed(n);
        for (std::size_t i = 0; i < n; ++i) {
            stiffness[i] = 0.5 + 5.0 * unit(engine);  // pulls inward at the walls
            start[i] = -0.9 + 1.8 * unit(engine);
            speed[i] = -3.0 + 6.0 * unit(engine);
        }
        double const h = 0.01 + 0.5 * unit(engine);
        double const T = -0.5 + 4.0 * unit(engine);
        bool const withWall = engine() % 4 != 0;
        double const bounce = unit(engine) < 0.3 ? 0.0 : 1.0;  // 0: absorb the normal velocity
        Gradient const gradient = [&](std::vector<double> const& x, std::vector<double>& a) {
            for (std::size_t i = 0; i < a.size(); ++i) {
                a[i] = -stiffness[i] * x[i] + std::sin(3.0 * x[i]);
            }
        };
        Collision const wall = [&](std::vector<double> const& from, std::vector<double> const& to,
                                   std::vector<double>& v, double& fraction) {
            bool hit = false;
            for (std::size_t i = 0; i < to.size(); ++i) {
                if (std::fabs(to[i]) > 1.0 && std::fabs(to[i]) > std::fabs(from[i])) {
                    double const wallAt = to[i] > 0.0 ? 1.0 : -1.0;
                    double const t = std::max(0.0, (wallAt - from[i]) / (to[i] - from[i]));
                    if (!hit || t < fraction) {
                        fraction = t;
                    }
                    v[i] = -bounce * v[i];
                    hit = true;
                }
            }
            return hit;
        };
        std::vector<double> position = start;
        std::vector<double> velocity = speed;
        Trajectory records;
        std::vector<double> referencePosition = start;
        std::vector<double> referenceVelocity = speed;
        Trajectory referenceRecords;
        LeapfrogIntegrator integrator(withWall ? &wall : nullptr, gradient, position, velocity);
        integrator.registerTrajectory(&records);
        ReferenceLeapfrog reference(withWall ? &wall : nullptr, gradient, referencePosition,
                                    referenceVelocity, &referenceRecords);
        bool stalled = false;
        try {
            integrator.doSteps(h, T);
        } catch (std::runtime_error const&) {
            stalled = true;
        }
        ASSERT_FALSE(stalled) << "trial " << trial;
        reference.doSteps(h, T);
        ASSERT_EQ(position, referencePosition) << "trial " << trial;
        ASSERT_EQ(velocity, referenceVelocity) << "trial " << trial;
        ASSERT_EQ(records, referenceRecords) << "trial " << trial;
    }
}

TEST(LeapfrogIntegrator, CopiesWorkOnTheSameCallerArrays) {
    ParticleInConstantField p({0.0}, {0.0}, {1.0}, nullptr, Record::nothing);
    LeapfrogIntegrator copy(p.integrator);
    copy.doSteps(1.0, 1.0);
    p.integrator = copy;
    p.integrator.doSteps(1.0, 1.0);
    EXPECT_EQ(p.position, std::vector<double>{2.0});
}

}  // namespace
