// Python face of the master selection: DrawbeadToyModel, the abstract MasterOptimizer4Interpolation
// (subclassable from Python: override get_interpolation and geometry_based_evaluation) and the ready
// MasterOptimizer4DrawbeadToyModel.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"
#include "PythonCalls.h"

#include <memory>
#include <string>
#include <vector>

namespace kestrel_python {

namespace {

using Kestrel::DrawbeadToyModel;
using Kestrel::MasterOptimizer4DrawbeadToyModel;
using Kestrel::MasterOptimizer4Interpolation;

using Evaluator = boost::function<double(std::vector<double> const&)>;

// The toy-model optimiser with its number of positions, which the arguments are checked against.
class ToyOptimizer : public MasterOptimizer4DrawbeadToyModel {
  public:
    explicit ToyOptimizer(std::shared_ptr<DrawbeadToyModel const> const& model)
        : MasterOptimizer4DrawbeadToyModel(model), positions(model->getMinMaxData().size()) {}

    std::size_t positions;
};

// Forwards the two model-specific operations to the Python subclass, taking the GIL for each call (the
// score is called from the optimiser's OpenMP threads).
class PythonMasterOptimizer : public MasterOptimizer4Interpolation {
  public:
    PythonMasterOptimizer(std::vector<std::pair<double, double>> const& minMax, Evaluator evaluator)
        : MasterOptimizer4Interpolation(minMax, std::move(evaluator)), positions(minMax.size()) {}

    std::size_t const positions;
    InterruptibleCalls const scoreCalls;

    double evaluateValues(std::vector<double> const& values) const { return getTheEvaluator()(values); }

    void setPrecondition(py::object check) {
        if (check.is_none()) {
            setSearchPrecondition(boost::function<void()>());
            return;
        }
        PythonFunction const function(std::move(check));
        setSearchPrecondition([function] { callPython([&] { function(); }); });
    }

  private:
    std::shared_ptr<std::vector<double>> getInterpolation(
        std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const override {
        return callPython([&] {
            py::object const values =
                override("get_interpolation")(toArray(masterIndices), toArray(masterValues));
            return std::make_shared<std::vector<double>>(toVector(values, "get_interpolation() result"));
        });
    }

    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        return callPython(
            [&] { return override("geometry_based_evaluation")(toArray(masterIndices)).cast<double>(); });
    }

