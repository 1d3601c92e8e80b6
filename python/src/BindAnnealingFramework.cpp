// Python face of the annealing framework: State4HSA, LeapfrogIntegrator, the driver, and the four
// customisation classes, each subclassable from Python. A subclass overrides the snake_case name of a
// public operation (get_dimensionality, calculate_value, calculate_sample, update_temperature, ...); the
// driver then calls it with the GIL held, and whatever it raises comes out of drive_hsa unchanged.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include "AnnealingTypes.h"
#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"
#include "PythonCalls.h"

#include <memory>
#include <string>
#include <vector>

namespace kestrel_python {

namespace {

using Kestrel::CoolingSchedule4HSA;
using Kestrel::Domain4HSA;
using Kestrel::HamiltonianSimulatedAnnealing;
using Kestrel::Interpolator4HSA;
using Kestrel::LeapfrogIntegrator;
using Kestrel::State4HSA;
using Kestrel::ThermalBath4HSA;

// The Python override `name` of `self`, or TypeError naming the class and the method to override.
template <class Base>
py::function requireOverride(Base const* self, char const* className, char const* name) {
    py::function function = py::get_override(self, name);
    if (!function) {
        throw py::type_error(std::string("a ") + className + " subclass must override " + name);
    }
    return function;
}

// A view of a vector as a writable numpy array that keeps `owner` alive.
py::array_t<double> view(std::vector<double>& values, py::handle owner) {
    return py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data(), owner);
}

class PythonDomain : public Domain4HSA {
  private:
    void proposeInitialPositionPrivate(std::vector<double>& position) const override {
        callPython([&] {
            py::object const result =
                requireOverride<Domain4HSA>(this, "Domain4HSA", "propose_initial_position")();
            position = toVector(result, "propose_initial_position() result");
        });
    }

    bool calculateCollisionPrivate(std::vector<double> const& start, std::vector<double> const& end,
                                   std::vector<double>& velocity, double& fraction) const override {
        return callPython([&] {
            py::array_t<double> const changeable = toArray(velocity);
            py::object const result = requireOverride<Domain4HSA>(this, "Domain4HSA", "calculate_collision")(
                toArray(start), toArray(end), changeable);
            auto const answer = result.cast<std::pair<bool, double>>();
            std::copy(changeable.data(), changeable.data() + changeable.size(), velocity.begin());
            if (answer.first) {
                fraction = answer.second;
            }
            return answer.first;
        });
    }

    int getDimensionalityPrivate() const override {
        return callPython([&] {
            return requireOverride<Domain4HSA>(this, "Domain4HSA", "get_dimensionality")().cast<int>();
        });
    }
};

class PythonInterpolator : public Interpolator4HSA {
  private:
    py::function method(char const* name) const {
        return requireOverride<Interpolator4HSA>(this, "Interpolator4HSA", name);
    }

    double calculateValuePrivate(std::vector<double> const& position) const override {
        return callPython([&] { return method("calculate_value")(toArray(position)).cast<double>(); });
    }

    void calculateGradientPrivate(std::vector<double> const& position,
                                  std::vector<double>& gradient) const override {
        callPython([&] {
            py::object const result = method("calculate_gradient")(toArray(position));
            gradient.resize(position.size());
            copyInto(result, "calculate_gradient() result", gradient);
        });
    }

    Arrays improveQualityAtPrivate(std::deque<std::vector<double>> const& population) override {
        return callPython([&] {
            return toArrays(method("improve_quality_at")(toArray(population)), "improve_quality_at() result");
        });
    }

    double calculateAveragePrivate() const override {
        return callPython([&] { return method("calculate_average")().cast<double>(); });
    }

    double calculateStdDeviationPrivate() const override {
        return callPython([&] { return method("calculate_std_deviation")().cast<double>(); });
    }

    std::pair<double, double> const calculateMinMaxPrivate() const override {
        return callPython([&] { return method("calculate_min_max")().cast<std::pair<double, double>>(); });
    }
};

// Gives Python the domain and interpolator a bath holds (protected in C++).
struct BathAccess : ThermalBath4HSA {
    using ThermalBath4HSA::getDomain;
    using ThermalBath4HSA::getInterpolator;
};

class PythonThermalBath : public ThermalBath4HSA {
  private:
    void calculateSamplePrivate(std::pair<double, double> temperatureAndChange, State4HSA& state) override {
        callPython([&] {
            requireOverride<ThermalBath4HSA>(this, "ThermalBath4HSA", "calculate_sample")(
                toTuple(temperatureAndChange), py::cast(&state, py::return_value_policy::reference));
        });
    }

