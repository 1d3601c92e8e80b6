// The parts of the extension module, one per class family; Module.cpp calls them in this order.
#pragma once

#include <pybind11/pybind11.h>

namespace kestrel_python {

namespace py = pybind11;

void bindAssignment(py::module_& module);
void bindGrouping(py::module_& module);
void bindMasters(py::module_& module);
void bindOptimization(py::module_& module);
void bindAnnealingFramework(py::module_& module);
void bindAnnealingReady(py::module_& module);
void bindSampling(py::module_& module);

}  // namespace kestrel_python
