// Python face of the assignment solver: the class HungarianAlgorithm and linear_sum_assignment with the
// calling and return conventions numpy users know from scipy.
#include <Kestrel/HungarianAlgorithm.h>

#include "Arrays.h"
#include "Bindings.h"
#include "Copying.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace kestrel_python {

namespace {

std::string elementName(py::ssize_t row, py::ssize_t column) {
    return "cost: element (" + std::to_string(row) + ", " + std::to_string(column) + ")";
}

// The rows of an equivalent problem without negative elements, whose minimum-cost assignments are the
// optimal assignments of `cost` (minimum or maximum cost as asked). Minimising, +inf marks a forbidden
// pair and the matrix is shifted by its smallest finite element when that is negative; maximising, -inf
// marks a forbidden pair and every finite element c becomes (largest finite element) - c. Any other
// non-finite element raises ValueError naming it.
std::vector<std::vector<double>> equivalentNonNegativeRows(RealArray const& cost, bool maximize) {
    py::ssize_t const rows = cost.shape(0);
    py::ssize_t const columns = cost.shape(1);
    double const forbidden =
        maximize ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    double const* data = cost.data();
    double smallest = 0.0;
    double largest = -std::numeric_limits<double>::infinity();
    for (py::ssize_t row = 0; row < rows; ++row) {
        for (py::ssize_t column = 0; column < columns; ++column) {
            double const value = data[row * columns + column];
            if (std::isnan(value)) {
                throw py::value_error(elementName(row, column) + " is NaN");
            }
            if (std::isinf(value) && value != forbidden) {
                throw py::value_error(elementName(row, column) + " is " + (value > 0 ? "+inf" : "-inf") +
                                      (maximize ? " (with maximize, -inf marks a forbidden pair)"
                                                : " (+inf marks a forbidden pair)"));
            }
            if (std::isfinite(value)) {
                smallest = std::min(smallest, value);
                largest = std::max(largest, value);
            }
        }
    }
    std::vector<std::vector<double>> result(static_cast<std::size_t>(rows),
                                            std::vector<double>(static_cast<std::size_t>(columns)));
    for (py::ssize_t row = 0; row < rows; ++row) {
        std::vector<double>& target = result[static_cast<std::size_t>(row)];
        for (py::ssize_t column = 0; column < columns; ++column) {
            double const value = data[row * columns + column];
            double transformed = std::numeric_limits<double>::infinity();
            if (std::isfinite(value)) {
                transformed = maximize ? largest - value : (smallest < 0.0 ? value - smallest : value);
            }
            target[static_cast<std::size_t>(column)] = transformed;
        }
    }
    return result;
}

py::tuple linearSumAssignment(py::handle costLike, bool maximize) {
    RealArray const cost = toRealArray(costLike, "cost", 2);
    std::vector<int> assignment;
    {
        py::gil_scoped_release release;
        std::vector<std::vector<double>> rows = equivalentNonNegativeRows(cost, maximize);
        if (!rows.empty() && !rows.front().empty()) {
            HungarianAlgorithm().Solve(rows, assignment);
        }
    }
    std::vector<int> rowIndices;
    std::vector<int> columnIndices;
    for (std::size_t row = 0; row < assignment.size(); ++row) {
        if (assignment[row] >= 0) {
            rowIndices.push_back(static_cast<int>(row));
            columnIndices.push_back(assignment[row]);
        }
    }
    return py::make_tuple(toArray(rowIndices), toArray(columnIndices));
}

py::tuple solve(HungarianAlgorithm& solver, py::handle costLike) {
    std::vector<std::vector<double>> cost = toRows(costLike, "cost");
    std::vector<int> assignment;
    double total = 0.0;
    {
        py::gil_scoped_release release;
        total = solver.Solve(cost, assignment);
    }
    return py::make_tuple(total, toArray(assignment));
}

}  // namespace

void bindAssignment(py::module_& module) {
    py::class_<HungarianAlgorithm> cls(module, "HungarianAlgorithm", R"doc(
Solver of the rectangular linear assignment problem (Munkres form of the Hungarian method).

Each row gets at most one column and each column at most one row, min(rows, columns) pairs are formed
and their total cost is minimal. Ties are broken reproducibly (lowest column first, then lowest row).
The solver has no state; copies are independent.

Example:
    >>> import kestrel
    >>> total, assignment = kestrel.HungarianAlgorithm().solve([[4, 1, 3], [2, 0, 5], [3, 2, 2]])
    >>> total, assignment.tolist()
    (5.0, [1, 0, 2])
)doc");
    cls.def(py::init<>(), "A solver. Example: ``solver = kestrel.HungarianAlgorithm()``");
    cls.def("solve", &solve, py::arg("cost"), R"doc(
Solves the assignment problem for a 2-D cost matrix (rows by columns).

Returns ``(total, assignment)``: the sum of the assigned costs, added in row order, and an int array with
the column of every row (-1 for a row left unassigned by a taller than wide matrix). The GIL is released
while the solver runs.

``+inf`` marks a forbidden pair. Each negative element writes one line "All matrix elements have to be
non-negative." to standard error, as the C++ solver does; ``linear_sum_assignment`` avoids that. Raises
ValueError for NaN or -inf (naming the element) and "cost matrix is infeasible" when the forbidden pairs
leave no complete assignment; TypeError for data that is not numeric.

Example:
    >>> kestrel.HungarianAlgorithm().solve([[1.0, 2.0], [2.0, 1.0]])[0]
    2.0
)doc");
    cls.def("__repr__", [](HungarianAlgorithm const&) { return std::string("HungarianAlgorithm()"); });
    addCopying(cls);

    module.def("linear_sum_assignment", &linearSumAssignment, py::arg("cost"), py::arg("maximize") = false,
               R"doc(
Solves the linear sum assignment problem with scipy's calling and return conventions.

``cost`` is any 2-D array-like of reals (rectangular allowed). Returns ``(row_ind, col_ind)``, int arrays
sorted by row, so that ``cost[row_ind, col_ind].sum()`` is minimal (maximal with ``maximize=True``) over
all assignments of min(rows, columns) pairs. ``+inf`` (``-inf`` with ``maximize``) marks a forbidden
pair. The solver sees an equivalent problem without negative elements (the matrix shifted by its
smallest element, or the largest element minus each element when maximising), so negative costs are
fine and nothing is written to standard error. The GIL is released while the solver runs.

Raises ValueError for a matrix that is not 2-D, for NaN, or for an infinity of the other sign (each
naming the element), and for a matrix whose forbidden pairs leave no complete assignment.

Example:
    >>> import numpy as np, kestrel
    >>> rows, cols = kestrel.linear_sum_assignment(np.array([[4, 1, 3], [2, 0, 5], [3, 2, 2]]))
    >>> rows.tolist(), cols.tolist()
    ([0, 1, 2], [1, 0, 2])
)doc");
}

}  // namespace kestrel_python