    void finalTaskPrivate(std::pair<double, double> temperatureAndChange, State4HSA const& state) override {
        callPython([&] {
            py::function const function =
                py::get_override(static_cast<ThermalBath4HSA const*>(this), "final_task");
            if (function) {
                function(toTuple(temperatureAndChange), py::cast(&state, py::return_value_policy::reference));
            }
        });
    }
};

class PythonCoolingSchedule : public CoolingSchedule4HSA {
  public:
    // Python objects are destroyed through this class, unlike the C++ base, which has no virtual destructor.
    virtual ~PythonCoolingSchedule() = default;

  private:
    std::shared_ptr<Population> proposeAdditionalPopulationPrivate(
        std::pair<double, double> temperatureAndChange, State4HSA const& state,
        ThermalBath4HSA const& thermalBath) override {
        return callPython([&]() -> std::shared_ptr<Population> {
            py::object const result = requireOverride<CoolingSchedule4HSA>(this, "CoolingSchedule4HSA",
                                                                           "propose_additional_population")(
                toTuple(temperatureAndChange), py::cast(&state, py::return_value_policy::reference),
                py::cast(&thermalBath, py::return_value_policy::reference));
            if (result.is_none()) {
                return nullptr;
            }
            return toPopulation(result, "propose_additional_population() result");
        });
    }

    bool updateTemperaturePrivate(std::pair<double, double>& temperatureAndChange) override {
        return callPython([&] {
            py::object const result = requireOverride<CoolingSchedule4HSA>(
                this, "CoolingSchedule4HSA", "update_temperature")(toTuple(temperatureAndChange));
            auto const answer = result.cast<std::pair<bool, py::object>>();
            temperatureAndChange = toTemperatureAndChange(answer.second, "update_temperature() result");
            return answer.first;
        });
    }
};

// The integrator with the callbacks it holds by address and the trajectory it records.
struct Integrator {
    std::unique_ptr<LeapfrogIntegrator::GradientFunction> gradient;
    std::unique_ptr<LeapfrogIntegrator::CollisionFunction> collision;
    std::vector<std::vector<double>> trajectory;
    std::unique_ptr<LeapfrogIntegrator> integrator;
};

std::unique_ptr<Integrator> makeIntegrator(State4HSA& state, py::object gradientLike,
                                           py::object collisionLike) {
    auto result = std::make_unique<Integrator>();
    PythonFunction const gradient(std::move(gradientLike));
    result->gradient = std::make_unique<LeapfrogIntegrator::GradientFunction>(
        [gradient](std::vector<double> const& position, std::vector<double>& acceleration) {
            callPython([&] { copyInto(gradient(toArray(position)), "gradient() result", acceleration); });
        });
    if (!collisionLike.is_none()) {
        PythonFunction const collision(std::move(collisionLike));
        result->collision = std::make_unique<LeapfrogIntegrator::CollisionFunction>(
            [collision](std::vector<double> const& start, std::vector<double> const& end,
                        std::vector<double>& velocity, double& fraction) {
                return callPython([&] {
                    py::array_t<double> const changeable = toArray(velocity);
                    auto const answer =
                        collision(toArray(start), toArray(end), changeable).cast<std::pair<bool, double>>();
                    std::copy(changeable.data(), changeable.data() + changeable.size(), velocity.begin());
                    if (answer.first) {
                        fraction = answer.second;
                    }
                    return answer.first;
                });
            });
    }
    result->integrator = std::make_unique<LeapfrogIntegrator>(result->collision.get(), *result->gradient,
                                                              state.getPosition(), state.getVelocity());
    return result;
}

void bindState(py::module_& module) {
    py::class_<State4HSA> cls(module, "State4HSA", R"doc(
The phase-space point of the annealing walk: a position and a velocity of the same length.

``position`` and ``velocity`` are writable numpy views of the state's own arrays (assigning copies the
values in; the length cannot change). A state handed to a callback belongs to the running driver: use it
during the call only.

Example:
    >>> import kestrel
    >>> state = kestrel.State4HSA([1.0, 2.0])
    >>> state.velocity[:] = [0.5, -0.5]
    >>> state.velocity.tolist()
    [0.5, -0.5]
)doc");
    cls.def(py::init([](py::handle position) { return State4HSA(toVector(position, "position")); }),
            py::arg("position"),
            "A state at the position with zero velocity. Example: ``State4HSA([0.0, 0.0])``");
    cls.def_property(
        "position", [](py::object const& self) { return view(self.cast<State4HSA&>().getPosition(), self); },
        [](State4HSA& self, py::handle values) { copyInto(values, "position", self.getPosition()); },
        "The position (a writable view). Example: ``state.position[0] = 1.0``");
    cls.def_property(
        "velocity", [](py::object const& self) { return view(self.cast<State4HSA&>().getVelocity(), self); },
        [](State4HSA& self, py::handle values) { copyInto(values, "velocity", self.getVelocity()); },
        "The velocity (a writable view). Example: ``state.velocity = [0.0, 1.0]``");
    cls.def("__repr__", [](py::object const& self) {
        return py::str("State4HSA(position={}, velocity={})")
            .format(self.attr("position").attr("tolist")(), self.attr("velocity").attr("tolist")());
    });
    addCopying(cls);
}

