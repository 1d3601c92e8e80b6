// Python face of the ready annealing components: the box domain, the objective interpolator, the leapfrog
// thermal bath, the geometric cooling schedule, the named test functions and anneal_in_box.
//
// Objectives and gradients are Python callables (``f(x) -> float``, ``g(x) -> array``) or the compiled
// functions of a test function (``make_test_function(...).objective``), which run without the GIL and
// take it only every 1024 calls to let Ctrl-C through.
#include <Kestrel/ReadyComponents4HSA.h>

#include "AnnealingTypes.h"
#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"
#include "PythonCalls.h"

#include <pybind11/stl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kestrel_python {

namespace {

using Kestrel::AnnealingResult4HSA;
using Kestrel::AnnealingSettings4HSA;
using Kestrel::BasinHoppingThermalBath4HSA;
using Kestrel::Box4HSA;
using Kestrel::BoxDomain4HSA;
using Kestrel::GeometricCoolingSchedule4HSA;
using Kestrel::Gradient4HSA;
using Kestrel::LeapfrogThermalBath4HSA;
using Kestrel::Objective4HSA;
using Kestrel::ObjectiveInterpolator4HSA;
using Kestrel::TestFunction4HSA;

// A compiled objective or gradient, callable from Python.
struct CompiledObjective {
    std::string name;
    Objective4HSA function;
};
struct CompiledGradient {
    std::string name;
    Gradient4HSA function;
};

// Every `interval` calls the wrapper takes the GIL and raises a pending Ctrl-C.
constexpr std::uint64_t kInterruptCheckInterval =
    1024;  // rare enough to cost nothing, often enough for Ctrl-C

class InterruptCheck {
  public:
    void operator()() const {
        if (++*calls_ % kInterruptCheckInterval == 0) {
            callPython([] {});
        }
    }

