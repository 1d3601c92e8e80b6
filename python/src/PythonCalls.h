// Calling Python from C++ code that runs without the GIL, possibly on OpenMP worker threads.
//
// `PythonFunction` holds a Python callable so that the library may copy and destroy it on any thread: the
// last owner takes the GIL to release the reference. `callPython` takes the GIL for one call, first
// checks for a pending signal (so Ctrl-C raises KeyboardInterrupt at the next call made on the main
// thread) and turns a Python exception into py::error_already_set, which the library carries out of its
// parallel loops unchanged and pybind11 restores as the same Python exception on the caller.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <utility>

namespace kestrel_python {

namespace py = pybind11;

// Raises the pending KeyboardInterrupt (or whatever a signal handler raised), if any. Needs the GIL.
inline void throwIfInterrupted() {
    if (PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
    }
}

// Runs `body` with the GIL held, after checking for a pending signal.
template <class Body>
auto callPython(Body&& body) -> decltype(body()) {
    py::gil_scoped_acquire gil;
    throwIfInterrupted();
    return body();
}

// A shared, thread-safe owner of a Python callable (or any Python object).
class PythonFunction {
  public:
    PythonFunction() = default;
    explicit PythonFunction(py::object function)
        : function_(new py::object(std::move(function)), [](py::object* owned) {
              py::gil_scoped_acquire gil;
              delete owned;
          }) {}

    explicit operator bool() const { return function_ && !function_->is_none(); }

    // Calls the function; requires the GIL.
    template <class... Arguments>
    py::object operator()(Arguments&&... arguments) const {
        return (*function_)(std::forward<Arguments>(arguments)...);
    }

  private:
    std::shared_ptr<py::object> function_;
};

}  // namespace kestrel_python
