// Hamiltonian simulated annealing on a continuous domain: a framework with four customisation points.
//
// The library fixes the order of the annealing loop; the problem is plugged in through four abstract
// classes. `Domain4HSA` is the search space (start point, wall test), `Interpolator4HSA` the objective
// (value, driving vector, statistics of known values, refinement at proposed points), `ThermalBath4HSA`
// draws a new state at a temperature (usually with a `LeapfrogIntegrator` over the `State4HSA`), and
// `CoolingSchedule4HSA` lowers the temperature and decides when to stop or to ask for more data. Each
// public operation of these classes is non-virtual and forwards, with the same arguments and result, to a
// private virtual that a subclass overrides. Ready concrete classes for a box and a caller-supplied
// objective are in <Kestrel/ReadyComponents4HSA.h>.
//
// Cost of `driveHSA`: one thermal-bath sample per cooling step (plus one at the start) and one
// `improveQualityAt` per population the schedule proposes; the framework adds O(n) per step for a state of
// n coordinates. `LeapfrogIntegrator::doSteps(h, T)` calls the gradient once per step (about T / h steps)
// and once more after every step a collision cut short; each step costs O(n).
//
//   auto domain = std::make_shared<MyDomain>();               // derived from Kestrel::Domain4HSA
//   auto model = std::make_shared<MyInterpolator>();          // derived from Kestrel::Interpolator4HSA
//   auto bath = std::make_shared<MyBath>();                   // derived from Kestrel::ThermalBath4HSA
//   Kestrel::HamiltonianSimulatedAnnealing annealer(domain, model, bath);   // calls bath->init(...)
//   MySchedule schedule;                                      // derived from Kestrel::CoolingSchedule4HSA
//   std::vector<double> result;
//   annealer.driveHSA(schedule, result);                      // result: position of the last sample
//
// Guarantees: the framework draws no random numbers and starts no threads; a run is as deterministic as
// the customisation classes plugged into it. Exceptions thrown by a customisation point or callback pass
// through unchanged (an empty boost::function raises boost::bad_function_call, "call to empty
// boost::function"). None of these classes is safe to use from several threads at once.
#pragma once

#include <Kestrel/Export.h>

#include <boost/function.hpp>

#include <deque>
#include <memory>
#include <utility>
#include <vector>

namespace Kestrel {

// The phase-space point of the annealing walk: a position and a velocity of the same length.
class KESTREL_API State4HSA {
  public:
    // Copies the position; the velocity becomes as many zeros.
    State4HSA(std::vector<double> const& position);

    std::vector<double>& getPosition() { return position_; }
    std::vector<double> const& getPosition() const { return position_; }
    std::vector<double>& getVelocity() { return velocity_; }
    std::vector<double> const& getVelocity() const { return velocity_; }

  private:
    std::vector<double> position_;
    std::vector<double> velocity_;
};

// Moves a position and a velocity (owned by the caller) along a trajectory with the leapfrog scheme
// (velocity at half steps), driven by a gradient callback whose result is added to the velocity as the
// acceleration. An optional collision callback may cut a step short at a wall and change the velocity.
//
// The integrator keeps the addresses of the callbacks and arrays given to its constructor (they must
// outlive it) and three work arrays of its own, sized from the position at construction. Copies share the
// caller's objects and copy the work arrays.
class KESTREL_API LeapfrogIntegrator {
  public:
    // (start point, end point, velocity, fraction) -> hit. On a hit the callback sets fraction (preset to
    // 1) to the part of the straight move that lies inside, and may change the velocity (reflect it).
    using CollisionFunction = boost::function<bool(std::vector<double> const&, std::vector<double> const&,
                                                   std::vector<double>&, double&)>;
    // (position, acceleration): writes the driving vector at the position into its second argument.
    using GradientFunction = boost::function<void(std::vector<double> const&, std::vector<double>&)>;

    // Requires: velocity has the length of position (checked by doSteps); collision may be null (no wall is
    // ever hit).
    LeapfrogIntegrator(CollisionFunction const* collision, GradientFunction const& gradient,
                       std::vector<double>& position, std::vector<double>& velocity);

    // From now on every completed step (full or cut short) appends a copy of the position to *trajectory.
    // Null switches recording off. The list belongs to the caller.
    void registerTrajectory(std::vector<std::vector<double>>* trajectory);

