// The gate between Octave or MATLAB and the C++ layer:
//
//     [result, failure] = tarnix_mex (x0, lower, upper, limits, names, options, evaluate,
//                                     gradient, progress)
//
// limits is (m, 2), names a cell of n variables, the objective and m constraints. The functions are
// handles that never fail: they give a struct with a message first, or [] when all is well, then
//     values   = evaluate (x)       objective and constraints, in the order of limits
//     slopes   = gradient (x)       (n, 1 + m), NaN for a difference; may be []
//     stop     = progress (iteration, evaluations, f, violation, x)       may be []
// What goes wrong comes back in failure; tarnix_solve.m makes an error of it. An interrupt of the
// host passes through as the exception that it is.

#include <mex.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <tarnix/tarnix.hpp>
#include <vector>

namespace {

// Owns an array of the host.
class Array {
 public:
  explicit Array(mxArray* array = nullptr) : array_(array) {}
  Array(Array&& other) noexcept : array_(other.release()) {}
  ~Array() {
    if (array_ != nullptr) mxDestroyArray(array_);
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  mxArray* get() const { return array_; }
  mxArray* release() {
    mxArray* const array = array_;
    array_ = nullptr;
    return array;
  }

 private:
  mxArray* array_;
};

Array column(const std::vector<double>& values) {
  Array array(mxCreateDoubleMatrix(values.size(), 1, mxREAL));
  std::copy(values.begin(), values.end(), mxGetPr(array.get()));
  return array;
}

Array failureOf(const char* identifier, const char* message) {
  const char* names[] = {"message", "identifier"};
  Array failure(mxCreateStructMatrix(1, 1, 2, names));
  mxSetField(failure.get(), 0, "message", mxCreateString(message));
  mxSetField(failure.get(), 0, "identifier", mxCreateString(identifier));
  return failure;
}

// An error of a host's function on its way to the host.
struct HostFailure {
  explicit HostFailure(Array f) : failure(std::move(f)) {}
  Array failure;
};

// A handle of the host, called with arrays; the failure that it returns is thrown.
class Handle {
 public:
  explicit Handle(const mxArray* handle) : handle_(handle) {}
  explicit operator bool() const { return !mxIsEmpty(handle_); }

  template <class... Arguments>
  Array operator()(const Arguments&... arguments) const {
    mxArray* in[] = {const_cast<mxArray*>(handle_), arguments.get()...};
    mxArray* out[2] = {nullptr, nullptr};
    if (mexCallMATLAB(2, out, 1 + sizeof...(arguments), in, "feval") != 0)
      throw HostFailure(failureOf("tarnix:host", "a function could not be called"));
    Array failure(out[0]), value(out[1]);
    if (!mxIsEmpty(failure.get())) throw HostFailure(std::move(failure));
    return value;
  }

 private:
  const mxArray* handle_;
};

std::string textOf(const mxArray* array) {
  char* const copy = mxArrayToString(array);
  std::string text = copy != nullptr ? copy : "";
  mxFree(copy);
  return text;
}

// The fields of the struct of options; absent ones keep the layer's defaults.
class Fields {
 public:
  explicit Fields(const mxArray* fields) : fields_(fields) {}

  template <class T>
  void read(const char* name, T& value) const {
    const mxArray* field = mxGetField(fields_, 0, name);
    if (field != nullptr && !mxIsEmpty(field)) value = static_cast<T>(mxGetScalar(field));
  }
  template <class T>
  void read(const char* name, std::optional<T>& value) const {
    const mxArray* field = mxGetField(fields_, 0, name);
    if (field != nullptr && !mxIsEmpty(field)) value = T(mxGetScalar(field));
  }
  std::string text(const char* name) const {
    const mxArray* field = mxGetField(fields_, 0, name);
    return field != nullptr && mxIsChar(field) ? textOf(field) : std::string();
  }