void bindIntegrator(py::module_& module) {
    py::class_<Integrator> cls(module, "LeapfrogIntegrator", R"doc(
Moves a state's position and velocity along a trajectory with the leapfrog scheme, driven by
``gradient(position) -> acceleration`` (added to the velocity). ``collision(start, end, velocity)``, if
given, returns ``(hit, fraction)`` and may change ``velocity`` in place (reflect it); on a hit the step
is cut to that fraction. The integrator keeps the state alive and works on its arrays.

Example:
    >>> import numpy as np, kestrel
    >>> state = kestrel.State4HSA([1.0])
    >>> spring = kestrel.LeapfrogIntegrator(state, lambda x: -x)   # harmonic force
    >>> spring.do_steps(0.01, np.pi)                               # half a period
    >>> round(float(state.position[0]), 3)
    -1.0
)doc");
    cls.def(py::init([](State4HSA& state, py::object gradient, py::object collision) {
                return makeIntegrator(state, std::move(gradient), std::move(collision));
            }),
            py::arg("state"), py::arg("gradient"), py::arg("collision") = py::none(), py::keep_alive<1, 2>(),
            "An integrator of a state. Example: ``LeapfrogIntegrator(state, lambda x: -x)``");
    cls.def(
        "do_steps",
        [](Integrator& self, double h, double duration) {
            py::gil_scoped_release release;
            self.integrator->doSteps(h, duration);
        },
        py::arg("h"), py::arg("duration"), R"doc(
Integrates for ``duration`` with nominal step ``h``. Raises ValueError if duration > 0 and h is not
positive or duration is infinite; RuntimeError if the integration makes no progress (1000 consecutive
steps, cut short at walls or too short to change the remaining time, advance it by less than 0.001 h).

Example: ``integrator.do_steps(0.01, 1.0)``
)doc");
    cls.def(
        "record_trajectory",
        [](Integrator& self, bool on) {
            self.trajectory.clear();
            self.integrator->registerTrajectory(on ? &self.trajectory : nullptr);
        },
        py::arg("on"),
        "Starts (clearing what was recorded) or stops recording every completed step's position.\n\n"
        "Example: ``integrator.record_trajectory(True)``");
    cls.def_property_readonly(
        "trajectory", [](Integrator const& self) { return toArray(self.trajectory); },
        "The recorded positions, one row per step. Example: ``integrator.trajectory.shape``");
    cls.def("__repr__", [](Integrator const& self) {
        return "LeapfrogIntegrator(recorded_steps=" + std::to_string(self.trajectory.size()) + ")";
    });
}

