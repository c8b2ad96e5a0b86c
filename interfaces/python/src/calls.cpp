#include "calls.h"

#include <algorithm>
#include <string>

namespace tarnix::python {

py::array_t<double> arrayOf(const double* values, std::size_t size) {
  return py::array_t<double>(static_cast<py::ssize_t>(size), values);
}

// ---- exceptions
// ----------------------------------------------------------------------------------

/// The first one counts: what a callable raises while the solve is already ending is an echo.
void Calls::keepError() {
  if (type_)
    PyErr_Clear();
  else
    PyErr_Fetch(&type_, &value_, &traceback_);
}

void Calls::raise() {
  keepError();
  throw Raised{};
}

bool Calls::restore() {
  if (!type_) return false;
  PyErr_Restore(type_, value_, traceback_);
  type_ = nullptr;
  return true;
}

// ---- evaluations
// ---------------------------------------------------------------------------------

namespace {

/// Numbers that are floats already, the usual case, those of numpy too; false for everything else.
bool takePlain(PyObject* answer, double* values, std::size_t size) {
  if (PyFloat_Check(answer)) {
    if (size != 1) return false;
    values[0] = PyFloat_AS_DOUBLE(answer);
    return true;
  }
  if (PyTuple_CheckExact(answer) || PyList_CheckExact(answer)) {
    if (static_cast<std::size_t>(PySequence_Fast_GET_SIZE(answer)) != size) return false;
    PyObject** items = PySequence_Fast_ITEMS(answer);
    if (!std::all_of(items, items + size, [](PyObject* i) { return PyFloat_Check(i); }))
      return false;
    std::transform(items, items + size, values, [](PyObject* i) { return PyFloat_AS_DOUBLE(i); });
    return true;
  }
  if (!py::isinstance<py::array>(answer)) return false;
  const auto array = py::reinterpret_borrow<py::array>(answer);
  if (array.ndim() != 1 || static_cast<std::size_t>(array.shape(0)) != size ||
      !py::isinstance<py::array_t<double>>(array))
    return false;
  const auto* from = static_cast<const char*>(array.data());
  const py::ssize_t stride = array.strides(0);
  if (stride % static_cast<py::ssize_t>(sizeof(double)) != 0) return false;
  for (std::size_t j = 0; j < size; ++j)
    values[j] = *reinterpret_cast<const double*>(from + static_cast<py::ssize_t>(j) * stride);
  return true;
}

}  // namespace

void Calls::take(PyObject* answer, const py::array& x, Values& v) {
  if (takePlain(answer, v.data(), v.size())) return;
  const py::object number = py::int_(count_ + 1);
  PyObject* read =
      PyObject_CallFunctionObjArgs(given_.read.ptr(), answer, number.ptr(), x.ptr(), nullptr);
  const auto plain = py::reinterpret_steal<py::object>(read);
  if (!plain) raise();
  if (takePlain(plain.ptr(), v.data(), v.size())) return;
  PyErr_SetString(PyExc_TypeError, "the reader of answers has to return floats");
  raise();
}

void Calls::note(const Point& x, Values& v) {
  designs.insert(designs.end(), x.begin(), x.end());
  values.insert(values.end(), v.begin(), v.end());
  ++count_;
}

void Calls::evaluateOne(const Point& x, Values& v) {
  if (PyErr_CheckSignals() != 0) raise();
  const py::array_t<double> design = arrayOf(x.data(), x.size());
  const std::size_t more = given_.arguments.size();
  PyObject* few[9];  // the first place is for a callee's own use
  std::vector<PyObject*> many(more > 7 ? more + 2 : 0);
  PyObject** arguments = more > 7 ? many.data() : few;
  arguments[1] = design.ptr();
  for (std::size_t i = 0; i < more; ++i)
    arguments[i + 2] = PyTuple_GET_ITEM(given_.arguments.ptr(), static_cast<Py_ssize_t>(i));
  const auto answer = py::reinterpret_steal<py::object>(PyObject_Vectorcall(
      given_.analysis.ptr(), arguments + 1, (more + 1) | PY_VECTORCALL_ARGUMENTS_OFFSET, nullptr));
  if (!answer) raise();
  take(answer.ptr(), design, v);
  note(x, v);
}

void Calls::evaluateMany(Batch& batch) {
  if (PyErr_CheckSignals() != 0) raise();
  py::list answers, points;
  try {
    for (std::size_t k = 0; k < batch.size(); ++k)
      points.append(arrayOf(batch.point(k).data(), batch.point(k).size()));
    const auto mayBegin =
        py::cpp_function([&batch](std::size_t k) { return k == 0 || batch.mayBegin(k); });
    answers = given_.batch(points, count_ + 1, mayBegin);
  } catch (py::error_already_set& error) {
    error.restore();
    raise();
  }
  for (std::size_t k = 0; k < std::min(batch.end(), answers.size()); ++k) {
    Values v = batch.values(k);
    take(answers[k].ptr(), points[k], v);
    note(batch.point(k), v);
  }
}

void Calls::operator()(Batch& batch) {
  const Locked locked(outside_);
  if (type_) throw Raised{};  // of the trace, through which nothing is thrown
  if (!given_.batch.is_none()) return evaluateMany(batch);
  for (std::size_t k = 0; k < batch.size() && (k == 0 || batch.mayBegin(k)); ++k) {
    Values v = batch.values(k);
    evaluateOne(batch.point(k), v);
  }
}

// ---- the other callables
// -------------------------------------------------------------------------

void Calls::gradient(const Point& x, Gradients& g) {
  const Locked locked(outside_);
  try {
    const auto rows = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(
        given_.gradient(arrayOf(x.data(), x.size()), count_));
    if (!rows) throw py::error_already_set();
    const std::size_t variables = description_.variables.size();
    if (static_cast<std::size_t>(rows.size()) != variables * description_.functions.size())
      throw py::value_error("the reader of gradients has to return all of them");
    for (std::size_t j = 0; j < description_.functions.size(); ++j)
      std::copy_n(rows.data() + j * variables, variables, g.of({j}));
  } catch (py::error_already_set& error) {
    error.restore();
    raise();
  } catch (py::builtin_exception& error) {
    error.set_error();
    raise();
  }
}

void Calls::progress(Progress& at) {
  const Locked locked(outside_);
  try {
    const py::object best =
        at.best ? py::object(arrayOf(at.best->data(), at.best->size())) : py::object(py::none());
    const py::object answer =
        given_.progress(at.stage, name(at.method), at.iteration, at.evaluations, at.bestObjective,
                        at.worstViolation, best);
    if (answer.is(py::bool_(true))) at.stop();
  } catch (py::error_already_set& error) {
    error.restore();
    raise();
  }
}

/// Called from inside the core, which is not left here: the next evaluation raises.
void Calls::trace(std::string_view text) {
  const Locked locked(outside_);
  if (type_) return;
  try {
    given_.trace(py::str(text.data(), text.size()));
  } catch (py::error_already_set& error) {
    error.restore();
    keepError();
  }
}

}  // namespace tarnix::python