 private:
  const mxArray* fields_;
};

tarnix::Options optionsOf(const mxArray* array) {
  const Fields fields(array);
  tarnix::Options o;
  const std::string method = fields.text("method");
  o.method = method == "sqp"   ? tarnix::Method::sqp
             : method == "grg" ? tarnix::Method::grg
                               : tarnix::Method::automatic;
  bool central = false;
  std::int64_t evaluations = 0;
  fields.read("central", central);
  if (central) o.differences = tarnix::Differences::central;
  fields.read("maxEvaluations", evaluations);
  if (evaluations > 0) o.maxEvaluations = evaluations;
  fields.read("tolerance", o.tolerance);
  fields.read("differenceStep", o.differenceStep);
  fields.read("accuracy", o.accuracy);
  fields.read("effort", o.effort);
  fields.read("maxIterations", o.maxIterations);
  fields.read("maxTime", o.maxTime);
  fields.read("target", o.target);
  fields.read("keepInside", o.keepInside);
  fields.read("printLevel", o.printLevel);
  o.moveStartInside = true;
  o.trace = [](std::string_view piece) {
    mexPrintf("%.*s", static_cast<int>(piece.size()), piece.data());
  };
  return o;
}

tarnix::Problem problemOf(const mxArray* x0, const mxArray* lower, const mxArray* upper,
                          const mxArray* limits, const mxArray* names) {
  tarnix::Problem problem;
  const std::size_t n = mxGetNumberOfElements(x0), m = mxGetM(limits);
  const auto name = [&](std::size_t k) { return textOf(mxGetCell(names, k)); };
  for (std::size_t i = 0; i < n; ++i)
    problem.variable(name(i), mxGetPr(x0)[i], mxGetPr(lower)[i], mxGetPr(upper)[i]);
  problem.minimize(name(n));
  for (std::size_t k = 0; k < m; ++k) {
    const double low = mxGetPr(limits)[k], high = mxGetPr(limits)[m + k];
    if (std::isinf(low))
      problem.atMost(name(n + 1 + k), high);
    else
      problem.between(name(n + 1 + k), low, high);
  }
  return problem;
}

// The callables of the layer, over the handles.
class Host {
 public:
  Host(const mxArray* evaluate, const mxArray* gradient, const mxArray* progress)
      : evaluate_(evaluate), gradient_(gradient), progress_(progress) {}

  bool hasGradient() const { return static_cast<bool>(gradient_); }
  bool hasProgress() const { return static_cast<bool>(progress_); }

  void values(const tarnix::Point& x, tarnix::Values& v) const {
    copy(evaluate_(column({x.begin(), x.end()})), v.size(), v.data());
  }
  void slopes(const tarnix::Point& x, tarnix::Gradients& g, std::size_t functions) const {
    copy(gradient_(column({x.begin(), x.end()})), x.size() * functions, g.of({0}));
  }
  void progress(tarnix::Progress& p) const {
    const Array x = p.best != nullptr ? column(*p.best) : column({});
    const Array stop = progress_(Array(mxCreateDoubleScalar(p.iteration)),
                                 Array(mxCreateDoubleScalar(static_cast<double>(p.evaluations))),
                                 Array(mxCreateDoubleScalar(p.bestObjective)),
                                 Array(mxCreateDoubleScalar(p.worstViolation)), x);
    if (!mxIsEmpty(stop.get()) && mxGetScalar(stop.get()) != 0) p.stop();
  }

