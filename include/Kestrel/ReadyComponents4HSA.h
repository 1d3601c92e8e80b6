// Ready-to-use annealing on a box: concrete customisation classes for HamiltonianSimulatedAnnealing, a set
// of named test functions, and one call that assembles everything.
//
// - BoxDomain4HSA: an axis-aligned box whose walls reflect the velocity.
// - ObjectiveInterpolator4HSA: a caller-supplied objective and gradient; keeps statistics of every value it
//   has computed and the best position seen, and can refuse calls beyond an evaluation budget.
// - LeapfrogThermalBath4HSA: draws momenta from a seeded normal distribution at the current temperature,
//   integrates a trajectory with LeapfrogIntegrator and accepts the end point by the Metropolis rule
//   (Hamiltonian Monte Carlo), so samples follow exp(-f / T) at temperature T.
// - BasinHoppingThermalBath4HSA: samples among the local minima at temperature T: a jump of one or every
//   coordinate, the Metropolis rule on the jumped point, a quasi-Newton descent from an accepted one.
// - GeometricCoolingSchedule4HSA: T <- factor * T until T reaches a stopping temperature.
// - refineInBox4HSA: a limited-memory quasi-Newton descent in the box that polishes a point.
// - annealInBox4HSA: warm-up, then annealing chains with the basin-hopping bath, each reheating from the
//   best point so far, until the evaluation budget is spent; returns the best point seen.
//
// Cost of annealInBox4HSA: exactly the evaluation budget the settings give (5000 per coordinate by
// default), an objective call costing 1 and a gradient call gradientCost (1 by default; d models a
// gradient taken by finite differences), minus less than one gradient call. A rejected jump costs one
// objective call, an accepted one about 10 to 40 more in its descent. Bookkeeping adds O(d) work per call
// and O(number of values) per chain (the temperature statistics).
//
//   Kestrel::TestFunction4HSA const rastrigin = Kestrel::makeTestFunction4HSA("rastrigin", 10);
//   Kestrel::AnnealingSettings4HSA settings;
//   settings.evaluationBudget = 10000;  // objective + gradient calls in all
//   Kestrel::AnnealingResult4HSA const found = Kestrel::annealInBox4HSA(
//       rastrigin.objective, rastrigin.gradient, rastrigin.box, /*seed=*/7u, settings);
//   // found.bestPosition, found.bestValue, found.evaluations (<= 10000)
//
// What to expect. Each chain starts at the best point so far at the temperature the statistics of every
// value seen suggest, so its first two samples (both drawn at T0) accept almost any jump: a kick out of
// the best basin. The temperature then falls a hundredfold per sample, so the chain's remaining samples
// (about 50) accept practically only jumps that land lower, and each accepted jump descends to the bottom
// of its basin. Jumps of one
// coordinate dominate because they keep the others at the bottom of their basins; they find the way down
// separable and nearly separable landscapes (Rastrigin, Schwefel, Styblinski-Tang, Levy) one coordinate
// at a time, and the jump lengths that work on the objective are learned from the acceptance rates.
// Success counts over seeds 1..20 on the comparison suite of bench/annealing (success: best value within
// 1e-2 of the global minimum; dual_annealing from Debian's scipy 1.10 with the same seeds, the analytic
// gradient for its L-BFGS-B, and the same budget, every objective and gradient call counted as one):
//   function         d   budget 1000 d: annealer  dual_annealing   budget 5000 d: annealer  dual_annealing
//   rastrigin        2,5,10        20 20 20       20 20 20                 20 20 20       20 20 20
//   ackley           2,5,10        20 20 20       20 20 20                 20 20 20       20 20 20
//   griewank         2,5,10        20  4 15       17  1  4                 20 17 20       19  2  4
//   schwefel         2,5,10        20 20 20       20 20 20                 20 20 20       20 20 20
//   levy             2,5,10        20 20 20       20 20 20                 20 20 20       20 20 20
//   styblinski-tang  2,5,10        20 20 20       20 20 20                 20 20 20       20 20 20
//   rosenbrock       2,5,10        20 20 20       20 20 19                 20 20 20       20 20 19
//   himmelblau       2             20             20                       20             20
// With a gradient call counted as d evaluations (dual_annealing then takes forward differences, d calls
// per gradient) the annealer falls behind at 1000 d on Rastrigin in 5-D (17 against 20) and 10-D (10
// against 20), Schwefel in 10-D (17 against 20), Levy in 10-D (19 against 20) and Griewank in 5-D (2
// against 5): its descents then cost d times more. At 5000 d it matches or beats dual_annealing
// everywhere (Griewank 5-D 12 against 6, 10-D 19 against 3). Griewank in 5-D is the hardest case for
// both: its minima near the origin differ by less than 1e-2 over a funnel 1200 wide.
//
// Guarantees: every random number comes from std::mt19937 engines seeded by the caller, and normal
// deviates are made from them by the polar method with 53-bit uniforms (two engine outputs each), so the
// same inputs give the same results bit for bit on every run and build (given the same std::log,
// std::exp, std::pow, std::tan and objective). Nothing runs in parallel; the objective and gradient are
// called from the calling thread. Gradient convention: a Gradient4HSA writes the gradient of the
// objective (the direction of steepest ascent); the interpolator hands its negation, the force, to the
// integrator and the descents.
#pragma once