  private:
    std::shared_ptr<std::uint64_t> calls_ = std::make_shared<std::uint64_t>(0);
};

Objective4HSA toObjective(py::object objective) {
    if (py::isinstance<CompiledObjective>(objective)) {
        Objective4HSA const compiled = objective.cast<CompiledObjective const&>().function;
        InterruptCheck const check;
        return [compiled, check](std::vector<double> const& x) {
            check();
            return compiled(x);
        };
    }
    if (!PyCallable_Check(objective.ptr())) {
        throw py::type_error("objective: expected a callable");
    }
    PythonFunction const function(std::move(objective));
    return [function](std::vector<double> const& x) {
        return callPython([&] { return function(toArray(x)).cast<double>(); });
    };
}

Gradient4HSA toGradient(py::object gradient) {
    if (py::isinstance<CompiledGradient>(gradient)) {
        Gradient4HSA const compiled = gradient.cast<CompiledGradient const&>().function;
        InterruptCheck const check;
        return [compiled, check](std::vector<double> const& x, std::vector<double>& g) {
            check();
            compiled(x, g);
        };
    }
    if (!PyCallable_Check(gradient.ptr())) {
        throw py::type_error("gradient: expected a callable");
    }
    PythonFunction const function(std::move(gradient));
    return [function](std::vector<double> const& x, std::vector<double>& g) {
        callPython([&] { copyInto(function(toArray(x)), "gradient() result", g); });
    };
}

Box4HSA toBox(py::handle box) {
    return toPairs(box, "box");
}

void bindCompiledFunctions(py::module_& module) {
    py::class_<CompiledObjective>(module, "Objective4HSA", R"doc(
A compiled objective (from make_test_function); call it with a position.

Example:
    >>> import kestrel
    >>> kestrel.make_test_function("sphere", 2).objective([1.0, 2.0])
    5.0
)doc")
        .def(
            "__call__",
            [](CompiledObjective const& self, py::handle x) { return self.function(toVector(x, "x")); },
            py::arg("x"), "The value at x. Example: ``f.objective([0.0, 0.0])``")
        .def("__repr__", [](CompiledObjective const& self) { return "<objective of " + self.name + ">"; });
    py::class_<CompiledGradient>(module, "Gradient4HSA", R"doc(
A compiled gradient (from make_test_function); call it with a position.

Example:
    >>> kestrel.make_test_function("sphere", 2).gradient([1.0, 2.0]).tolist()
    [2.0, 4.0]
)doc")
        .def(
            "__call__",
            [](CompiledGradient const& self, py::handle xLike) {
                std::vector<double> const x = toVector(xLike, "x");
                std::vector<double> g(x.size());
                self.function(x, g);
                return toArray(g);
            },
            py::arg("x"), "The gradient at x. Example: ``f.gradient([0.0, 0.0])``")
        .def("__repr__", [](CompiledGradient const& self) { return "<gradient of " + self.name + ">"; });
}

// The sample counts of a ready bath and a repr showing them.
template <typename Bath>
void addSampleCounts(py::class_<Bath, Kestrel::ThermalBath4HSA, std::shared_ptr<Bath>>& cls,
                     std::string const& name) {
    cls.def_property_readonly("number_of_samples", &Bath::getNumberOfSamples,
                              "Samples drawn. Example: ``bath.number_of_samples``");
    cls.def_property_readonly("number_of_accepted_samples", &Bath::getNumberOfAcceptedSamples,
                              "Samples accepted. Example: ``bath.number_of_accepted_samples``");
    cls.def("__repr__", [name](Bath const& self) {
        return name + "(samples=" + std::to_string(self.getNumberOfSamples()) +
               ", accepted=" + std::to_string(self.getNumberOfAcceptedSamples()) + ")";
    });
}

void bindComponents(py::module_& module) {
    py::class_<BoxDomain4HSA, Kestrel::Domain4HSA, std::shared_ptr<BoxDomain4HSA>> box(module,
                                                                                       "BoxDomain4HSA", R"doc(
An axis-aligned box whose walls reflect the velocity; starts at its centre or at a given position.

Example:
    >>> import kestrel
    >>> domain = kestrel.BoxDomain4HSA([[-1.0, 1.0], [0.0, 2.0]])
    >>> domain.propose_initial_position().tolist()
    [0.0, 1.0]
)doc");
    box.def(py::init([](py::handle boxLike, py::handle initial) {
                if (initial.is_none()) {
                    return std::make_shared<BoxDomain4HSA>(toBox(boxLike));
                }
                return std::make_shared<BoxDomain4HSA>(toBox(boxLike), toVector(initial, "initial_position"));
            }),
            py::arg("box"), py::arg("initial_position") = py::none(), R"doc(
A box from a (d, 2) array of (lower, upper) bounds. Raises ValueError for no coordinates, bounds that
are not finite with lower <= upper, or an initial position of another length or outside the box.

Example: ``BoxDomain4HSA([[0, 1], [0, 1]], initial_position=[0.2, 0.3])``
)doc");
    box.def_property_readonly(
        "box", [](BoxDomain4HSA const& self) { return toArray(self.getBox()); },
        "The (d, 2) bounds. Example: ``domain.box``");
    box.def("__repr__", [](BoxDomain4HSA const& self) {
        return "BoxDomain4HSA(dimension=" + std::to_string(self.getBox().size()) + ")";
    });
    addCopying(box);

    py::class_<ObjectiveInterpolator4HSA, Kestrel::Interpolator4HSA,
               std::shared_ptr<ObjectiveInterpolator4HSA>>
        interpolator(module, "ObjectiveInterpolator4HSA", R"doc(
An objective and its gradient taken as exact; keeps statistics of every value computed and the best
position seen. ``gradient(x)`` returns the gradient (steepest ascent); the interpolator hands its
negation to the integrator.

Example:
    >>> import numpy as np, kestrel
    >>> model = kestrel.ObjectiveInterpolator4HSA(lambda x: float(x @ x), lambda x: 2.0 * x)
    >>> model.calculate_value([3.0, 4.0]), model.best_value
    (25.0, 25.0)
)doc");
    interpolator.def(py::init([](py::object objective, py::object gradient) {
                         return std::make_shared<ObjectiveInterpolator4HSA>(toObjective(std::move(objective)),
                                                                            toGradient(std::move(gradient)));
                     }),
                     py::arg("objective"), py::arg("gradient"),
                     "An interpolator of f and its gradient. Example: see the class.");
    interpolator.def_property_readonly(
        "number_of_objective_calls", &ObjectiveInterpolator4HSA::getNumberOfObjectiveCalls,
        "Objective calls so far. Example: ``model.number_of_objective_calls``");
    interpolator.def_property_readonly("number_of_gradient_calls",
                                       &ObjectiveInterpolator4HSA::getNumberOfGradientCalls,
                                       "Gradient calls so far. Example: ``model.number_of_gradient_calls``");
    interpolator.def_property_readonly(
        "best_position",
        [](ObjectiveInterpolator4HSA const& self) { return toArray(self.getBestPosition()); },
        "The first lowest position seen (RuntimeError before any value). Example: ``model.best_position``");
    interpolator.def_property_readonly("best_value", &ObjectiveInterpolator4HSA::getBestValue,
                                       "The lowest value seen. Example: ``model.best_value``");
    interpolator.def("__repr__", [](ObjectiveInterpolator4HSA const& self) {
        return "ObjectiveInterpolator4HSA(objective_calls=" +
               std::to_string(self.getNumberOfObjectiveCalls()) +
               ", gradient_calls=" + std::to_string(self.getNumberOfGradientCalls()) + ")";
    });

    py::class_<LeapfrogThermalBath4HSA, Kestrel::ThermalBath4HSA, std::shared_ptr<LeapfrogThermalBath4HSA>>
        bath(module, "LeapfrogThermalBath4HSA", R"doc(
Hamiltonian Monte Carlo at temperature T with change c: momenta from a seeded normal distribution, a
leapfrog trajectory of ``steps_per_sample`` steps of length ``step``, and the Metropolis rule. Copies
carry the engine state.

Example:
    >>> import kestrel
    >>> bath = kestrel.LeapfrogThermalBath4HSA(seed=7, step=0.01, steps_per_sample=2)
)doc");
    bath.def(py::init<std::uint32_t, double, int>(), py::arg("seed"), py::arg("step"),
             py::arg("steps_per_sample"),
             "Raises ValueError unless step > 0 (finite) and steps_per_sample >= 1. Example: see the class.");
    addSampleCounts(bath, "LeapfrogThermalBath4HSA");
    addCopying(bath);

    py::class_<BasinHoppingThermalBath4HSA, Kestrel::ThermalBath4HSA,
               std::shared_ptr<BasinHoppingThermalBath4HSA>>
        hopping(module, "BasinHoppingThermalBath4HSA", R"doc(
Samples among the local minima at temperature T: a jump of one or every coordinate (Cauchy lengths
learned from the acceptance rates), the Metropolis rule on the jumped point, then a quasi-Newton descent
in the box from an accepted one; a rejected jump costs one objective call. Not copyable (a copy would
share the descent's work arrays); use a bath from one thread at a time.

Example:
    >>> import kestrel
    >>> bath = kestrel.BasinHoppingThermalBath4HSA(seed=7, box=[[-5.0, 5.0]] * 2, descent_calls=40,
    ...                                             jump_fraction=0.5)
    >>> bath.number_of_samples
    0
)doc");
    hopping.def(py::init([](std::uint32_t seed, py::handle boxLike, int descentCalls, double jumpFraction) {
                    return std::make_shared<BasinHoppingThermalBath4HSA>(seed, toBox(boxLike), descentCalls,
                                                                         jumpFraction);
                }),
                py::arg("seed"), py::arg("box"), py::arg("descent_calls"), py::arg("jump_fraction"),
                "A bath on a (d, 2) box of (lower, upper) bounds. Raises ValueError for a box BoxDomain4HSA "
                "rejects, descent_calls < 0, or jump_fraction outside (0, 1]. Example: see the class.");
    addSampleCounts(hopping, "BasinHoppingThermalBath4HSA");

    py::class_<GeometricCoolingSchedule4HSA, Kestrel::CoolingSchedule4HSA,
               std::shared_ptr<GeometricCoolingSchedule4HSA>>
        cooling(module, "GeometricCoolingSchedule4HSA", R"doc(
T <- factor * T while the new T is finite and above the stopping temperature; never asks for data.

Example:
    >>> import kestrel
    >>> kestrel.GeometricCoolingSchedule4HSA(0.5, 0.1).update_temperature((1.0, 0.0))
    (True, (0.5, 0.0))
)doc");
    cooling.def(
        py::init<double, double>(), py::arg("factor"), py::arg("stopping_temperature"),
        "Raises ValueError unless 0 < factor < 1 and stopping_temperature >= 0. Example: see the class.");
    cooling.def_property_readonly("number_of_cooling_steps",
                                  &GeometricCoolingSchedule4HSA::getNumberOfCoolingSteps,
                                  "Cooling steps so far. Example: ``schedule.number_of_cooling_steps``");
    cooling.def("__repr__", [](GeometricCoolingSchedule4HSA const& self) {
        return "GeometricCoolingSchedule4HSA(cooling_steps=" +
               std::to_string(self.getNumberOfCoolingSteps()) + ")";
    });
    addCopying(cooling);
}

void bindSettings(py::module_& module) {
    py::class_<AnnealingSettings4HSA> settings(module, "AnnealingSettings4HSA", R"doc(
Settings of anneal_in_box; every field has the library's default.

Example:
    >>> import kestrel
    >>> kestrel.AnnealingSettings4HSA(evaluation_budget=2000).evaluation_budget
    2000
)doc");
    AnnealingSettings4HSA const defaults;
    settings.def(
        py::init([](std::uint64_t evaluationBudget, int gradientCost, int warmUpPoints, double jumpFraction,
                    int descentCalls, double coolingFactor, double finalTemperatureRatio,
                    int freshStartInterval) {
            return AnnealingSettings4HSA{evaluationBudget,      gradientCost,      warmUpPoints,
                                         jumpFraction,          descentCalls,      coolingFactor,
                                         finalTemperatureRatio, freshStartInterval};
        }),
        py::arg("evaluation_budget") = defaults.evaluationBudget,
        py::arg("gradient_cost") = defaults.gradientCost, py::arg("warm_up_points") = defaults.warmUpPoints,
        py::arg("jump_fraction") = defaults.jumpFraction, py::arg("descent_calls") = defaults.descentCalls,
        py::arg("cooling_factor") = defaults.coolingFactor,
        py::arg("final_temperature_ratio") = defaults.finalTemperatureRatio,
        py::arg("fresh_start_interval") = defaults.freshStartInterval,
        "Settings; keyword arguments override the defaults. Example: "
        "``AnnealingSettings4HSA(evaluation_budget=20000)``");
    settings.def_readwrite("evaluation_budget", &AnnealingSettings4HSA::evaluationBudget,
                           "Evaluations in all, warm-up included (0: 5000 per coordinate).");
    settings.def_readwrite("gradient_cost", &AnnealingSettings4HSA::gradientCost,
                           "Evaluations charged per gradient call.");
    settings.def_readwrite("warm_up_points", &AnnealingSettings4HSA::warmUpPoints,
                           "Uniform points evaluated first.");
    settings.def_readwrite("jump_fraction", &AnnealingSettings4HSA::jumpFraction,
                           "Longest jump scale, a fraction of the box width.");
    settings.def_readwrite("descent_calls", &AnnealingSettings4HSA::descentCalls,
                           "Value + gradient calls of one descent at most.");
    settings.def_readwrite("cooling_factor", &AnnealingSettings4HSA::coolingFactor,
                           "T <- factor * T per sample.");
    settings.def_readwrite("final_temperature_ratio", &AnnealingSettings4HSA::finalTemperatureRatio,
                           "A chain stops at this fraction of its starting temperature.");
    settings.def_readwrite("fresh_start_interval", &AnnealingSettings4HSA::freshStartInterval,
                           "Every this many chains one starts at a fresh uniform point (0: none).");
    settings.def("__repr__", [](AnnealingSettings4HSA const& s) {
        return py::str(
                   "AnnealingSettings4HSA(evaluation_budget={}, gradient_cost={}, warm_up_points={}, "
                   "jump_fraction={!r}, descent_calls={}, cooling_factor={!r}, "
                   "final_temperature_ratio={!r}, fresh_start_interval={})")
            .format(s.evaluationBudget, s.gradientCost, s.warmUpPoints, s.jumpFraction, s.descentCalls,
                    s.coolingFactor, s.finalTemperatureRatio, s.freshStartInterval);
    });
    addCopying(settings);

    py::class_<AnnealingResult4HSA> result(module, "AnnealingResult4HSA", R"doc(
What anneal_in_box found: the best point and value, the last sample, and the work done.

Example: ``found = kestrel.anneal_in_box(f.objective, f.gradient, f.box, seed=7); found.best_value``
)doc");
    result.def_property_readonly(
        "best_position", [](AnnealingResult4HSA const& self) { return toArray(self.bestPosition); },
        "Lowest point among all evaluated.");
    result.def_readonly("best_value", &AnnealingResult4HSA::bestValue, "Its value.");
    result.def_property_readonly(
        "final_position", [](AnnealingResult4HSA const& self) { return toArray(self.finalPosition); },
        "The last sample of the last chain.");
    result.def_readonly("evaluations", &AnnealingResult4HSA::evaluations,
                        "Evaluations charged: objective calls + gradient_cost * gradient calls.");
    result.def_readonly("objective_evaluations", &AnnealingResult4HSA::objectiveEvaluations,
                        "Objective calls.");
    result.def_readonly("gradient_evaluations", &AnnealingResult4HSA::gradientEvaluations, "Gradient calls.");
    result.def_readonly("samples", &AnnealingResult4HSA::samples, "Thermal-bath samples drawn.");
    result.def("__repr__", [](py::object const& self) {
        return py::str(
                   "AnnealingResult4HSA(best_position={}, best_value={!r}, objective_evaluations={}, "
                   "gradient_evaluations={}, samples={})")
            .format(self.attr("best_position").attr("tolist")(), self.attr("best_value"),
                    self.attr("objective_evaluations"), self.attr("gradient_evaluations"),
                    self.attr("samples"));
    });
    addCopying(result);
}

void bindTestFunctions(py::module_& module) {
    py::class_<TestFunction4HSA> cls(module, "TestFunction4HSA", R"doc(
A named test function: compiled objective and gradient, the usual box, the known global minima.

Example:
    >>> import kestrel
    >>> f = kestrel.make_test_function("himmelblau")
    >>> f.minimum_value, f.global_minima.shape
    (0.0, (4, 2))
)doc");
    cls.def_readonly("name", &TestFunction4HSA::name, "The name.");
    cls.def_property_readonly(
        "objective",
        [](TestFunction4HSA const& self) {
            return CompiledObjective{self.name, self.objective};
        },
        "The compiled objective (callable).");
    cls.def_property_readonly(
        "gradient",
        [](TestFunction4HSA const& self) {
            return CompiledGradient{self.name, self.gradient};
        },
        "The compiled gradient (callable).");
    cls.def_property_readonly(
        "box", [](TestFunction4HSA const& self) { return toArray(self.box); }, "The (d, 2) box.");
    cls.def_property_readonly(
        "global_minima", [](TestFunction4HSA const& self) { return toArray(self.globalMinima); },
        "Every global minimiser, one per row.");
    cls.def_readonly("minimum_value", &TestFunction4HSA::minimumValue, "The global minimum value.");
    cls.def("__repr__", [](TestFunction4HSA const& self) {
        return "TestFunction4HSA(name='" + self.name + "', dimension=" + std::to_string(self.box.size()) +
               ")";
    });
    addCopying(cls);

    module.def("make_test_function", &Kestrel::makeTestFunction4HSA, py::arg("name"),
               py::arg("dimension") = 2, R"doc(
The named test function in the given dimension; ``test_function_names()`` lists the names. Raises
ValueError for an unknown name, a dimension below 1, or himmelblau in a dimension other than 2.

Example: ``kestrel.make_test_function("rastrigin", 3)``
)doc");
    module.def("test_function_names", &Kestrel::getTestFunctionNames4HSA, R"doc(
The names make_test_function accepts, in alphabetical order.

Example: ``"ackley" in kestrel.test_function_names()``
)doc");
}

AnnealingResult4HSA annealInBox(py::object objective, py::object gradient, py::handle boxLike,
                                std::uint32_t seed, py::object settingsLike) {
    Objective4HSA const f = toObjective(std::move(objective));
    Gradient4HSA const g = toGradient(std::move(gradient));
    Box4HSA const box = toBox(boxLike);
    AnnealingSettings4HSA const settings =
        settingsLike.is_none() ? AnnealingSettings4HSA() : settingsLike.cast<AnnealingSettings4HSA>();
    py::gil_scoped_release release;
    return Kestrel::annealInBox4HSA(f, g, box, seed, settings);
}

void refineInBox(ObjectiveInterpolator4HSA const& interpolator, py::handle boxLike, py::handle positionLike,
                 double initialStep, int maximumCalls) {
    Box4HSA const box = toBox(boxLike);
    std::vector<double> position = toVector(positionLike, "position");
    if (position.size() != box.size()) {
        throw py::value_error("position: has " + std::to_string(position.size()) +
                              " coordinates but box has " + std::to_string(box.size()));
    }
    for (std::size_t i = 0; i < box.size(); ++i) {
        if (!(position[i] >= box[i].first && position[i] <= box[i].second)) {
            throw py::value_error("position: coordinate " + std::to_string(i) + " lies outside the box");
        }
    }
    if (!(initialStep > 0.0)) {
        throw py::value_error("initial_step: must be positive");
    }
    py::gil_scoped_release release;
    Kestrel::refineInBox4HSA(interpolator, box, std::move(position), initialStep, maximumCalls);
}

}  // namespace

void bindAnnealingReady(py::module_& module) {
    bindCompiledFunctions(module);
    bindComponents(module);
    bindSettings(module);
    bindTestFunctions(module);
    module.def("refine_in_box", &refineInBox, py::arg("interpolator"), py::arg("box"), py::arg("position"),
               py::arg("initial_step"), py::arg("maximum_calls"), R"doc(
Polishes a point by a limited-memory quasi-Newton descent in the box (Armijo backtracking) through the
interpolator, at most ``maximum_calls`` objective + gradient calls; the result is the interpolator's
``best_position`` and ``best_value``. Raises ValueError for a position of another length, outside the
box, or a step that is not positive.

Example:
    >>> import kestrel
    >>> f = kestrel.make_test_function("sphere", 2)
    >>> model = kestrel.ObjectiveInterpolator4HSA(f.objective, f.gradient)
    >>> kestrel.refine_in_box(model, f.box, [1.0, -2.0], initial_step=0.1, maximum_calls=40)
    >>> model.best_value < 1e-12
    True
)doc");
    module.def("anneal_in_box", &annealInBox, py::arg("objective"), py::arg("gradient"), py::arg("box"),
               py::arg("seed"), py::arg("settings") = py::none(), R"doc(
Minimises ``objective`` over the box by many short annealing chains, each ending in a local descent;
returns an AnnealingResult4HSA. ``objective(x) -> float`` and ``gradient(x) -> array`` are Python
callables (called with the GIL, one at a time) or a test function's compiled ones (run without the
GIL). The same seed gives the same result bit for bit. Ctrl-C interrupts with KeyboardInterrupt.

Example:
    >>> import kestrel
    >>> f = kestrel.make_test_function("rastrigin", 2)
    >>> found = kestrel.anneal_in_box(f.objective, f.gradient, f.box, seed=7)
    >>> found.best_value < 1e-6
    True
)doc");
}

}  // namespace kestrel_python
