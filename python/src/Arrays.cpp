#include "Arrays.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>

namespace kestrel_python {

namespace {

// The array numpy makes of `value`, or a TypeError naming the argument.
py::array asArray(py::handle value, char const* name) {
    py::array array = py::array::ensure(value);
    if (!array) {
        throw py::type_error(std::string(name) + ": expected an array-like of numbers");
    }
    return array;
}

void requireKind(py::array const& array, char const* name, char const* kinds, char const* what) {
    char const kind = array.dtype().kind();
    if (std::strchr(kinds, kind) == nullptr) {
        throw py::type_error(std::string(name) + ": expected " + what + ", got dtype " +
                             py::str(array.dtype()).cast<std::string>());
    }
}

void requireShape(py::array const& array, char const* name, int dimensions, py::ssize_t columns) {
    if (array.ndim() != dimensions) {
        throw py::value_error(std::string(name) + ": expected a " + std::to_string(dimensions) +
                              "-D array, got " + std::to_string(array.ndim()) + "-D");
    }
    if (dimensions == 2 && columns >= 0 && array.shape(1) != columns) {
        throw py::value_error(std::string(name) + ": expected " + std::to_string(columns) + " columns, got " +
                              std::to_string(array.shape(1)));
    }
}

using IndexArray = py::array_t<long long, py::array::c_style | py::array::forcecast>;

IndexArray toIndexArray(py::handle value, char const* name, int dimensions, py::ssize_t columns) {
    py::array array = asArray(value, name);
    // An empty list becomes a float64 array; it holds no value that could be a non-integer.
    if (array.size() != 0) {
        requireKind(array, name, "biu", "integers");
    }
    requireShape(array, name, dimensions, columns);
    IndexArray indices = IndexArray::ensure(array);
    for (py::ssize_t i = 0; i < indices.size(); ++i) {
        long long const index = indices.data()[i];
        if (index < INT_MIN || index > INT_MAX) {
            throw py::value_error(std::string(name) + ": index " + std::to_string(index) +
                                  " is outside the range of int");
        }
    }
    return indices;
}

}  // namespace

RealArray toRealArray(py::handle value, char const* name, int dimensions, py::ssize_t columns) {
    py::array array = asArray(value, name);
    requireKind(array, name, "biuf", "real numbers");
    requireShape(array, name, dimensions, columns);
    return RealArray::ensure(array);
}

std::vector<double> toVector(py::handle value, char const* name) {
    RealArray const array = toRealArray(value, name, 1);
    return std::vector<double>(array.data(), array.data() + array.size());
}

std::vector<int> toIndexVector(py::handle value, char const* name) {
    IndexArray const array = toIndexArray(value, name, 1, -1);
    return std::vector<int>(array.data(), array.data() + array.size());
}

std::vector<std::vector<double>> toRows(py::handle value, char const* name, py::ssize_t columns) {
    RealArray const array = toRealArray(value, name, 2, columns);
    py::ssize_t const rows = array.shape(0);
    py::ssize_t const width = array.shape(1);
    std::vector<std::vector<double>> result(static_cast<std::size_t>(rows));
    double const* data = array.data();
    for (py::ssize_t row = 0; row < rows; ++row) {
        result[static_cast<std::size_t>(row)].assign(data + row * width, data + (row + 1) * width);
    }
    return result;
}

std::vector<std::pair<double, double>> toPairs(py::handle value, char const* name) {
    RealArray const array = toRealArray(value, name, 2, 2);
    std::vector<std::pair<double, double>> result(static_cast<std::size_t>(array.shape(0)));
    double const* data = array.data();
    for (std::size_t row = 0; row < result.size(); ++row) {
        result[row] = {data[2 * row], data[2 * row + 1]};
    }
    return result;
}

std::vector<std::pair<int, int>> toIndexPairs(py::handle value, char const* name) {
    IndexArray const array = toIndexArray(value, name, 2, 2);
    std::vector<std::pair<int, int>> result(static_cast<std::size_t>(array.shape(0)));
    long long const* data = array.data();
    for (std::size_t row = 0; row < result.size(); ++row) {
        result[row] = {static_cast<int>(data[2 * row]), static_cast<int>(data[2 * row + 1])};
    }
    return result;
}

py::array_t<double> toArray(std::vector<double> const& values) {
    return py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data());
}

py::array_t<py::ssize_t> toArray(std::vector<int> const& values) {
    py::array_t<py::ssize_t> result(static_cast<py::ssize_t>(values.size()));
    py::ssize_t* data = result.mutable_data();
    for (std::size_t i = 0; i < values.size(); ++i) {
        data[i] = values[i];
    }
    return result;
}

py::array_t<double> toArray(std::vector<std::pair<double, double>> const& pairs) {
    py::array_t<double> result({static_cast<py::ssize_t>(pairs.size()), py::ssize_t{2}});
    double* data = result.mutable_data();
    for (std::size_t row = 0; row < pairs.size(); ++row) {
        data[2 * row] = pairs[row].first;
        data[2 * row + 1] = pairs[row].second;
    }
    return result;
}

namespace {

template <class Rows>
py::array_t<double> rowsToArray(Rows const& rows) {
    std::size_t const width = rows.empty() ? 0 : rows.front().size();
    for (auto const& row : rows) {
        if (row.size() != width) {
            throw std::runtime_error("rows of unequal length cannot form a 2-D array");
        }
    }
    py::array_t<double> result({static_cast<py::ssize_t>(rows.size()), static_cast<py::ssize_t>(width)});
    double* data = result.mutable_data();
    for (auto const& row : rows) {
        std::copy(row.begin(), row.end(), data);
        data += width;
    }
    return result;
}

}  // namespace

py::array_t<double> toArray(std::vector<std::vector<double>> const& rows) {
    return rowsToArray(rows);
}

py::array_t<double> toArray(std::deque<std::vector<double>> const& rows) {
    return rowsToArray(rows);
}

void copyInto(py::handle value, char const* name, std::vector<double>& target) {
    RealArray const array = toRealArray(value, name, 1);
    if (static_cast<std::size_t>(array.size()) != target.size()) {
        throw py::value_error(std::string(name) + ": expected " + std::to_string(target.size()) +
                              " values, got " + std::to_string(array.size()));
    }
    std::copy(array.data(), array.data() + array.size(), target.begin());
}

}  // namespace kestrel_python