    // Integrates for the duration T with nominal step h. The remaining time is cut into equal steps no
    // longer than h whenever more than a quarter of a nominal step would be left over; a shorter remainder
    // is taken as one whole nominal step, so the run may overshoot T. The caller's velocity is written at a
    // collision and, synchronised with the position, at the end.
    // Requires: h > 0 and T finite when T > 0; the position and velocity still have the length n of the
    // position at construction; the gradient keeps its output at length n and the collision test keeps the
    // velocity it is given at length n. T <= 0 (or NaN) does nothing at all.
    // Progress rule: every block of 1000 consecutive steps must advance the time by at least 0.001 of a
    // nominal step h (a completed step always does), so a run makes at most about 10^6 * (T / h + 1)
    // steps, whatever the collision test does.
    // Throws: std::invalid_argument if T > 0 and h is not positive or T is infinite, or if the position or
    // velocity does not have length n (before any step); std::invalid_argument when the gradient's output or
    // the velocity left by the collision test no longer has length n; std::runtime_error ("... the
    // integration makes no progress ...") when a block of 1000 steps breaks the progress rule (steps cut
    // short by a collision test that consumes (almost) no time, or a duration so long that one step no
    // longer changes the remaining time). After these, and whatever the callbacks throw
    // (boost::bad_function_call for an empty one), position and velocity keep what the steps wrote.
    void doSteps(double h, double T);

  private:
    // One step of length h; returns the part of h that was not used (0 when the step completed).
    double doStep(double h, bool restart);

    CollisionFunction const* collision_;
    GradientFunction const* gradient_;
    std::vector<double>* position_;
    std::vector<double>* velocity_;
    std::vector<double> trialPosition_;
    std::vector<double> acceleration_;
    std::vector<double> halfStepVelocity_;
    std::vector<std::vector<double>>* trajectory_;
};

// The search space of an annealing run.
class KESTREL_API Domain4HSA {
  public:
    Domain4HSA() = default;
    Domain4HSA(Domain4HSA const&) = default;
    Domain4HSA& operator=(Domain4HSA const&) = default;
    virtual ~Domain4HSA();

    // Number of coordinates of a position.
    int getDimensionality() const;
    // Fills the given (empty) array with the starting position.
    void proposeInitialPosition(std::vector<double>& position) const;
    // The wall test a thermal bath hands to LeapfrogIntegrator: whether the straight move from start to
    // end crosses a wall; on a hit it sets fraction to the part of the move inside and may change velocity.
    bool calculateCollision(std::vector<double> const& start, std::vector<double> const& end,
                            std::vector<double>& velocity, double& fraction) const;

  private:
    virtual void proposeInitialPositionPrivate(std::vector<double>& position) const = 0;
    virtual bool calculateCollisionPrivate(std::vector<double> const& start, std::vector<double> const& end,
                                           std::vector<double>& velocity, double& fraction) const = 0;
    virtual int getDimensionalityPrivate() const = 0;
};

// The objective of an annealing run: a model of sampled values that can be refined where new samples
// are proposed.
class KESTREL_API Interpolator4HSA {
  public:
    using Arrays = std::pair<std::shared_ptr<std::vector<double>>, std::shared_ptr<std::vector<double>>>;

    Interpolator4HSA() = default;
    Interpolator4HSA(Interpolator4HSA const&) = default;
    Interpolator4HSA& operator=(Interpolator4HSA const&) = default;
    virtual ~Interpolator4HSA();

    // Objective at a position.
    double calculateValue(std::vector<double> const& position) const;
    // The vector that drives the leapfrog integrator at a position (it is added to the velocity).
    void calculateGradient(std::vector<double> const& position, std::vector<double>& gradient) const;
    // Samples the objective at the proposed positions and refits; the two arrays go to the thermal bath.
    Arrays improveQualityAt(std::deque<std::vector<double>> const& population);
    // Statistics of the objective's values over what the interpolator knows.
    double calculateAverage() const;
    double calculateStdDeviation() const;
    // First the minimum, second the maximum.
    std::pair<double, double> const calculateMinMax() const;

  private:
    virtual double calculateValuePrivate(std::vector<double> const& position) const = 0;
    virtual void calculateGradientPrivate(std::vector<double> const& position,
                                          std::vector<double>& gradient) const = 0;
    virtual Arrays improveQualityAtPrivate(std::deque<std::vector<double>> const& population) = 0;
    virtual double calculateAveragePrivate() const = 0;
    virtual double calculateStdDeviationPrivate() const = 0;
    virtual std::pair<double, double> const calculateMinMaxPrivate() const = 0;
};

// Draws a new state at a given temperature and change. Holds the domain and the interpolator, which the
// annealing driver hands over through init().
class KESTREL_API ThermalBath4HSA {
  public:
    ThermalBath4HSA() = default;
    ThermalBath4HSA(ThermalBath4HSA const&) = default;
    ThermalBath4HSA(ThermalBath4HSA&&) = default;
    ThermalBath4HSA& operator=(ThermalBath4HSA const&) = default;
    ThermalBath4HSA& operator=(ThermalBath4HSA&&) = default;
    virtual ~ThermalBath4HSA();