#include <Kestrel/Export.h>
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <boost/function.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
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

// Thrown by ObjectiveInterpolator4HSA when a call would take it beyond its evaluation budget; the call
// is then not made. annealInBox4HSA catches it to end its search.
class KESTREL_API EvaluationBudgetSpent4HSA : public std::runtime_error {
  public:
    EvaluationBudgetSpent4HSA();  // message "ObjectiveInterpolator4HSA: the evaluation budget is spent"
};

// The caller's objective and gradient, taken as exact (nothing is fitted). Every value computed, by
// calculateValue or improveQualityAt, joins the statistics: average = sum / count (summed in the order
// computed), standard deviation = sqrt(M / count) with M, the sum of squared deviations from the average,
// kept by Welford's update in the order computed (so each statistic costs O(1)), minimum and maximum, and
// the best (first lowest) position. improveQualityAt evaluates the objective at each proposed position in
// order and returns (the values, the best position so far). calculateGradient writes the negated gradient.
// Not safe for concurrent use: const operations update the statistics.
class KESTREL_API ObjectiveInterpolator4HSA : public Interpolator4HSA {
  public:
    // An empty objective or gradient raises boost::bad_function_call when called.
    ObjectiveInterpolator4HSA(Objective4HSA objective, Gradient4HSA gradient);

    // From now on every objective call is charged 1 evaluation and every gradient call gradientCost; a
    // call that would bring the total charged beyond budget throws EvaluationBudgetSpent4HSA instead.
    // Without a limit nothing is refused. Throws std::invalid_argument if gradientCost < 1.
    void limitEvaluations(std::uint64_t budget, std::uint64_t gradientCost);
    std::uint64_t getNumberOfEvaluationsCharged() const { return charged_; }

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
    void charge(std::uint64_t cost) const;

