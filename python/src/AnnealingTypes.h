// Conversions shared by the two annealing parts of the module: (temperature, change) pairs, states and
// populations handed to Python, and the arrays an interpolator returns.
#pragma once

#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include "Arrays.h"

#include <pybind11/pybind11.h>

#include <deque>
#include <memory>
#include <utility>
#include <vector>

namespace kestrel_python {

namespace py = pybind11;

using TemperatureAndChange = std::pair<double, double>;

inline py::tuple toTuple(TemperatureAndChange const& pair) {
    return py::make_tuple(pair.first, pair.second);
}

inline TemperatureAndChange toTemperatureAndChange(py::handle value, char const* name) {
    std::vector<double> const pair = toVector(value, name);
    if (pair.size() != 2) {
        throw py::value_error(std::string(name) + ": expected (temperature, change)");
    }
    return {pair[0], pair[1]};
}

// A (k, d) array of positions as a population.
inline std::shared_ptr<std::deque<std::vector<double>>> toPopulation(py::handle value, char const* name) {
    std::vector<std::vector<double>> rows = toRows(value, name);
    return std::make_shared<std::deque<std::vector<double>>>(std::make_move_iterator(rows.begin()),
                                                             std::make_move_iterator(rows.end()));
}

// One array of an interpolator's result: None for an empty pointer.
inline py::object toObject(std::shared_ptr<std::vector<double>> const& values) {
    if (!values) {
        return py::none();
    }
    return toArray(*values);
}

inline std::shared_ptr<std::vector<double>> toSharedVector(py::handle value, char const* name) {
    if (value.is_none()) {
        return nullptr;
    }
    return std::make_shared<std::vector<double>>(toVector(value, name));
}

inline py::tuple toTuple(Kestrel::Interpolator4HSA::Arrays const& arrays) {
    return py::make_tuple(toObject(arrays.first), toObject(arrays.second));
}

inline Kestrel::Interpolator4HSA::Arrays toArrays(py::handle value, char const* name) {
    py::tuple const pair = py::reinterpret_borrow<py::object>(value).cast<py::tuple>();
    if (pair.size() != 2) {
        throw py::value_error(std::string(name) + ": expected a pair of arrays (or None)");
    }
    return {toSharedVector(pair[0], name), toSharedVector(pair[1], name)};
}

}  // namespace kestrel_python
