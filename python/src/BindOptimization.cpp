// Python face of the cross-entropy optimiser: CombinatorialCrossEntropyOptimization with a Python
// objective, its Parameters, pre-groups and the per-iteration callback.
#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"
#include "PythonCalls.h"

#include <memory>
#include <string>
#include <vector>

namespace kestrel_python {

namespace {

using Kestrel::CombinatorialCrossEntropyOptimization;
using Parameters = CombinatorialCrossEntropyOptimization::Parameters;

// The optimiser together with the objective it holds by address; copies share both, as C++ copies of
// the optimiser share their learning state.
struct CrossEntropy {
    InterruptibleCalls calls;
    std::shared_ptr<CombinatorialCrossEntropyOptimization::Objective> objective;
    CombinatorialCrossEntropyOptimization optimiser;
    std::size_t nodes;
    int pathLength;
    bool ordered;
};

std::shared_ptr<CombinatorialCrossEntropyOptimization::Objective> toObjective(
    py::object objective, InterruptibleCalls const& calls) {
    if (!PyCallable_Check(objective.ptr())) {
        throw py::type_error("objective: expected a callable");
    }
    PythonFunction const function(std::move(objective));
    return std::make_shared<CombinatorialCrossEntropyOptimization::Objective>(
        [function, calls](std::vector<int> const& selection) {
            return calls([&] { return function(toArray(selection)).cast<double>(); });
        });
}

CrossEntropy makeCrossEntropy(py::handle matrixLike, py::object objective, py::object pathLengthLike,
                              bool ordered) {
    std::vector<std::vector<double>> const matrix = toRows(matrixLike, "matrix");
    std::size_t const nodes = matrix.size();
    if (nodes == 0 || matrix.front().size() + 1 < nodes) {
        throw py::value_error("matrix: expected n rows of at least n - 1 entries, got " +
                              std::to_string(nodes) + " rows of " +
                              std::to_string(nodes == 0 ? 0 : matrix.front().size()));
    }
    InterruptibleCalls const calls;
    auto function = toObjective(std::move(objective), calls);
    if (pathLengthLike.is_none()) {
        return CrossEntropy{calls,
                            function,
                            CombinatorialCrossEntropyOptimization(matrix, *function),
                            nodes,
                            static_cast<int>(nodes) - 1,
                            true};
    }
    int const pathLength = pathLengthLike.cast<int>();
    if (pathLength < 0) {
        throw py::value_error("path_length: must not be negative");
    }
    return CrossEntropy{
        calls, function,   CombinatorialCrossEntropyOptimization(pathLength, matrix, *function, ordered),
        nodes, pathLength, ordered};
}

py::tuple optimize(CrossEntropy& self, Parameters const& parameters, py::object callbackLike,
                   int basePopulation) {
    PythonFunction const callback(std::move(callbackLike));
    CombinatorialCrossEntropyOptimization::Callback hook =
        [callback](std::vector<std::vector<double>>& matrix, double smoothing) {
            callPython([&] {
                py::array_t<double> const shared = toArray(matrix);
                callback(shared, smoothing);
                for (std::size_t row = 0; row < matrix.size(); ++row) {
                    double const* data = shared.data(static_cast<py::ssize_t>(row));
                    std::copy(data, data + matrix[row].size(), matrix[row].begin());
                }
            });
        };
    std::vector<int> result;
    double score = 0.0;
    self.calls.reset();
    {
        py::gil_scoped_release release;
        score = self.optimiser.optimize(parameters, result, callback ? &hook : nullptr, basePopulation);
    }
    return py::make_tuple(score, toArray(result));
}

void setPreGroups(CrossEntropy& self, py::handle groupsLike) {
    if (groupsLike.is_none()) {
        self.optimiser.setPreGroups(nullptr);
        return;
    }
    std::vector<int> const groups = toIndexVector(groupsLike, "groups");
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] < 0 || static_cast<std::size_t>(groups[i]) >= self.nodes ||
            (i > 0 && groups[i] <= groups[i - 1])) {
            throw py::value_error("groups: expected strictly ascending boundaries within 0 ... " +
                                  std::to_string(self.nodes - 1));
        }
    }
    self.optimiser.setPreGroups(&groups);
}

