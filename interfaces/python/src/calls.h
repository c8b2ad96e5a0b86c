// The Python callables of a solve, as the layer calls them.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tarnix/tarnix.hpp>
#include <vector>

namespace tarnix::python {

namespace py = pybind11;

/// A solve runs without the lock of the interpreter, so that other threads of Python run.
class Unlocked {
 public:
  Unlocked() : state_(PyEval_SaveThread()) {}
  ~Unlocked() { PyEval_RestoreThread(state_); }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  friend class Locked;
  PyThreadState* state_;
};

/// Within it, on the same thread, a callable has the lock again.
class Locked {
 public:
  explicit Locked(Unlocked& outside) : outside_(outside) { PyEval_RestoreThread(outside.state_); }
  ~Locked() { outside_.state_ = PyEval_SaveThread(); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  Unlocked& outside_;
};

/// Passes through the layer in place of an exception of Python, which waits in Calls.
struct Raised {};

/// What the package hands over; a callable may be None.
struct Callables {
  py::object analysis;  ///< (x, *arguments) -> answer
  py::tuple arguments;
  py::object batch;     ///< in place of it (points, first number, may_begin) -> [answer, ...]
  py::object read;      ///< (answer, number of the evaluation, x) -> [float, ...], or raises
  py::object gradient;  ///< (x, number of the last evaluation) -> array (functions, variables)
  py::object progress;  ///< (stage, method, ..., best) -> whether to stop
  py::object trace;     ///< (text)
};

class Calls {
 public:
  Calls(const Callables& given, const Description& description, Unlocked& outside)
      : given_(given), description_(description), outside_(outside) {}

  void operator()(Batch& batch);
  void gradient(const Point& x, Gradients& g);
  void progress(Progress& at);
  void trace(std::string_view text);

  /// Sets the exception of Python that has ended the solve, if there is one.
  bool restore();
  /// Designs and values of all evaluations, row by row.
  std::vector<double> designs, values;

 private:
  void keepError();
  [[noreturn]] void raise();
  void evaluateOne(const Point& x, Values& v);
  void evaluateMany(Batch& batch);
  void take(PyObject* answer, const py::array& x, Values& v);
  void note(const Point& x, Values& v);

  const Callables& given_;
  const Description& description_;
  Unlocked& outside_;
  std::int64_t count_ = 0;
  PyObject *type_ = nullptr, *value_ = nullptr, *traceback_ = nullptr;
};

/// A fresh array of its own: what a callable keeps is never written to again.
py::array_t<double> arrayOf(const double* values, std::size_t size);

}  // namespace tarnix::python