    Objective4HSA objective_;
    Gradient4HSA gradient_;
    mutable std::uint64_t count_ = 0;
    mutable double sum_ = 0.0;
    mutable double runningMean_ = 0.0;
    mutable double squaredDeviations_ = 0.0;
    mutable std::vector<double> bestPosition_;
    mutable double bestValue_ = 0.0;
    mutable double minimum_ = 0.0;
    mutable double maximum_ = 0.0;
    mutable std::uint64_t objectiveCalls_ = 0;
    mutable std::uint64_t gradientCalls_ = 0;
    std::uint64_t budget_ = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t gradientCost_ = 1;
    mutable std::uint64_t charged_ = 0;
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

class BoxQuasiNewton4HSA;

// Samples at temperature T among the local minima of the objective (basin hopping):
// 1. the start value f0 is the value at the state's position (remembered from the previous sample when the
//    position is the one it left, else computed);
// 2. in 9 samples out of 10 (u < 0.9; never in one dimension) one coordinate jumps, the coordinates taking
//    turns in order 0, 1, ..., n - 1, 0, ...; otherwise every coordinate jumps. The jump length is drawn
//    from three decades: decade k in {0, 1, 2} is chosen with probability proportional to
//    (accepted_k + 1) / (tried_k + 2), the acceptance rate of its earlier jumps of the same kind (one or
//    every coordinate), so the lengths that succeed on this objective are tried more often. A coordinate
//    of box width w then moves by jumpFraction * w * 10^-(k + u) * tan(pi (u' - 0.5)) (a Cauchy deviate);
//    a move longer than w lands on a uniform point of the coordinate's range instead, and one beyond a
//    wall is reflected back into the box;
// 3. the jumped point, of value f1, is accepted when f1 <= f0, else when T > 0 and u < exp(-(f1 - f0) / T);
//    a rejected sample leaves the state where it was (one objective call spent);
// 4. from an accepted point a limited-memory quasi-Newton descent in the box (at most descentCalls value +
//    gradient calls; coordinates on a wall the gradient presses against stay there) moves the state to the
//    bottom of its basin. The velocity becomes the move made (zeros when rejected).
// The change of the temperature-and-change pair plays no part. Every u is a 53-bit uniform from the bath's
// std::mt19937(seed). Copies carry the engine state and acceptance counts and share the descent's work
// arrays; use a bath from one thread at a time.
class KESTREL_API BasinHoppingThermalBath4HSA : public ThermalBath4HSA {
  public:
    // Throws std::invalid_argument for a box BoxDomain4HSA rejects, descentCalls < 0, or jumpFraction (the
    // longest jump scale, a fraction of the box width) outside (0, 1]. A sample before init() throws
    // std::logic_error, one with a state of another length than the box std::invalid_argument; otherwise a
    // sample throws what the interpolator throws (the state then keeps its position).
    BasinHoppingThermalBath4HSA(std::uint32_t seed, Box4HSA box, int descentCalls, double jumpFraction);

    std::uint64_t getNumberOfSamples() const { return samples_; }
    std::uint64_t getNumberOfAcceptedSamples() const { return accepted_; }

  private:
    static constexpr int kOneCoordinate = 0;
    static constexpr int kAllCoordinates = 1;
    static constexpr int kDecades = 3;

    void calculateSamplePrivate(std::pair<double, double> temperatureAndChange, State4HSA& state) override;

    int chooseDecade(int kind);
    double acceptanceEstimate(int kind, int decade) const;
    double jumpTo(std::size_t i, double from, int decade);

