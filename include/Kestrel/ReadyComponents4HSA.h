// Ready-to-use annealing on a box: concrete customisation classes for HamiltonianSimulatedAnnealing, a set
// of named test functions, and one call that assembles everything.
//
// - BoxDomain4HSA: an axis-aligned box whose walls reflect the velocity.
// - ObjectiveInterpolator4HSA: a caller-supplied objective and gradient; keeps statistics of every value it
//   has computed and the best position seen.
// - LeapfrogThermalBath4HSA: draws momenta from a seeded normal distribution at the current temperature,
//   integrates a trajectory with LeapfrogIntegrator and accepts the end point by the Metropolis rule
//   (Hamiltonian Monte Carlo), so samples follow exp(-f / T) at temperature T.
// - GeometricCoolingSchedule4HSA: T <- factor * T until T reaches a stopping temperature.
// - annealInBox4HSA: warm-up, the four classes above and the driver in one call; returns the best point.
//
// Cost of annealInBox4HSA: warmUpPoints + 2 * samples objective calls and about stepsPerSample + 1
// gradient calls per sample (one more after each wall hit), with samples = 1 + the number of cooling steps
// until T <= finalTemperatureRatio * T0, about 1 + log(finalTemperatureRatio) / log(coolingFactor).
//
//   Kestrel::TestFunction4HSA const rastrigin = Kestrel::makeTestFunction4HSA("rastrigin", 2);
//   Kestrel::AnnealingSettings4HSA settings;            // documented defaults
//   Kestrel::AnnealingResult4HSA const found = Kestrel::annealInBox4HSA(
//       rastrigin.objective, rastrigin.gradient, rastrigin.box, /*seed=*/7u, settings);
//   // found.bestPosition, found.bestValue, found.objectiveEvaluations, found.gradientEvaluations
//
// What to expect: annealing finds the basin of a global minimum when the walk can still cross between
// basins at temperatures where the global one dominates (smooth multimodal functions such as Himmelblau
// and Ackley in 2-D: nearly every seed). Where high ripples separate many nearly equal minima (Rastrigin)
// the walk freezes while several basins are about equally likely, and most runs end in a neighbouring
// local minimum; there, a random-restart local search with the same number of evaluations does better.
// bench/annealing/annealing_comparison measures both over 50 seeds.
//
// Guarantees: every random number comes from std::mt19937 engines seeded by the caller, and normal
// deviates are made from them by the polar method with 53-bit uniforms (two engine outputs each), so the
// same inputs give the same results bit for bit on every run and build (given the same std::log and
// objective). Nothing runs in parallel; the objective and gradient are called from the calling thread.
// Gradient convention: a Gradient4HSA writes the gradient of the objective (the direction of steepest
// ascent); the interpolator hands its negation, the force, to the integrator.
#pragma once

