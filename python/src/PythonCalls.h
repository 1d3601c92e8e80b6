// Calling Python from C++ code that runs without the GIL, possibly on OpenMP worker threads.
//
// `PythonFunction` holds a Python callable so that the library may copy and destroy it on any thread: the
// last owner takes the GIL to release the reference. `callPython` takes the GIL for one call, first
// checks for a pending signal (so Ctrl-C raises KeyboardInterrupt at the next call made on the main
// thread) and turns a Python exception into py::error_already_set, which the library carries out of its
// parallel loops unchanged and pybind11 restores as the same Python exception on the caller.
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
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

// Calls Python for the objective of a parallel loop, which the library always runs to its end. Once one
// call of a run has raised KeyboardInterrupt, the remaining calls raise it at once instead of calling
// Python, so Ctrl-C stops an expensive objective within one call per thread. reset() starts a new run.
class InterruptibleCalls {
  public:
    void reset() const { interrupted_->store(false); }

    template <class Body>
    auto operator()(Body&& body) const -> decltype(body()) {
        py::gil_scoped_acquire gil;
        try {
            if (interrupted_->load()) {
                PyErr_SetNone(PyExc_KeyboardInterrupt);
                throw py::error_already_set();
            }
            throwIfInterrupted();
            return body();
        } catch (py::error_already_set& error) {
            if (error.matches(PyExc_KeyboardInterrupt)) {
                interrupted_->store(true);
            }
            throw;
        }
    }

  private:
    std::shared_ptr<std::atomic<bool>> interrupted_ = std::make_shared<std::atomic<bool>>(false);
};

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