void bindDomain(py::module_& module) {
    py::class_<Domain4HSA, PythonDomain, std::shared_ptr<Domain4HSA>> cls(module, "Domain4HSA", R"doc(
The search space of an annealing run. Subclass and override ``get_dimensionality() -> int``,
``propose_initial_position() -> array`` and ``calculate_collision(start, end, velocity) -> (hit, fraction)``
(which may change ``velocity`` in place).

Example:
    >>> import kestrel
    >>> class Line(kestrel.Domain4HSA):
    ...     def get_dimensionality(self): return 1
    ...     def propose_initial_position(self): return [0.0]
    ...     def calculate_collision(self, start, end, velocity): return (False, 1.0)
    >>> Line().get_dimensionality()
    1
)doc");
    cls.def(py::init<>(), "Base of a Python domain. Example: ``super().__init__()``");
    cls.def("get_dimensionality", &Domain4HSA::getDimensionality,
            "Number of coordinates of a position. Example: ``domain.get_dimensionality()``");
    cls.def(
        "propose_initial_position",
        [](Domain4HSA const& self) {
            std::vector<double> position;
            self.proposeInitialPosition(position);
            return toArray(position);
        },
        "The starting position. Example: ``domain.propose_initial_position()``");
    cls.def(
        "calculate_collision",
        [](Domain4HSA const& self, py::handle start, py::handle end, py::array_t<double> velocity) {
            std::vector<double> changed = toVector(velocity, "velocity");
            double fraction = 1.0;
            bool const hit =
                self.calculateCollision(toVector(start, "start"), toVector(end, "end"), changed, fraction);
            if (velocity.writeable() && velocity.ndim() == 1 &&
                static_cast<std::size_t>(velocity.size()) == changed.size()) {
                std::copy(changed.begin(), changed.end(), velocity.mutable_data());
            }
            return py::make_tuple(hit, fraction);
        },
        py::arg("start"), py::arg("end"), py::arg("velocity"), R"doc(
Whether the straight move from start to end crosses a wall: ``(hit, fraction)``, fraction the part of
the move inside (1 without a hit). The wall may change the float64 array ``velocity`` in place.

Example: ``hit, fraction = domain.calculate_collision(start, end, velocity)``
)doc");
    cls.def("__repr__", [](py::object const& self) {
        return py::str("<{} domain>").format(self.get_type().attr("__name__"));
    });
}

void bindInterpolator(py::module_& module) {
    py::class_<Interpolator4HSA, PythonInterpolator, std::shared_ptr<Interpolator4HSA>> cls(
        module, "Interpolator4HSA", R"doc(
The objective of an annealing run. Subclass and override ``calculate_value(x) -> float``,
``calculate_gradient(x) -> array`` (the vector added to the velocity: the force, i.e. minus the
gradient), ``improve_quality_at(population) -> (array or None, array or None)``,
``calculate_average()``, ``calculate_std_deviation()`` and ``calculate_min_max() -> (min, max)``.

Example:
    >>> import numpy as np, kestrel
    >>> class Bowl(kestrel.Interpolator4HSA):
    ...     def calculate_value(self, x): return float(x @ x)
    ...     def calculate_gradient(self, x): return -2.0 * x
    ...     def improve_quality_at(self, population): return (None, None)
    ...     def calculate_average(self): return 1.0
    ...     def calculate_std_deviation(self): return 1.0
    ...     def calculate_min_max(self): return (0.0, 2.0)
    >>> Bowl().calculate_value(np.array([1.0, 2.0]))
    5.0
)doc");
    cls.def(py::init<>(), "Base of a Python interpolator. Example: ``super().__init__()``");
    cls.def(
        "calculate_value",
        [](Interpolator4HSA const& self, py::handle position) {
            return self.calculateValue(toVector(position, "position"));
        },
        py::arg("position"), "Objective at a position. Example: ``model.calculate_value([0.0, 1.0])``");
    cls.def(
        "calculate_gradient",
        [](Interpolator4HSA const& self, py::handle positionLike) {
            std::vector<double> const position = toVector(positionLike, "position");
            std::vector<double> gradient(position.size());
            self.calculateGradient(position, gradient);
            return toArray(gradient);
        },
        py::arg("position"),
        "The driving vector at a position. Example: ``model.calculate_gradient([0.0, 1.0])``");
    cls.def(
        "improve_quality_at",
        [](Interpolator4HSA& self, py::handle population) {
            return toTuple(self.improveQualityAt(*toPopulation(population, "population")));
        },
        py::arg("population"),
        "Samples at the (k, d) positions and refits; returns the pair of arrays for the thermal bath.\n\n"
        "Example: ``values, best = model.improve_quality_at([[0.0, 0.0], [1.0, 1.0]])``");
    cls.def("calculate_average", &Interpolator4HSA::calculateAverage,
            "Average of the known values. Example: ``model.calculate_average()``");
    cls.def("calculate_std_deviation", &Interpolator4HSA::calculateStdDeviation,
            "Standard deviation of the known values. Example: ``model.calculate_std_deviation()``");
    cls.def(
        "calculate_min_max",
        [](Interpolator4HSA const& self) {
            auto const minMax = self.calculateMinMax();
            return py::make_tuple(minMax.first, minMax.second);
        },
        "(minimum, maximum) of the known values. Example: ``low, high = model.calculate_min_max()``");
    cls.def("__repr__", [](py::object const& self) {
        return py::str("<{} interpolator>").format(self.get_type().attr("__name__"));
    });
}

