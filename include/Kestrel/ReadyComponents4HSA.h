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
// - refineInBox4HSA: a short projected gradient descent with backtracking that polishes a point.
// - annealInBox4HSA: warm-up, then many short annealing chains with the classes above, each reheating
//   from the best point so far (every fourth from a fresh uniform point) and ending with refineInBox4HSA;
//   returns the best point seen.
//
// Cost of annealInBox4HSA: warmUpPoints objective calls, then per chain 2 objective calls and about
// stepsPerSample + 1 gradient calls per sample (one more after each wall hit), with
// 1 + ceil(log(finalTemperatureRatio) / log(coolingFactor)) samples per chain (7 with the defaults),
// plus at most refinementCalls calls of the descent. With the defaults a run costs about 4,500 to 6,000
// objective + gradient calls in all, nearly independent of the dimension.
//
//   Kestrel::TestFunction4HSA const rastrigin = Kestrel::makeTestFunction4HSA("rastrigin", 2);
//   Kestrel::AnnealingSettings4HSA settings;            // documented defaults
//   Kestrel::AnnealingResult4HSA const found = Kestrel::annealInBox4HSA(
//       rastrigin.objective, rastrigin.gradient, rastrigin.box, /*seed=*/7u, settings);
//   // found.bestPosition, found.bestValue, found.objectiveEvaluations, found.gradientEvaluations
//
// What to expect: one slow annealing chain freezes once the walk can no longer cross the barriers between
// basins and ends in a basin drawn roughly by exp(-f / T_freeze); on 2-D Rastrigin (barriers of about 20
// between minima 1 apart in value) that is the global basin in 3 runs out of 50 with about 5,200 calls.
// annealInBox4HSA spends such a budget on many short chains instead. Each chain reheats from the best
// point so far to the temperature suggested by the statistics of every value seen so far (so the reheats
// grow milder as the values concentrate in low basins), cools in a few short trajectories, which move the
// point into a nearby basin, and ends with a local descent that reports that basin's minimum. The search
// thus hops from basin to basin downhill, and every fourth chain starting afresh keeps a far basin within
// reach. It works best where low basins lie near each other (a funnel such as Rastrigin's or Ackley's).
// The length of a hop follows the box (stepFraction, stepsPerSample) and the temperature, not the
// objective's ripples; on the test functions below the defaults happen to suit the ripples well (on 2-D
// Rastrigin three steps per sample instead of two find the minimum 183 times in 200, not 200).
// Measured with bench/annealing/annealing_comparison (success: an evaluation within 1e-2 of a global
// minimiser; the random-restart local search gets the same number of calls per seed), seeds 1..50, 2-D:
//   function    annealer: found, calls to find   local search: found, calls to find   calls per run
//   Rastrigin   50/50    963                     36/50         2318                   4728
//   Himmelblau  50/50     81                     50/50           31                   5411
//   Ackley      50/50    250                     50/50          398                   5512
// Over seeds 1..200 the annealer finds all three minima every time (the local search Rastrigin's 138
// times). Rastrigin in 3-D: 36/50 (local search 4/50); in 5-D: 10/50 (0/50); in 10-D: 0/50 for both
// (median best values about 20 and 28). Ackley in 10-D: 49/50 (50/50). Local search is quicker where a
// single descent from a random point often suffices (Himmelblau: 31 calls against 81).
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
// the integrator and lies on the wall up to rounding. The wall test throws std::invalid_argument when the
// start point, end point or velocity has another length than the box.
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
    // init() throws std::logic_error; a state whose position has another length than the domain's
    // dimensionality throws std::invalid_argument; otherwise a sample throws what the domain or
    // interpolator throws.
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
    double stepFraction = 0.008;          // nominal leapfrog step as a fraction of the smallest box width
    int stepsPerSample = 2;               // leapfrog steps per trajectory
    double coolingFactor = 0.6;           // T <- coolingFactor * T after each sample
    double finalTemperatureRatio = 0.05;  // a chain stops once T <= finalTemperatureRatio * its T0
    int chains = 88;                      // annealing chains, run one after another
    int freshStartInterval = 4;           // every 4th chain starts at a fresh uniform point (0: none)
    int refinementCalls = 40;             // objective + gradient calls of the descent after each chain
};