    // Stores both (and releases those stored before).
    void init(std::shared_ptr<Domain4HSA> domain, std::shared_ptr<Interpolator4HSA> interpolator);

    // A starting (temperature, change) from the interpolator's statistics, called in the order standard
    // deviation s, (min, max), average a. With range = max - min, above = a - min, d = range - above:
    // change = 0.3 * range if that exceeds s, else s; temperature = above + (s if s < 0.5 * |d|, else
    // 0.5 * |d|). Throws: std::logic_error before init() (no interpolator to ask).
    std::pair<double, double> suggestTemperatureAndChange() const;

    // The hook at which a refit would rescale temperature and change; leaves the pair unchanged and only
    // releases the arrays.
    void adjustTemperatureAndChange(std::pair<double, double>& temperatureAndChange,
                                    Interpolator4HSA::Arrays arrays) const;

    // Moves the state to a new sample at the given (temperature, change).
    void calculateSample(std::pair<double, double> temperatureAndChange, State4HSA& state);
    // Called once at the end of a run with the last (temperature, change) and the final state.
    void finalTask(std::pair<double, double> temperatureAndChange, State4HSA const& state);

  protected:
    std::shared_ptr<Domain4HSA const> getDomain() const;
    std::shared_ptr<Interpolator4HSA const> getInterpolator() const;

  private:
    virtual void calculateSamplePrivate(std::pair<double, double> temperatureAndChange, State4HSA& state) = 0;
    // Does nothing unless overridden.
    virtual void finalTaskPrivate(std::pair<double, double> temperatureAndChange, State4HSA const& state);

    std::shared_ptr<Domain4HSA> domain_;
    std::shared_ptr<Interpolator4HSA> interpolator_;
};

// Lowers the temperature and decides when to stop or to ask for more data. Lent to each run by reference
// and never deleted through this class, which therefore has no virtual destructor.
class KESTREL_API CoolingSchedule4HSA {
  public:
    using Population = std::deque<std::vector<double>>;

    // An empty pointer: no new data needed now. Otherwise positions at which the interpolator is to be
    // improved before the next sample.
    std::shared_ptr<Population> proposeAdditionalPopulation(std::pair<double, double> temperatureAndChange,
                                                            State4HSA const& state,
                                                            ThermalBath4HSA const& thermalBath);
    // Lowers the temperature (and may set the change) in place; false ends the annealing.
    bool updateTemperature(std::pair<double, double>& temperatureAndChange);

  private:
    virtual std::shared_ptr<Population> proposeAdditionalPopulationPrivate(
        std::pair<double, double> temperatureAndChange, State4HSA const& state,
        ThermalBath4HSA const& thermalBath) = 0;
    virtual bool updateTemperaturePrivate(std::pair<double, double>& temperatureAndChange) = 0;
};

// Runs the annealing loop over a domain, an interpolator and a thermal bath (shared with the caller) and a
// cooling schedule lent to each run. Copies share the three objects.
class KESTREL_API HamiltonianSimulatedAnnealing {
  public:
    // Stores the three objects, then calls thermalBath->init(domain, interpolator); a bath therefore
    // serves at most one driver at a time. Throws: std::invalid_argument naming a null argument.
    HamiltonianSimulatedAnnealing(std::shared_ptr<Domain4HSA> domain,
                                  std::shared_ptr<Interpolator4HSA> interpolator,
                                  std::shared_ptr<ThermalBath4HSA> thermalBath);

    // One annealing run, calling exactly in this order: domain proposeInitialPosition (into an empty
    // array); bath suggestTemperatureAndChange -> tc; state from the position (zero velocity); bath
    // calculateSample(tc, state); tc.second = 0. Then repeatedly: schedule proposeAdditionalPopulation(tc,
    // state, bath); if it gives a population, bath adjustTemperatureAndChange(tc, interpolator
    // improveQualityAt(population)) and ask again; otherwise bath calculateSample(tc, state), tc.second = 0,
    // schedule updateTemperature(tc), and stop when it returns false. Finally result = the state's position
    // (replacing its content and length) and bath finalTask(tc, state).
    // The loop has no limit of its own: the schedule must end it.
    // Throws: whatever a customisation point throws, unchanged; result is then left as it was.
    void driveHSA(CoolingSchedule4HSA& schedule, std::vector<double>& result);

  private:
    std::shared_ptr<Domain4HSA> domain_;
    std::shared_ptr<Interpolator4HSA> interpolator_;
    std::shared_ptr<ThermalBath4HSA> thermalBath_;
};

}  // namespace Kestrel