void bindThermalBath(py::module_& module) {
    py::class_<ThermalBath4HSA, PythonThermalBath, std::shared_ptr<ThermalBath4HSA>> cls(module,
                                                                                         "ThermalBath4HSA",
                                                                                         R"doc(
Draws a new state at a (temperature, change). Subclass and override ``calculate_sample(temperature_and_change,
state)``, which moves ``state`` in place (its ``position`` and ``velocity`` arrays), and optionally
``final_task(temperature_and_change, state)``. ``get_domain()`` and ``get_interpolator()`` give what the
driver handed over through ``init``.

Example:
    >>> import kestrel
    >>> class Stay(kestrel.ThermalBath4HSA):
    ...     def calculate_sample(self, temperature_and_change, state):
    ...         state.position[:] = self.get_domain().propose_initial_position()
)doc");
    cls.def(py::init<>(), "Base of a Python thermal bath. Example: ``super().__init__()``");
    cls.def("init", &ThermalBath4HSA::init, py::arg("domain"), py::arg("interpolator"),
            py::keep_alive<1, 2>(), py::keep_alive<1, 3>(),
            "Stores the domain and the interpolator. Example: ``bath.init(domain, model)``");
    cls.def(
        "suggest_temperature_and_change",
        [](ThermalBath4HSA const& self) { return toTuple(self.suggestTemperatureAndChange()); },
        "A starting (temperature, change) from the interpolator's statistics. Example: "
        "``bath.suggest_temperature_and_change()``");
    cls.def(
        "adjust_temperature_and_change",
        [](ThermalBath4HSA const& self, py::handle pairLike, py::handle arrays) {
            TemperatureAndChange pair = toTemperatureAndChange(pairLike, "temperature_and_change");
            self.adjustTemperatureAndChange(pair, toArrays(arrays, "arrays"));
            return toTuple(pair);
        },
        py::arg("temperature_and_change"), py::arg("arrays"),
        "The (temperature, change) after a refit; unchanged by the base. Example: "
        "``bath.adjust_temperature_and_change((1.0, 0.0), (None, None))``");
    cls.def(
        "calculate_sample",
        [](ThermalBath4HSA& self, py::handle pairLike, State4HSA& state) {
            self.calculateSample(toTemperatureAndChange(pairLike, "temperature_and_change"), state);
        },
        py::arg("temperature_and_change"), py::arg("state"),
        "Moves the state to a new sample. Example: ``bath.calculate_sample((1.0, 0.0), state)``");
    cls.def(
        "final_task",
        [](ThermalBath4HSA& self, py::handle pairLike, State4HSA const& state) {
            self.finalTask(toTemperatureAndChange(pairLike, "temperature_and_change"), state);
        },
        py::arg("temperature_and_change"), py::arg("state"),
        "Called once at the end of a run. Example: ``bath.final_task((0.0, 0.0), state)``");
    cls.def(
        "get_domain",
        [](ThermalBath4HSA const& self) {
            return std::const_pointer_cast<Domain4HSA>((self.*&BathAccess::getDomain)());
        },
        "The domain given to init (None before). Example: ``self.get_domain()``");
    cls.def(
        "get_interpolator",
        [](ThermalBath4HSA const& self) {
            return std::const_pointer_cast<Interpolator4HSA>((self.*&BathAccess::getInterpolator)());
        },
        "The interpolator given to init (None before). Example: ``self.get_interpolator()``");
    cls.def("__repr__", [](py::object const& self) {
        return py::str("<{} thermal bath>").format(self.get_type().attr("__name__"));
    });
}