 private:
  static void copy(const Array& from, std::size_t size, double* to) {
    if (!mxIsDouble(from.get()) || mxGetNumberOfElements(from.get()) != size)
      throw HostFailure(failureOf("tarnix:host", "a function gave values of another size"));
    std::copy_n(mxGetPr(from.get()), size, to);
  }
  Handle evaluate_, gradient_, progress_;
};

Array activeOf(const tarnix::Result& r, std::size_t n, std::size_t m) {
  // Column 1: the variables' lower bounds, then upper bounds, then the constraints.
  Array active(mxCreateDoubleMatrix(2 * n + m, 1, mxREAL));
  double* const to = mxGetPr(active.get());
  if (!r.report) return active;
  for (const tarnix::ActiveLimit& limit : r.report->active) {
    using Kind = tarnix::ActiveLimit::Kind;
    if (limit.kind == Kind::lowerBound)
      to[r.description->variable(limit.name)] = limit.multiplier;
    else if (limit.kind == Kind::upperBound)
      to[n + r.description->variable(limit.name)] = limit.multiplier;
    else
      to[2 * n + r.description->function(limit.name) - 1] = limit.multiplier;
  }
  return active;
}

mxArray* conflictOf(const tarnix::Result& r) {
  const std::size_t count = r.conflict ? r.conflict->constraints.size() : 0;
  mxArray* const names = mxCreateCellMatrix(1, count);
  for (std::size_t k = 0; k < count; ++k)
    mxSetCell(names, k, mxCreateString(r.conflict->constraints[k].c_str()));
  return names;
}

mxArray* resultOf(const tarnix::Result& r) {
  const std::size_t n = r.point.x.size(), m = r.description->functions.size() - 1;
  const char* names[] = {"x",           "values",         "success",     "feasible", "reason",
                         "method",      "status",         "message",     "advice",   "iterations",
                         "evaluations", "violation",      "multipliers", "gradient", "optimality",
                         "noise",       "differenceStep", "conflict"};
  mxArray* const s = mxCreateStructMatrix(1, 1, sizeof names / sizeof names[0], names);
  const auto number = [&](const char* field, double value) {
    mxSetField(s, 0, field, mxCreateDoubleScalar(value));
  };
  const auto text = [&](const char* field, const std::string& value) {
    mxSetField(s, 0, field, mxCreateString(value.c_str()));
  };
  mxSetField(s, 0, "x", column(r.point.x).release());
  mxSetField(s, 0, "values", column(r.point.values).release());
  number("success", r.success);
  number("feasible", r.feasible);
  text("reason", tarnix::name(r.reason));
  text("method", tarnix::name(r.method));
  number("status", r.status);
  text("message", r.meaning);
  text("advice", r.advice);
  number("iterations", r.iterations);
  number("evaluations", static_cast<double>(r.evaluations));
  number("violation", r.point.violation);
  mxSetField(s, 0, "multipliers", activeOf(r, n, m).release());
  mxSetField(s, 0, "gradient",
             column(r.report ? r.report->gradient : std::vector<double>()).release());
  number("noise", r.noise);
  number("differenceStep", r.differenceStep);
  mxSetField(s, 0, "conflict", conflictOf(r));
  number("optimality", r.report ? r.report->optimality : std::nan(""));
  return s;
}

mxArray* solve(const mxArray* in[]) {
  const tarnix::Problem problem = problemOf(in[0], in[1], in[2], in[3], in[4]);
  const std::size_t functions = mxGetM(in[3]) + 1;
  const Host host(in[6], in[7], in[8]);
  tarnix::Options options = optionsOf(in[5]);
  if (host.hasProgress()) options.onIteration = [&](tarnix::Progress& p) { host.progress(p); };
  const auto values = [&](const tarnix::Point& x, tarnix::Values& v) { host.values(x, v); };
  if (!host.hasGradient()) return resultOf(problem.solve(values, options));
  const auto slopes = [&](const tarnix::Point& x, tarnix::Gradients& g) {
    host.slopes(x, g, functions);
  };
  return resultOf(problem.solve(values, slopes, options));
}

}  // namespace

// Arguments are checked by tarnix_solve.m, which alone calls this.
void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  if (nlhs != 2 || nrhs != 9) mexErrMsgTxt("tarnix_mex serves tarnix_solve: call that");
  plhs[0] = plhs[1] = nullptr;
  try {
    plhs[0] = solve(prhs);
  } catch (HostFailure& e) {
    plhs[1] = e.failure.release();
  } catch (const tarnix::InvalidProblem& e) {
    plhs[1] = failureOf("tarnix:invalid", e.what()).release();
  } catch (const std::bad_alloc&) {
    plhs[1] = failureOf("tarnix:memory", "tarnix: out of memory").release();
  }
  for (int k = 0; k < 2; ++k)
    if (plhs[k] == nullptr) plhs[k] = mxCreateDoubleMatrix(0, 0, mxREAL);
}
