// Conversions between numpy arrays (or anything numpy can read as an array) and the library's containers.
//
// Inputs are converted once to contiguous float64 (or integer) data. A value numpy cannot read as an
// array of reals, or an array of another kind (complex, text, objects), raises TypeError; an array of the
// wrong number of dimensions or columns raises ValueError. Both messages start with the argument's name.
// Outputs are fresh numpy arrays that own a copy of the data.
// Every function here needs the GIL.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace kestrel_python {

namespace py = pybind11;

using RealArray = py::array_t<double, py::array::c_style | py::array::forcecast>;

// `value` as a C-contiguous float64 array of `dimensions` dimensions (and `columns` columns when
// `columns` >= 0 and the array is 2-D).
RealArray toRealArray(py::handle value, char const* name, int dimensions, py::ssize_t columns = -1);

// A 1-D array of reals as a vector.
std::vector<double> toVector(py::handle value, char const* name);
// A 1-D array of integers as a vector of int; values outside the int range raise ValueError.
std::vector<int> toIndexVector(py::handle value, char const* name);
// A 2-D array of reals as one vector per row.
std::vector<std::vector<double>> toRows(py::handle value, char const* name, py::ssize_t columns = -1);
// An (m, 2) array of reals as m pairs.
std::vector<std::pair<double, double>> toPairs(py::handle value, char const* name);
// An (m, 2) array of integers as m pairs.
std::vector<std::pair<int, int>> toIndexPairs(py::handle value, char const* name);

py::array_t<double> toArray(std::vector<double> const& values);
py::array_t<py::ssize_t> toArray(std::vector<int> const& values);
// m pairs as an (m, 2) array.
py::array_t<double> toArray(std::vector<std::pair<double, double>> const& pairs);
// Rows of equal length as a 2-D array; no rows gives shape (0, 0).
py::array_t<double> toArray(std::vector<std::vector<double>> const& rows);
py::array_t<double> toArray(std::deque<std::vector<double>> const& rows);

// Copies a 1-D array of reals back into `target`, which must keep its length.
void copyInto(py::handle value, char const* name, std::vector<double>& target);

}  // namespace kestrel_python
