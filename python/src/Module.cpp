// The compiled part of the package `kestrel`. C++ exceptions reach Python through pybind11's standard
// translation, which keeps the message unchanged: std::invalid_argument, std::length_error and
// std::domain_error become ValueError, std::out_of_range IndexError, std::bad_alloc MemoryError, and every
// other std::exception (std::logic_error, std::runtime_error, boost::bad_function_call) RuntimeError. A
// Python exception raised in a callback comes back as itself.
#include "Bindings.h"

PYBIND11_MODULE(_kestrel, module) {
    module.doc() =
        "Deterministic optimisation and sampling algorithms (compiled part of the package kestrel).";
    kestrel_python::bindAssignment(module);
    kestrel_python::bindGrouping(module);
    kestrel_python::bindMasters(module);
    kestrel_python::bindOptimization(module);
    kestrel_python::bindAnnealingFramework(module);
    kestrel_python::bindAnnealingReady(module);
    kestrel_python::bindSampling(module);
}
