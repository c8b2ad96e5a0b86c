// The module tarnix._core: problem, options and solve of the layer. Names, forms of the analysis
// and results are the package's, in Python.

#include <pybind11/chrono.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "calls.h"
#include "outcome.h"

namespace tarnix::python {

namespace {

py::list toList(const std::vector<Issue>& issues) {
  py::list list;
  for (const Issue& issue : issues) list.append(py::make_tuple(issue.name, issue.message));
  return list;
}

[[noreturn]] void refuse(const std::vector<Issue>& issues) {
  const py::object type = py::module_::import("tarnix._errors").attr("InvalidProblem");
  PyErr_SetObject(type.ptr(), type(toList(issues)).ptr());
  throw py::error_already_set();
}

template <class Enum, std::size_t N>
Enum choice(const std::string& text, const std::pair<const char*, Enum> (&choices)[N]) {
  std::string known;
  for (const auto& [word, value] : choices) {
    if (text == word) return value;
    known += (known.empty() ? "'" : ", '") + std::string(word) + "'";
  }
  throw py::value_error("'" + text + "' is none of " + known);
}

void setMethod(Options& o, const std::string& text) {
  static constexpr std::pair<const char*, Method> choices[] = {
      {"automatic", Method::automatic}, {"sqp", Method::sqp}, {"grg", Method::grg}};
  o.method = choice(text, choices);
}

void setDifferences(Options& o, const std::string& text) {
  static constexpr std::pair<const char*, Differences> choices[] = {
      {"forward", Differences::forward}, {"central", Differences::central}};
  o.differences = choice(text, choices);
}

void setWarm(Options& o, const std::optional<py::dict>& warm) {
  o.warm.reset();
  if (warm) o.warm = warmStartOf(*warm);
}

/// The array owns what the vector held.
py::array_t<double> table(std::vector<double>&& values, std::size_t columns) {
  auto held = std::make_unique<std::vector<double>>(std::move(values));
  const auto rows = static_cast<py::ssize_t>(columns ? held->size() / columns : 0);
  const double* first = held->data();
  const py::capsule owner(held.get(), [](void* p) { delete static_cast<std::vector<double>*>(p); });
  (void)held.release();
  return py::array_t<double>({rows, static_cast<py::ssize_t>(columns)}, first, owner);
}

/// The result of the layer, and the table of all evaluations.
py::tuple solve(const Problem& problem, Options options, const py::object& analysis,
                const py::tuple& arguments, const py::object& batch, const py::object& read,
                const py::object& gradient, const py::object& progress, const py::object& trace) {
  const Callables callables{analysis, arguments, batch, read, gradient, progress, trace};
  std::optional<Result> result;
  std::vector<double> designs, values;
  std::vector<Issue> issues;
  // Declarations of another thread do not reach a running solve.
  const Problem described = problem;  // NOLINT(performance-unnecessary-copy-initialization)
  bool failed = false;
  {
    Unlocked outside;
    Calls calls(callables, described.description(), outside);
    if (!progress.is_none()) options.onIteration = [&](Progress& at) { calls.progress(at); };
    if (!trace.is_none()) options.trace = [&](std::string_view text) { calls.trace(text); };
    const auto derivatives = [&](const Point& x, Gradients& g) { calls.gradient(x, g); };
    try {
      result = gradient.is_none() ? described.solve(calls, options)
                                  : described.solve(calls, derivatives, options);
    } catch (const Raised&) {
    } catch (const InvalidProblem& error) {
      issues = error.issues();
    }
    const Locked locked(outside);
    failed = calls.restore();
    designs = std::move(calls.designs), values = std::move(calls.values);
  }
  if (failed) throw py::error_already_set();
  if (!issues.empty()) refuse(issues);
  const Description& d = described.description();
  return py::make_tuple(toDict(*result), table(std::move(designs), d.variables.size()),
                        table(std::move(values), d.functions.size()));
}

/// The checks of a history, over the bytes of a text.
template <class Unsigned>
Unsigned fnv1a(std::string_view text, Unsigned hash, Unsigned prime) {
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * prime;
  return hash;
}

void bindOptions(py::module_& module) {
  py::class_<Stop>(module, "Stop", "Ends solves from any thread: Stop().request().")
      .def(py::init<>())
      .def("request", &Stop::request, "Ends the solves that were given this stop.")
      .def("clear", &Stop::clear, "Takes the request back.")
      .def_property_readonly("requested", &Stop::requested, "Whether a stop is requested.");
  py::class_<Options>(module, "Options")
      .def(py::init<>())
      .def_property(
          "method", [](const Options& o) { return std::string(name(o.method)); }, setMethod)
      .def_property(
          "differences", [](const Options& o) { return name(o.differences); }, setDifferences)
      .def_readwrite("tolerance", &Options::tolerance)
      .def_readwrite("difference_step", &Options::differenceStep)
      .def_readwrite("keep_inside", &Options::keepInside)
      .def_readwrite("move_start_inside", &Options::moveStartInside)
      .def_readwrite("check_gradients", &Options::checkGradients)
      .def_readwrite("start", &Options::start)
      .def_readwrite("starts", &Options::starts)
      .def_readwrite("seed", &Options::seed)
      .def_readwrite("effort", &Options::effort)
      .def_readwrite("accuracy", &Options::accuracy)
      .def_property(
          "warm", [](const Options& o) { return o.warm.has_value(); }, setWarm)
      .def_readwrite("max_iterations", &Options::maxIterations)
      .def_readwrite("max_evaluations", &Options::maxEvaluations)
      .def_property(
          "max_time", [](const Options& o) { return o.maxTime; },
          [](Options& o, std::optional<double> seconds) {
            o.maxTime.reset();
            if (seconds) o.maxTime = std::chrono::duration<double>(*seconds);
          })
      .def_readwrite("target", &Options::target)
      .def_readwrite("stop", &Options::stop)
      .def_readwrite("report", &Options::report)
      .def_readwrite("print_level", &Options::printLevel);
}

void bindProblem(py::module_& module) {
  py::class_<Problem>(module, "Problem")
      .def(py::init<>())
      .def("variable", [](Problem& p, std::string name, double start, double lower,
                          double upper) { p.variable(std::move(name), start, lower, upper); })
      .def("objective",
           [](Problem& p, std::string name, bool maximized, double scale) {
             if (maximized)
               p.maximize(std::move(name), scale);
             else
               p.minimize(std::move(name), scale);
           })
      .def("at_most", [](Problem& p, std::string name, double limit,
                         double scale) { p.atMost(std::move(name), limit, scale); })
      .def("at_least", [](Problem& p, std::string name, double limit,
                          double scale) { p.atLeast(std::move(name), limit, scale); })
      .def("between", [](Problem& p, std::string name, double lower, double upper,
                         double scale) { p.between(std::move(name), lower, upper, scale); })
      .def("equal", [](Problem& p, std::string name, double value,
                       double scale) { p.equal(std::move(name), value, scale); })
      .def("check", [](const Problem& p, const Options& o) { return toList(p.check(o)); })
      .def("describe", [](const Problem& p) { return toDict(p.description()); });
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  module.doc() = "The C++ layer of tarnix.";
  module.attr("version") = TARNIX_VERSION;
  bindOptions(module);
  bindProblem(module);
  module.def("solve", &solve);
  module.def("check", [](std::string_view text) { return fnv1a(text, 2166136261u, 16777619u); });
  module.def("fingerprint", [](std::string_view text) {
    return fnv1a(text, std::uint64_t{14695981039346656037u}, std::uint64_t{1099511628211u});
  });
}

}  // namespace tarnix::python