    std::mt19937 engine_;
    Box4HSA box_;
    int descentCalls_;
    double jumpFraction_;
    double initialDescentStep_ = 0.0;
    std::shared_ptr<BoxQuasiNewton4HSA> descent_;
    double tries_[2][kDecades] = {};
    double accepts_[2][kDecades] = {};
    std::size_t nextCoordinate_ = 0;
    std::vector<double> trial_;
    std::vector<double> lastPosition_;
    double lastValue_ = 0.0;
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
    std::uint64_t evaluationBudget = 0;     // evaluations in all, warm-up included; 0: 5000 per coordinate
    int gradientCost = 1;                   // evaluations charged per gradient call (d: finite differences)
    int warmUpPoints = 32;                  // uniform points evaluated first
    double jumpFraction = 1.0;              // longest jump scale of the bath, a fraction of the box width
    int descentCalls = 200;                 // value + gradient calls of one descent at most
    double coolingFactor = 0.01;            // T <- coolingFactor * T after each sample
    double finalTemperatureRatio = 1e-100;  // a chain stops once T <= finalTemperatureRatio * its T0
    int freshStartInterval = 0;             // every k-th chain starts at a fresh uniform point (0: none)
};

struct KESTREL_API AnnealingResult4HSA {
    std::vector<double> bestPosition;  // lowest objective value among all points evaluated
    double bestValue = 0.0;
    std::vector<double> finalPosition;  // the driver's result of the last chain: its last sample
    std::uint64_t evaluations = 0;  // evaluations charged: objective calls + gradientCost * gradient calls
    std::uint64_t objectiveEvaluations = 0;  // objective calls, warm-up included
    std::uint64_t gradientEvaluations = 0;   // gradient calls
    std::uint64_t samples = 0;               // thermal-bath samples drawn, all chains together
};

// Minimises the objective over the box within the evaluation budget:
// 1. the ObjectiveInterpolator4HSA is limited to the budget (evaluationBudget, or 5000 per coordinate when
//    it is 0) with gradientCost per gradient call; an engine std::mt19937(seed) draws warmUpPoints uniform
//    points in the box (each coordinate lower + (upper - lower) * u, u a 53-bit uniform from two outputs;
//    no more points than the budget), evaluated through improveQualityAt; its next output seeds the one
//    BasinHoppingThermalBath4HSA(box, descentCalls, jumpFraction) that every chain uses in turn;
// 2. for each chain c = 0, 1, ... in turn: the domain starts at the best point seen so far, or, when
//    freshStartInterval > 0 and c % freshStartInterval == freshStartInterval - 1, at a new uniform point
//    drawn from the same engine; T0 is ThermalBath4HSA::suggestTemperatureAndChange on the statistics of
//    every value computed so far; HamiltonianSimulatedAnnealing runs with
//    GeometricCoolingSchedule4HSA(coolingFactor, finalTemperatureRatio * T0);
// 3. the first call that would exceed the budget ends the search (EvaluationBudgetSpent4HSA, caught here).
// Result: the best point and value among all calls, the evaluations charged (at most the budget, and more
// than the budget minus gradientCost), the call counts, the samples drawn, and as finalPosition the last
// sample of the last chain that ran to its end (the best warm-up point if none did).
// Requires: a valid box (as BoxDomain4HSA) of positive width in every coordinate, gradientCost >= 1,
// warmUpPoints >= 1, 0 < jumpFraction <= 1, descentCalls >= 0, 0 < coolingFactor < 1,
// 0 < finalTemperatureRatio < 1, freshStartInterval >= 0; otherwise throws std::invalid_argument before
// any evaluation. The objective should be finite on the box. Throws whatever the objective or gradient
// throws (boost::bad_function_call if empty).
KESTREL_API AnnealingResult4HSA
annealInBox4HSA(Objective4HSA const& objective, Gradient4HSA const& gradient, Box4HSA const& box,
                std::uint32_t seed, AnnealingSettings4HSA const& settings = AnnealingSettings4HSA());

// Polishes a point by a limited-memory quasi-Newton descent in the box (the one the basin-hopping bath
// uses), evaluating only through the interpolator, so every call joins its statistics, counts and best
// point: f = value(x), then repeatedly: coordinates on a wall the gradient presses against are held; the
// others move along the quasi-Newton direction from the last 8 steps (the first step, and any step after
// the curvature model pointed uphill, along the projected steepest descent with no coordinate moving
// further than initialStep); the trial point, projected into the box, must lower f by 1e-4 of the
// predicted drop, else the step is halved (at most 30 times). It stops at a stationary point or a corner
// the gradient presses into, when a step lowers f by no more than 2.2e-9 * max(1, |f|), or when the calls
// run out. Sums run in coordinate order.
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
// "griewank": 1 + sum x_i^2 / 4000 - prod cos(x_i / sqrt(i)) (i from 1) on [-600, 600]^n, minimum 0 at
//   the origin.
// "schwefel" (2.26): 418.98288727243371 n - sum x_i sin(sqrt(|x_i|)) on [-500, 500]^n, minimum 0 (up to
//   rounding) at x_i = 420.968746359982.
// "levy": with w_i = 1 + (x_i - 1) / 4, sin^2(pi w_1) + sum over i < n of (w_i - 1)^2 (1 + 10 sin^2(pi w_i
//   + 1)) + (w_n - 1)^2 (1 + sin^2(2 pi w_n)) on [-10, 10]^n, minimum 0 at x_i = 1.
// "styblinski-tang": sum (x_i^4 - 16 x_i^2 + 5 x_i) / 2 on [-5, 5]^n, minimum -39.16616570377142 n at
//   x_i = -2.903534027771178.
// "rosenbrock": sum over i < n of 100 (x_{i+1} - x_i^2)^2 + (1 - x_i)^2 on [-5, 10]^n, minimum 0 at x_i = 1.
// "himmelblau" (n = 2 only): (x^2 + y - 11)^2 + (x + y^2 - 7)^2 on [-5, 5]^2, minimum 0 at four points.
// Throws std::invalid_argument for an unknown name, n < 1, or himmelblau with n != 2. The functions
// themselves throw std::invalid_argument when called with a gradient output of another length than the
// position, and himmelblau when called with a position of another length than 2.
KESTREL_API TestFunction4HSA makeTestFunction4HSA(std::string const& name, int dimension = 2);

// The names makeTestFunction4HSA accepts, in alphabetical order.
KESTREL_API std::vector<std::string> getTestFunctionNames4HSA();

}  // namespace Kestrel