void bindParameters(py::class_<CrossEntropy>& cls) {
    py::enum_<CombinatorialCrossEntropyOptimization::PopulationDynamics>(
        cls, "PopulationDynamics", "How the population size is chosen when no base population is given.")
        .value("StaticPopulation", CombinatorialCrossEntropyOptimization::StaticPopulation)
        .value("AdaptivePopulation", CombinatorialCrossEntropyOptimization::AdaptivePopulation)
        .export_values();
    py::class_<Parameters> parameters(cls, "Parameters", R"doc(
Settings of one optimize() call.

Example:
    >>> import kestrel
    >>> p = kestrel.CombinatorialCrossEntropyOptimization.Parameters(max_iterations=20)
    >>> p.smoothing, p.quantile
    (0.8, 0.05)
)doc");
    parameters.def(py::init<double, double, double, int, bool, int,
                            CombinatorialCrossEntropyOptimization::PopulationDynamics>(),
                   py::arg("smoothing") = 0.8, py::arg("quantile") = 0.05, py::arg("sample_factor") = 5.0,
                   py::arg("stall_iterations") = 3, py::arg("check_best_stall") = true,
                   py::arg("max_iterations") = 30,
                   py::arg("population_dynamics") = CombinatorialCrossEntropyOptimization::StaticPopulation,
                   "Parameters; every argument has a default. Example: ``Parameters(quantile=0.1)``");
    parameters.def_readwrite("smoothing", &Parameters::smoothing,
                             "Weight of the elite frequencies in the update.");
    parameters.def_readwrite("quantile", &Parameters::quantile, "Quantile level of the elite threshold.");
    parameters.def_readwrite("sample_factor", &Parameters::sampleFactor, "Multiplies the population sizes.");
    parameters.def_readwrite("stall_iterations", &Parameters::stallIterations,
                             "Equal thresholds in a row that count as convergence.");
    parameters.def_readwrite("check_best_stall", &Parameters::checkBestStall,
                             "Whether a stall of the best score also ends the run.");
    parameters.def_readwrite("max_iterations", &Parameters::maxIterations,
                             "At most max_iterations - 1 iterations run.");
    parameters.def_readwrite("population_dynamics", &Parameters::populationDynamics,
                             "Static or adaptive population.");
    parameters.def("__repr__", [](Parameters const& self) {
        return py::str(
                   "Parameters(smoothing={!r}, quantile={!r}, sample_factor={!r}, stall_iterations={!r}, "
                   "check_best_stall={!r}, max_iterations={!r}, population_dynamics={})")
            .format(self.smoothing, self.quantile, self.sampleFactor, self.stallIterations,
                    self.checkBestStall, self.maxIterations,
                    self.populationDynamics == CombinatorialCrossEntropyOptimization::StaticPopulation
                        ? "StaticPopulation"
                        : "AdaptivePopulation");
    });
    addCopying(parameters);
}

}  // namespace

void bindOptimization(py::module_& module) {
    py::class_<CrossEntropy> cls(module, "CombinatorialCrossEntropyOptimization", R"doc(
Cross-entropy minimisation over selections of nodes drawn from a matrix of transition probabilities.

``matrix`` is n x (n - 1): row 0 weighs the first item drawn, row i the item following node i; entry k of
a row is the weight of node k + 1. Items are the nodes 1 ... n - 1. The objective scores one selection
(an int array of item numbers; lower is better) and is called from the OpenMP threads, each call
holding the GIL, so it must be a pure function of its argument for reproducible results. An exception it
raises comes out of optimize() unchanged (the one of the lowest selection index). Copies share the
learning state and the objective.

Example:
    >>> import numpy as np, kestrel
    >>> n = 6
    >>> matrix = np.full((n, n - 1), 1.0 / (n - 1))
    >>> optimiser = kestrel.CombinatorialCrossEntropyOptimization(
    ...     matrix, lambda selection: float(np.sum(selection[:2])), path_length=2, ordered=False)
    >>> score, best = optimiser.optimize(kestrel.CombinatorialCrossEntropyOptimization.Parameters())
    >>> best.tolist()
    [1, 2]
)doc");
    bindParameters(cls);
    cls.def(py::init(&makeCrossEntropy), py::arg("matrix"), py::arg("objective"),
            py::arg("path_length") = py::none(), py::arg("ordered") = true, R"doc(
An optimiser of selections of ``path_length`` items (default n - 1, full paths). With ``ordered``
False each selection is sorted before it is scored.

Example: ``CombinatorialCrossEntropyOptimization(matrix, objective, path_length=3, ordered=False)``
)doc");
    cls.def("optimize", &optimize, py::arg("parameters"), py::arg("callback") = py::none(),
            py::arg("base_population") = 0, R"doc(
Runs the cross-entropy loop from the matrix as earlier calls left it. Returns ``(score, best)``: the
smallest score of the last iteration and the best selection of all iterations (an int array; empty when
nothing ran, score then +inf).

``callback(matrix, smoothing)``, if given, is called after the matrix update of an iteration whose
population was capped to ``base_population``; it may change the matrix array in place. The GIL is
released while the loop runs; Ctrl-C raises KeyboardInterrupt at the next objective call or callback on
the main thread.

Example: ``score, best = optimiser.optimize(Parameters(max_iterations=10))``
)doc");
    cls.def("set_pre_groups", &setPreGroups, py::arg("groups"), R"doc(
Restricts selections to at most one item per group: ``groups`` holds sorted 0-based item boundaries;
None or an empty list removes the restriction.

Example: ``optimiser.set_pre_groups([0, 3])``
)doc");
    cls.def_property_readonly(
        "number_of_evaluations",
        [](CrossEntropy const& self) { return self.optimiser.getNumberOfEvaluations(); },
        "Objective calls over all optimize() calls of this object and its copies. Example: "
        "``optimiser.number_of_evaluations``");
    cls.def("__repr__", [](CrossEntropy const& self) {
        return "CombinatorialCrossEntropyOptimization(nodes=" + std::to_string(self.nodes) +
               ", path_length=" + std::to_string(self.pathLength) +
               ", ordered=" + (self.ordered ? "True" : "False") + ")";
    });
    addCopying(cls);
}

}  // namespace kestrel_python