void bindCoolingSchedule(py::module_& module) {
    py::class_<CoolingSchedule4HSA, PythonCoolingSchedule, std::shared_ptr<CoolingSchedule4HSA>> cls(
        module, "CoolingSchedule4HSA", R"doc(
Lowers the temperature and decides when to stop or to ask for more data. Subclass and override
``update_temperature(temperature_and_change) -> (go_on, (temperature, change))`` and
``propose_additional_population(temperature_and_change, state, bath) -> None or (k, d) array``.

Example:
    >>> import kestrel
    >>> class Halve(kestrel.CoolingSchedule4HSA):
    ...     def propose_additional_population(self, tc, state, bath): return None
    ...     def update_temperature(self, tc): return (tc[0] > 0.01, (tc[0] / 2, tc[1]))
    >>> Halve().update_temperature((1.0, 0.0))
    (True, (0.5, 0.0))
)doc");
    cls.def(py::init([] {
                return std::shared_ptr<CoolingSchedule4HSA>(std::make_shared<PythonCoolingSchedule>());
            }),
            "Base of a Python cooling schedule. Example: ``super().__init__()``");
    cls.def(
        "propose_additional_population",
        [](CoolingSchedule4HSA& self, py::handle pairLike, State4HSA const& state,
           ThermalBath4HSA const& bath) {
            auto const population = self.proposeAdditionalPopulation(
                toTemperatureAndChange(pairLike, "temperature_and_change"), state, bath);
            return population ? py::object(toArray(*population)) : py::object(py::none());
        },
        py::arg("temperature_and_change"), py::arg("state"), py::arg("bath"),
        "None, or the (k, d) positions at which to improve the interpolator first. Example: "
        "``schedule.propose_additional_population((1.0, 0.0), state, bath)``");
    cls.def(
        "update_temperature",
        [](CoolingSchedule4HSA& self, py::handle pairLike) {
            TemperatureAndChange pair = toTemperatureAndChange(pairLike, "temperature_and_change");
            bool const goOn = self.updateTemperature(pair);
            return py::make_tuple(goOn, toTuple(pair));
        },
        py::arg("temperature_and_change"),
        "``(go_on, (temperature, change))``: the lowered pair and whether to go on. Example: "
        "``schedule.update_temperature((1.0, 0.0))``");
    cls.def("__repr__", [](py::object const& self) {
        return py::str("<{} cooling schedule>").format(self.get_type().attr("__name__"));
    });
}

void bindDriver(py::module_& module) {
    py::class_<HamiltonianSimulatedAnnealing> cls(module, "HamiltonianSimulatedAnnealing", R"doc(
Runs the annealing loop over a domain, an interpolator and a thermal bath (kept alive by the driver) and
a cooling schedule lent to each run.

Example:
    >>> import kestrel
    >>> f = kestrel.make_test_function("sphere", 2)
    >>> model = kestrel.ObjectiveInterpolator4HSA(f.objective, f.gradient)
    >>> values, best = model.improve_quality_at([[1.0, 2.0], [-3.0, 0.5], [2.0, -1.0]])  # first statistics
    >>> driver = kestrel.HamiltonianSimulatedAnnealing(
    ...     kestrel.BoxDomain4HSA(f.box), model, kestrel.LeapfrogThermalBath4HSA(seed=7, step=0.05, steps_per_sample=4))
    >>> last = driver.drive_hsa(kestrel.GeometricCoolingSchedule4HSA(0.5, 1e-3))
)doc");
    cls.def(py::init([](std::shared_ptr<Domain4HSA> domain, std::shared_ptr<Interpolator4HSA> interpolator,
                        std::shared_ptr<ThermalBath4HSA> bath) {
                if (!domain || !interpolator || !bath) {
                    throw py::value_error("domain, interpolator and thermal_bath must not be None");
                }
                return HamiltonianSimulatedAnnealing(domain, interpolator, bath);
            }),
            py::arg("domain"), py::arg("interpolator"), py::arg("thermal_bath"), py::keep_alive<1, 2>(),
            py::keep_alive<1, 3>(), py::keep_alive<1, 4>(), py::keep_alive<4, 2>(), py::keep_alive<4, 3>(),
            "A driver; calls ``thermal_bath.init(domain, interpolator)``. Example: see the class.");
    cls.def(
        "drive_hsa",
        [](HamiltonianSimulatedAnnealing& self, CoolingSchedule4HSA& schedule) {
            std::vector<double> result;
            {
                py::gil_scoped_release release;
                self.driveHSA(schedule, result);
            }
            return toArray(result);
        },
        py::arg("schedule"), R"doc(
One annealing run; returns the position of the last sample. The GIL is released while C++ components
run; Python components are called with it. The schedule must end the run.

Example: ``last = driver.drive_hsa(kestrel.GeometricCoolingSchedule4HSA(0.5, 1e-3))``
)doc");
    cls.def("__repr__", [](HamiltonianSimulatedAnnealing const&) {
        return std::string("HamiltonianSimulatedAnnealing()");
    });
}

}  // namespace

void bindAnnealingFramework(py::module_& module) {
    bindState(module);
    bindIntegrator(module);
    bindDomain(module);
    bindInterpolator(module);
    bindThermalBath(module);
    bindCoolingSchedule(module);
    bindDriver(module);
}

}  // namespace kestrel_python