struct KESTREL_API AnnealingResult4HSA {
    std::vector<double> bestPosition;  // lowest objective value among all points evaluated
    double bestValue = 0.0;
    std::vector<double> finalPosition;       // the driver's result of the last chain: its last sample
    std::uint64_t objectiveEvaluations = 0;  // objective calls, warm-up included
    std::uint64_t gradientEvaluations = 0;   // gradient calls
    std::uint64_t samples = 0;               // thermal-bath samples drawn, all chains together
};

// Minimises the objective over the box:
// 1. an engine std::mt19937(seed) draws warmUpPoints uniform points in the box (each coordinate
//    lower + (upper - lower) * u, u a 53-bit uniform from two outputs), evaluated through
//    ObjectiveInterpolator4HSA::improveQualityAt; its next output seeds the one thermal bath that every
//    chain uses in turn, LeapfrogThermalBath4HSA(step h = stepFraction * smallest width, stepsPerSample);
// 2. for each chain c = 0, 1, ..., chains - 1 in turn: the domain starts at the best point seen so far,
//    or, when freshStartInterval > 0 and c % freshStartInterval == freshStartInterval - 1, at a new
//    uniform point drawn from the same engine; T0 is ThermalBath4HSA::suggestTemperatureAndChange on the
//    statistics of every value computed so far (the driver takes its first change from the same call);
//    HamiltonianSimulatedAnnealing runs with GeometricCoolingSchedule4HSA(coolingFactor,
//    finalTemperatureRatio * T0); then refineInBox4HSA descends from the chain's last sample with initial
//    step h * h and refinementCalls calls at most.
// chains = 1 with refinementCalls = 0 is a single annealing run with nothing added (freshStartInterval
// then plays no part unless it is 1).
// Requires: a valid box (as BoxDomain4HSA), warmUpPoints >= 1, stepFraction > 0, stepsPerSample >= 1,
// 0 < coolingFactor < 1, 0 < finalTemperatureRatio < 1, chains >= 1, freshStartInterval >= 0,
// refinementCalls >= 0; otherwise
// throws std::invalid_argument. The objective should be finite on the box and slightly beyond it (points
// of impact may lie on a wall up to rounding). Throws whatever the objective or gradient throws
// (boost::bad_function_call if empty).
KESTREL_API AnnealingResult4HSA
annealInBox4HSA(Objective4HSA const& objective, Gradient4HSA const& gradient, Box4HSA const& box,
                std::uint32_t seed, AnnealingSettings4HSA const& settings = AnnealingSettings4HSA());

// Polishes a point by projected gradient descent with Barzilai-Borwein steps and Armijo backtracking,
// evaluating only through the interpolator (so every call joins its statistics, counts and best point):
// f = value(x), step = initialStep; then while at least two calls are left:
// 1. force = calculateGradient(x) (the negated gradient). After the first move, with s = x - x_prev and
//    y = force_prev - force, step = (s . s) / (s . y) if s . y > 0, else 2 * step (sums in coordinate
//    order).
// 2. x' = x + step * force clamped to the box, predicted drop p = sum of force[i] * (x'[i] - x[i]); stop
//    if p is not positive (a stationary point, or a corner the force presses into). Accept x' when
//    value(x') <= f - 1e-4 * p, else halve the step and try again while calls are left.
// 3. Stop when no step was accepted or the accepted one lowered f by no more than 1e-12 * (1 + |f|).
// Requires: position lies in the box; initialStep > 0. Makes at most maximumCalls objective + gradient
// calls (none if maximumCalls < 2). Throws std::invalid_argument (with maximumCalls >= 2, before any call)
// when position has another length than the box; what the objective or gradient throws.
KESTREL_API void refineInBox4HSA(ObjectiveInterpolator4HSA const& interpolator, Box4HSA const& box,
                                 std::vector<double> position, double initialStep, int maximumCalls);

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
// Throws std::invalid_argument for an unknown name, n < 1, or himmelblau with n != 2. The functions
// themselves throw std::invalid_argument when called with a gradient output of another length than the
// position, and himmelblau when called with a position of another length than 2.
KESTREL_API TestFunction4HSA makeTestFunction4HSA(std::string const& name, int dimension = 2);

// The names makeTestFunction4HSA accepts, in alphabetical order.
KESTREL_API std::vector<std::string> getTestFunctionNames4HSA();

}  // namespace Kestrel
