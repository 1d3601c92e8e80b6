// copy.copy and copy.deepcopy for bound classes whose C++ type is copyable: both make a C++ copy, with
// exactly the sharing the C++ copy constructor documents.
#pragma once

#include <pybind11/pybind11.h>

namespace kestrel_python {

namespace py = pybind11;

template <class Class, class... Options>
void addCopying(py::class_<Class, Options...>& cls) {
    cls.def("__copy__", [](Class const& self) { return Class(self); });
    cls.def(
        "__deepcopy__", [](Class const& self, py::dict const&) { return Class(self); }, py::arg("memo"));
}

}  // namespace kestrel_python