    py::function override(char const* name) const {
        py::function function =
            py::get_override(static_cast<MasterOptimizer4Interpolation const*>(this), name);
        if (!function) {
            throw py::type_error(std::string("a MasterOptimizer4Interpolation subclass must override ") +
                                 name);
        }
        return function;
    }
};

Evaluator toEvaluator(py::object evaluator) {
    PythonFunction const function(std::move(evaluator));
    return [function](std::vector<double> const& values) {
        return callPython([&] { return function(toArray(values)).cast<double>(); });
    };
}

// The number of positions of an optimiser made by this module (every one is of these two types).
std::size_t positionsOf(MasterOptimizer4Interpolation const& self) {
    if (auto const* python = dynamic_cast<PythonMasterOptimizer const*>(&self)) {
        return python->positions;
    }
    return dynamic_cast<ToyOptimizer const&>(self).positions;
}

void requireIndex(int index, std::size_t count, char const* name) {
    if (index < 0 || static_cast<std::size_t>(index) >= count) {
        throw py::index_error(std::string(name) + ": index " + std::to_string(index) + " is outside 0 ... " +
                              std::to_string(static_cast<long long>(count) - 1));
    }
}

// Ascending indices within 0 ... count - 1.
void requireAscendingIndices(std::vector<int> const& indices, std::size_t count, char const* name) {
    for (std::size_t i = 0; i < indices.size(); ++i) {
        requireIndex(indices[i], count, name);
        if (i > 0 && indices[i] <= indices[i - 1]) {
            throw py::value_error(std::string(name) + ": indices must be strictly ascending");
        }
    }
}

py::array_t<py::ssize_t> optimalMasterIndices(MasterOptimizer4Interpolation const& self, int masters,
                                              py::handle preGroupsLike) {
    std::size_t const positions = positionsOf(self);
    std::vector<int> preGroups;
    if (!preGroupsLike.is_none()) {
        preGroups = toIndexVector(preGroupsLike, "pre_groups");
        requireAscendingIndices(preGroups, positions, "pre_groups");
    }
    if (auto const* python = dynamic_cast<PythonMasterOptimizer const*>(&self)) {
        python->scoreCalls.reset();
    }
    std::vector<int> result;
    {
        py::gil_scoped_release release;
        self.calculateOptimalMasterIndices(masters, result, preGroupsLike.is_none() ? nullptr : &preGroups);
    }
    return toArray(result);
}

// calculate_exact_optimal_master_indices: (score, masters); the library checks the pre-groups (boundaries
// up to n included) and maps its std::invalid_argument to ValueError.
py::tuple exactOptimalMasterIndices(ToyOptimizer const& self, int masters, py::handle preGroupsLike) {
    std::vector<int> const preGroups =
        preGroupsLike.is_none() ? std::vector<int>() : toIndexVector(preGroupsLike, "pre_groups");
    std::vector<int> result;
    double score = 0.0;
    {
        py::gil_scoped_release release;
        score = self.calculateExactOptimalMasterIndices(masters, result,
                                                        preGroupsLike.is_none() ? nullptr : &preGroups);
    }
    return py::make_tuple(score, toArray(result));
}

py::array_t<double> interpolate(MasterOptimizer4Interpolation const& self, py::handle indicesLike,
                                py::handle valuesLike) {
    std::size_t const positions = positionsOf(self);
    std::vector<int> const indices = toIndexVector(indicesLike, "master_indices");
    std::vector<double> const values = toVector(valuesLike, "master_values");
    requireAscendingIndices(indices, positions, "master_indices");
    if (values.size() != indices.size()) {
        throw py::value_error("master_values: has " + std::to_string(values.size()) +
                              " entries but master_indices has " + std::to_string(indices.size()));
    }
    std::shared_ptr<std::vector<double>> result;
    {
        py::gil_scoped_release release;
        result = self.interpolate(indices, values);
    }
    return toArray(*result);
}

double evaluateMasterChoice(MasterOptimizer4Interpolation const& self, py::handle indicesLike) {
    std::vector<int> const indices = toIndexVector(indicesLike, "master_indices");
    py::gil_scoped_release release;
    return self.evaluateMasterChoice(indices);
}

void bindToyModel(py::module_& module) {
    py::class_<DrawbeadToyModel, std::shared_ptr<DrawbeadToyModel>> cls(module, "DrawbeadToyModel", R"doc(
A chain of n segments along a drawbead line, open or closed: per segment a length and an admissible
(minimum, maximum) value pair, and between neighbours a transition length. Immutable; copies are
independent.

Example:
    >>> import kestrel
    >>> model = kestrel.DrawbeadToyModel([2.0, 4.0, 6.0, 3.0, 5.0], [[0.1, 0.9]] * 5, closed=True)
    >>> model.full_distance(0, 2)
    14.0
)doc");
    cls.def(
        py::init([](py::handle lengthsLike, py::handle minMaxLike, bool closed, py::handle transitionsLike) {
            std::vector<double> const lengths = toVector(lengthsLike, "segment_lengths");
            std::vector<std::pair<double, double>> const minMax = toPairs(minMaxLike, "min_max");
            if (minMax.size() != lengths.size()) {
                throw py::value_error("min_max: has " + std::to_string(minMax.size()) +
                                      " rows but segment_lengths has " + std::to_string(lengths.size()));
            }
            for (double const length : lengths) {
                if (!(length >= 0.0)) {
                    throw py::value_error("segment_lengths: lengths must be non-negative");
                }
            }
            if (transitionsLike.is_none()) {
                return std::make_shared<DrawbeadToyModel>(lengths, minMax, closed, nullptr);
            }
            std::vector<double> const transitions = toVector(transitionsLike, "transition_lengths");
            return std::make_shared<DrawbeadToyModel>(lengths, minMax, closed, &transitions);
        }),
        py::arg("segment_lengths"), py::arg("min_max"), py::arg("closed"),
        py::arg("transition_lengths") = py::none(), R"doc(
A model from n segment lengths, an (n, 2) array of (minimum, maximum) values and the closed flag.
Without ``transition_lengths`` they are derived: entry i = min(length[i], length[i + 1]).

Example:
    >>> model = kestrel.DrawbeadToyModel([1.0, 1.0], [[0, 1], [0, 1]], False, transition_lengths=[0.5])
)doc");
    cls.def(
        "__len__", [](DrawbeadToyModel const& self) { return self.getMinMaxData().size(); },
        "The number of segments n.");
    cls.def(
        "get_segment_length",
        [](DrawbeadToyModel const& self, int i) {
            requireIndex(i, self.getMinMaxData().size(), "i");
            return self.getSegmentLength(i);
        },
        py::arg("i"), "Length of segment i. Example: ``model.get_segment_length(0)``");
    cls.def_property_readonly(
        "min_max_data", [](DrawbeadToyModel const& self) { return toArray(self.getMinMaxData()); },
        "The (n, 2) array of admissible (minimum, maximum) values. Example: ``model.min_max_data[0]``");
    cls.def_property_readonly("closed", &DrawbeadToyModel::isClosed,
                              "Whether the line is closed. Example: ``model.closed``");
    cls.def_property_readonly(
        "transition_lengths",
        [](DrawbeadToyModel const& self) { return toArray(self.getTransitionLengths()); },
        "The transition lengths as given or derived. Example: ``model.transition_lengths``");
    cls.def(
        "distance",
        [](DrawbeadToyModel const& self, int from, int to) {
            requireIndex(from, self.getMinMaxData().size(), "from_");
            requireIndex(to, self.getMinMaxData().size(), "to");
            return self.distance(from, to);
        },
        py::arg("from_"), py::arg("to"),
        "Sum of the lengths of the segments strictly between from_ and to going forward (wrapping).\n\n"
        "Example: ``model.distance(0, 3)``");
    cls.def(
        "full_distance",
        [](DrawbeadToyModel const& self, int from, int to) {
            requireIndex(from, self.getMinMaxData().size(), "from_");
            requireIndex(to, self.getMinMaxData().size(), "to");
            return self.fullDistance(from, to);
        },
        py::arg("from_"), py::arg("to"),
        "Middle of segment from_ to middle of segment to, going forward, transitions included.\n\n"
        "Example: ``model.full_distance(0, 2)``");
    cls.def(
        "calculate_penalty_value",
        [](DrawbeadToyModel const& self, py::handle valuesLike) {
            std::vector<double> const values = toVector(valuesLike, "values");
            if (values.size() < self.getMinMaxData().size()) {
                throw py::value_error("values: has " + std::to_string(values.size()) + " entries, needs " +
                                      std::to_string(self.getMinMaxData().size()));
            }
            return self.calculatePenaltyValue(values);
        },
        py::arg("values"),
        "Discrete gradient energy of one value per segment.\n\nExample: "
        "``model.calculate_penalty_value([0.5] * len(model))``");
    cls.def("__repr__", [](DrawbeadToyModel const& self) {
        return "DrawbeadToyModel(segments=" + std::to_string(self.getMinMaxData().size()) +
               ", closed=" + (self.isClosed() ? "True" : "False") + ")";
    });
    addCopying(cls);
}

void bindOptimisers(py::module_& module) {
    py::class_<MasterOptimizer4Interpolation, PythonMasterOptimizer,
               std::shared_ptr<MasterOptimizer4Interpolation>>
        base(module, "MasterOptimizer4Interpolation", R"doc(
Abstract choice of master positions on a line, from which all other positions are interpolated.

Subclass it in Python and override ``get_interpolation(master_indices, master_values) -> array`` (the
full vector of n values) and ``geometry_based_evaluation(master_indices) -> float`` (score of a master
choice, smaller is better). The score is called from the optimiser's threads, each call holding the GIL;
an exception it raises comes out of ``calculate_optimal_master_indices`` unchanged.

Example:
    >>> import numpy as np, kestrel
    >>> class Spread(kestrel.MasterOptimizer4Interpolation):
    ...     def get_interpolation(self, indices, values):
    ...         return np.interp(np.arange(6), indices, values)
    ...     def geometry_based_evaluation(self, indices):
    ...         return -float(np.min(np.diff(np.sort(indices)))) if len(indices) > 1 else 0.0
    >>> optimiser = Spread([[0.0, 1.0]] * 6, evaluator=lambda values: float(np.sum(values)))
    >>> masters = optimiser.calculate_optimal_master_indices(2)
)doc");
    base.def(
        py::init([](py::handle minMaxLike, py::object evaluator) {
            return std::shared_ptr<MasterOptimizer4Interpolation>(std::make_shared<PythonMasterOptimizer>(
                toPairs(minMaxLike, "min_max"), toEvaluator(std::move(evaluator))));
        }),
        py::arg("min_max"), py::arg("evaluator"), R"doc(
Base of a Python optimiser: an (n, 2) array of (minimum, maximum) values per position and an evaluator
of a full value vector (a callable taking an array and returning a float).

Example: ``super().__init__([[0.0, 1.0]] * 6, evaluator=sum)``
)doc");
    base.def("__len__", &positionsOf, "The number of positions n.");
    base.def("calculate_optimal_master_indices", &optimalMasterIndices, py::arg("number_of_masters"),
             py::arg("pre_groups") = py::none(), R"doc(
The 0-based master positions, ascending, as an int array, chosen by a cross-entropy optimisation of
``geometry_based_evaluation``. ``pre_groups`` (sorted 0-based group starts) allows at most one master
per group and one outside every group. The GIL is released while the optimisation runs.

Example: ``optimiser.calculate_optimal_master_indices(3, pre_groups=[0, 4, 8])``
)doc");
    base.def("interpolate", &interpolate, py::arg("master_indices"), py::arg("master_values"), R"doc(
The full vector of n values interpolated from ``master_values[k]`` at position ``master_indices[k]``
(ascending, 0-based).

Example: ``optimiser.interpolate([0, 3], [0.2, 0.8])``
)doc");
    base.def("evaluate_master_choice", &evaluateMasterChoice, py::arg("master_indices"), R"doc(
The score of a master choice (0-based positions in the order chosen; smaller is better).

Example: ``optimiser.evaluate_master_choice([0, 3])``
)doc");
    base.def(
        "set_search_precondition",
        [](MasterOptimizer4Interpolation& self, py::object check) {
            auto* python = dynamic_cast<PythonMasterOptimizer*>(&self);
            if (python == nullptr) {
                throw py::type_error("set_search_precondition is available on Python subclasses only");
            }
            python->setPrecondition(std::move(check));
        },
        py::arg("check"), R"doc(
Installs ``check()``, called before every search of two or more masters on two or more positions; an
exception it raises (ValueError for a line the score cannot rank) stops the search before any score is
computed. None removes it.

Example: ``self.set_search_precondition(lambda: None)``
)doc");
    base.def(
        "evaluate_values",
        [](MasterOptimizer4Interpolation const& self, py::handle valuesLike) {
            std::vector<double> const values = toVector(valuesLike, "values");
            auto const* python = dynamic_cast<PythonMasterOptimizer const*>(&self);
            if (python == nullptr) {
                throw py::type_error("evaluate_values is available on Python subclasses only");
            }
            return python->evaluateValues(values);
        },
        py::arg("values"),
        "The evaluator given at construction, applied to a full value vector.\n\n"
        "Example: ``optimiser.evaluate_values(optimiser.interpolate([0, 3], [0.2, 0.8]))``");

    py::class_<ToyOptimizer, MasterOptimizer4Interpolation, std::shared_ptr<ToyOptimizer>> toy(
        module, "MasterOptimizer4DrawbeadToyModel", R"doc(
The master optimiser of a DrawbeadToyModel: masters spread far apart along the line, little length left
uncovered; interpolation linear in the distance along the line, clamped and mapped through
(1 - cos(pi v)) / 2. Copies share the immutable model.

Example:
    >>> import kestrel
    >>> model = kestrel.DrawbeadToyModel([2.0, 4.0, 6.0, 3.0, 5.0], [[0.1, 0.9]] * 5, closed=True)
    >>> optimiser = kestrel.MasterOptimizer4DrawbeadToyModel(model)
    >>> masters = optimiser.calculate_optimal_master_indices(2)
    >>> values = optimiser.interpolate(masters, [0.3, 0.7])
)doc");
    toy.def(py::init([](std::shared_ptr<DrawbeadToyModel> model) {
                if (!model) {
                    throw py::value_error("model: must not be None");
                }
                return std::make_shared<ToyOptimizer>(model);
            }),
            py::arg("model"), "The optimiser of a model (shared, not copied). Example: see the class.");
    toy.def("calculate_exact_optimal_master_indices", &exactOptimalMasterIndices,
            py::arg("number_of_masters"), py::arg("pre_groups") = py::none(), R"doc(
The exact counterpart of calculate_optimal_master_indices: ``(score, masters)``, the smallest score of
evaluate_master_choice and its 0-based master positions, ascending, as an int array. ``pre_groups``
(sorted boundaries b0 < ... < bk in 0 ... n, group g holding positions b(g) ... b(g+1) - 1) allows at
most one master per group and one outside every group. A segment of length zero is never a master. The
GIL is released while the search runs. Raises ValueError for number_of_masters outside 1 ... n, bad
pre-groups, or no admissible choice.

Example:
    >>> model = kestrel.DrawbeadToyModel([2.0, 4.0, 6.0, 3.0, 5.0], [[0.1, 0.9]] * 5, closed=True)
    >>> optimiser = kestrel.MasterOptimizer4DrawbeadToyModel(model)
    >>> score, masters = optimiser.calculate_exact_optimal_master_indices(2)
    >>> score == optimiser.evaluate_master_choice(masters)
    True
)doc");
    toy.def("__repr__", [](ToyOptimizer const& self) {
        return "MasterOptimizer4DrawbeadToyModel(positions=" + std::to_string(self.positions) + ")";
    });
    addCopying(toy);
}

}  // namespace

void bindMasters(py::module_& module) {
    bindToyModel(module);
    bindOptimisers(module);
}

}  // namespace kestrel_python