#include <Kestrel/Export.h>
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <boost/function.hpp>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Kestrel {

// f(x): the objective to minimise.
using Objective4HSA = boost::function<double(std::vector<double> const&)>;
// (x, g): writes the gradient of the objective at x into g, which has the length of x.
using Gradient4HSA = boost::function<void(std::vector<double> const&, std::vector<double>&)>;
// Per-coordinate (lower, upper) bounds.
using Box4HSA = std::vector<std::pair<double, double>>;

// An axis-aligned box. Wall test: a coordinate leaves through its upper wall when the end point lies above
// it and above the start point (and likewise below for the lower wall); it crosses at
// t = (wall - start) / (end - start), clamped to at least 0. On a hit, fraction becomes the smallest such t
// and the velocity of every coordinate crossing at that t is reversed. The point of impact is computed by
// the integrator and lies on the wall up to rounding.
class KESTREL_API BoxDomain4HSA : public Domain4HSA {
  public:
    // Starts at the box centre. Throws std::invalid_argument for no coordinates or a bound pair that is
    // not finite with lower <= upper.
    explicit BoxDomain4HSA(Box4HSA box);
    // Starts at the given position. Throws std::invalid_argument as above, or if the position has another
    // length or lies outside the box.
    BoxDomain4HSA(Box4HSA box, std::vector<double> initialPosition);

    Box4HSA const& getBox() const { return box_; }

  private:
    void proposeInitialPositionPrivate(std::vector<double>& position) const override;
    bool calculateCollisionPrivate(std::vector<double> const& start, std::vector<double> const& end,
                                   std::vector<double>& velocity, double& fraction) const override;
    int getDimensionalityPrivate() const override;

    // Where coordinate i crosses a wall on the move from start to end, or -1 if it stays inside.
    double crossingOf(std::size_t i, double start, double end) const;

    Box4HSA box_;
    std::vector<double> initialPosition_;
};

// The caller's objective and gradient, taken as exact (nothing is fitted). Every value computed, by
// calculateValue or improveQualityAt, joins the statistics: average = sum / count, standard deviation =
// sqrt(sum of squared deviations from the average / count), minimum and maximum, and the best (first
// lowest) position. improveQualityAt evaluates the objective at each proposed position in order and
// returns (the values, the best position so far). calculateGradient writes the negated gradient.
// Not safe for concurrent use: const operations update the statistics.
class KESTREL_API ObjectiveInterpolator4HSA : public Interpolator4HSA {
  public:
    // An empty objective or gradient raises boost::bad_function_call when called.
    ObjectiveInterpolator4HSA(Objective4HSA objective, Gradient4HSA gradient);

    std::uint64_t getNumberOfObjectiveCalls() const { return objectiveCalls_; }
    std::uint64_t getNumberOfGradientCalls() const { return gradientCalls_; }
    // Throws std::logic_error ("no objective value has been computed yet") before the first value.
    std::vector<double> const& getBestPosition() const;
    double getBestValue() const;

  private:
    double calculateValuePrivate(std::vector<double> const& position) const override;
    void calculateGradientPrivate(std::vector<double> const& position,
                                  std::vector<double>& gradient) const override;
    Arrays improveQualityAtPrivate(std::deque<std::vector<double>> const& population) override;
    // The three statistics throw std::logic_error ("no objective value has been computed yet") before the
    // first value.
    double calculateAveragePrivate() const override;
    double calculateStdDeviationPrivate() const override;
    std::pair<double, double> const calculateMinMaxPrivate() const override;

    double record(std::vector<double> const& position) const;
    void requireValues() const;

    Objective4HSA objective_;
    Gradient4HSA gradient_;
    mutable std::vector<double> values_;
    mutable std::vector<double> bestPosition_;
    mutable double bestValue_ = 0.0;
    mutable double minimum_ = 0.0;
    mutable double maximum_ = 0.0;
    mutable std::uint64_t objectiveCalls_ = 0;
    mutable std::uint64_t gradientCalls_ = 0;
};

// Hamiltonian Monte Carlo at temperature T with change c (unit mass):
// 1. draw each velocity coordinate as sqrt(T + c) * z with z standard normal (0 when T + c <= 0);
// 2. H0 = f(x) + 0.5 * |v|^2 (f from the interpolator);
// 3. integrate with LeapfrogIntegrator (step, duration step * stepsPerSample) through the domain's wall
//    test and the interpolator's force;
// 4. H1 = f(x') + 0.5 * |v'|^2; accept when H1 <= H0, else when T > 0 and u < exp(-(H1 - H0) / T) with u
//    uniform in [0, 1); a rejected sample returns to (x, v).
// A particle pressed against a wall (16 consecutive wall hits with less than 1e-9 of the move inside)
// ends its trajectory there; the end point then goes to step 4. Copies carry the engine state.
class KESTREL_API LeapfrogThermalBath4HSA : public ThermalBath4HSA {
  public:
    // Throws std::invalid_argument unless step > 0 (finite) and stepsPerSample >= 1. A sample before
    // init() throws std::logic_error; otherwise a sample throws what the domain or interpolator throws.
    LeapfrogThermalBath4HSA(std::uint32_t seed, double step, int stepsPerSample);

    std::uint64_t getNumberOfSamples() const { return samples_; }
    std::uint64_t getNumberOfAcceptedSamples() const { return accepted_; }

  private:
    void calculateSamplePrivate(std::pair<double, double> temperatureAndChange, State4HSA& state) override;

    double uniform();
    double energy(double value, std::vector<double> const& velocity) const;

    std::mt19937 engine_;
    double step_;
    int stepsPerSample_;
    std::uint64_t samples_ = 0;
    std::uint64_t accepted_ = 0;
};

// updateTemperature: T <- factor * T (the change is left as the driver set it, 0); returns true while the
// new T is finite and above the stopping temperature. Never asks for additional data.
class KESTREL_API GeometricCoolingSchedule4HSA : public CoolingSchedule4HSA {
  public:
    // Throws std::invalid_argument unless 0 < factor < 1 and stoppingTemperature >= 0 (finite).
    GeometricCoolingSchedule4HSA(double factor, double stoppingTemperature);

    int getNumberOfCoolingSteps() const { return coolingSteps_; }

  private:
    std::shared_ptr<Population> proposeAdditionalPopulationPrivate(
        std::pair<double, double> temperatureAndChange, State4HSA const& state,
        ThermalBath4HSA const& thermalBath) override;
    bool updateTemperaturePrivate(std::pair<double, double>& temperatureAndChange) override;

    double factor_;
    double stoppingTemperature_;
    int coolingSteps_ = 0;
};

// Settings of annealInBox4HSA.
struct KESTREL_API AnnealingSettings4HSA {
    int warmUpPoints = 32;                // uniform points evaluated first; their statistics give T0
    double stepFraction = 0.005;          // nominal leapfrog step as a fraction of the smallest box width
    int stepsPerSample = 20;              // leapfrog steps per trajectory
    double coolingFactor = 0.95;          // T <- coolingFactor * T after each sample
    double finalTemperatureRatio = 1e-5;  // stop once T <= finalTemperatureRatio * T0
};

struct KESTREL_API AnnealingResult4HSA {
    std::vector<double> bestPosition;  // lowest objective value among all points evaluated
    double bestValue = 0.0;
    std::vector<double> finalPosition;       // the driver's result: the last sample
    std::uint64_t objectiveEvaluations = 0;  // objective calls, warm-up included
    std::uint64_t gradientEvaluations = 0;   // gradient calls
    std::uint64_t samples = 0;               // thermal-bath samples drawn
};

// Minimises the objective over the box:
// 1. an engine std::mt19937(seed) draws warmUpPoints uniform points in the box (each coordinate
//    lower + (upper - lower) * u, u a 53-bit uniform from two outputs), evaluated through
//    ObjectiveInterpolator4HSA::improveQualityAt; its next output seeds the thermal bath;
// 2. the domain starts at the best warm-up point; T0 and the first change come from
//    ThermalBath4HSA::suggestTemperatureAndChange on the warm-up statistics;
// 3. HamiltonianSimulatedAnnealing runs with LeapfrogThermalBath4HSA(step = stepFraction * smallest
//    width) and GeometricCoolingSchedule4HSA(coolingFactor, finalTemperatureRatio * T0).
// Requires: a valid box (as BoxDomain4HSA), warmUpPoints >= 1, stepFraction > 0, stepsPerSample >= 1,
// 0 < coolingFactor < 1, 0 < finalTemperatureRatio < 1; otherwise throws std::invalid_argument. The
// objective should be finite on the box and slightly beyond it (points of impact may lie on a wall up to
// rounding). Throws whatever the objective or gradient throws (boost::bad_function_call if empty).
KESTREL_API AnnealingResult4HSA
annealInBox4HSA(Objective4HSA const& objective, Gradient4HSA const& gradient, Box4HSA const& box,
                std::uint32_t seed, AnnealingSettings4HSA const& settings = AnnealingSettings4HSA());

// A named test function with its gradient, usual box and known global minima.
struct KESTREL_API TestFunction4HSA {
    std::string name;
    Objective4HSA objective;
    Gradient4HSA gradient;
    Box4HSA box;
    std::vector<std::vector<double>> globalMinima;  // every global minimiser (approximate where irrational)
    double minimumValue = 0.0;
};

// "sphere": sum x_i^2 on [-5.12, 5.12]^n, minimum 0 at the origin.
// "rastrigin": 10 n + sum (x_i^2 - 10 cos(2 pi x_i)) on [-5.12, 5.12]^n, minimum 0 at the origin.
// "ackley": -20 exp(-0.2 sqrt(sum x_i^2 / n)) - exp(sum cos(2 pi x_i) / n) + 20 + e on [-5, 5]^n,
//   minimum 0 at the origin (where the gradient, undefined at the tip, is taken as 0).
// "himmelblau" (n = 2 only): (x^2 + y - 11)^2 + (x + y^2 - 7)^2 on [-5, 5]^2, minimum 0 at four points.
// Throws std::invalid_argument for an unknown name, n < 1, or himmelblau with n != 2.
KESTREL_API TestFunction4HSA makeTestFunction4HSA(std::string const& name, int dimension = 2);

// The names makeTestFunction4HSA accepts, in alphabetical order.
KESTREL_API std::vector<std::string> getTestFunctionNames4HSA();

}  // namespace Kestrel
