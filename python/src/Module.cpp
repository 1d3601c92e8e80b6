// The compiled part of the package `kestrel`. C++ exceptions reach Python through pybind11's standard
// translation, which keeps the message unchanged: std::invalid_argument, std::length_error and
// std::domain_error become ValueError, std::out_of_range IndexError, std::bad_alloc MemoryError, and every
// other std::exception (std::logic_error, std::runtime_error, boost::bad_function_call) RuntimeError. A
// Python exception raised in a callback comes back as itself.
#include <Kestrel/InformationTheory.h>

#include "Bindings.h"

namespace {

// The library-wide setting: how many threads its parallel loops may use.
void bindThreadLimit(pybind11::module_& module) {
    module.def("set_max_number_of_threads", &Kestrel::setMaxNumberOfThreads, pybind11::arg("count"), R"doc(
Limits the threads of every later parallel loop of the library (still at most what OMP_NUM_THREADS
allows); 0 or below removes the limit. Results are the same bit for bit for any number of threads.

Example:
    >>> import kestrel
    >>> kestrel.set_max_number_of_threads(1)    # e.g. beside a process that keeps every core busy
    >>> kestrel.get_max_number_of_threads()
    1
    >>> kestrel.set_max_number_of_threads(0)    # no limit again
)doc");
    module.def("get_max_number_of_threads", &Kestrel::getMaxNumberOfThreads, R"doc(
The limit set by set_max_number_of_threads, or 0 when there is none (the initial state).

Example:
    >>> kestrel.get_max_number_of_threads()
    0
)doc");
}

}  // namespace

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
    bindThreadLimit(module);
}
