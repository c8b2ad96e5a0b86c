// The problem collection for tests in Octave:
//     names = collection_mex ('designs')
//     p = collection_mex ('problem', name)           start, lower, upper, fBest
//     r = collection_mex ('evaluate', name, x)       the functions f, c and ceq; counted
//     count = collection_mex ('count')               evaluations since the last call of this
//     x = collection_mex ('solve', name, method)     by the C++ layer, at tarnix_solve's options

#include <mex.h>
#include <problems.h>

#include <algorithm>
#include <string>
#include <tarnix/tarnix.hpp>
#include <vector>

namespace {

double evaluations = 0;

std::string textOf(const mxArray* array) {
  char* const copy = mxArrayToString(array);
  const std::string text = copy;
  mxFree(copy);
  return text;
}

mxArray* column(const double* values, int count) {
  mxArray* array = mxCreateDoubleMatrix(count, 1, mxREAL);
  std::copy_n(values, count, mxGetPr(array));
  return array;
}

mxArray* designs() {
  std::vector<const char*> names;
  for (int k = 0; k < wideProblemCount(); ++k)
    if (wideProblemAt(k)->flags & PROBLEM_DESIGN) names.push_back(wideProblemAt(k)->name);
  mxArray* cells = mxCreateCellMatrix(names.size(), 1);
  for (std::size_t k = 0; k < names.size(); ++k) mxSetCell(cells, k, mxCreateString(names[k]));
  return cells;
}

mxArray* parts(const Problem& p) {
  const char* names[] = {"start", "lower", "upper", "fBest"};
  mxArray* s = mxCreateStructMatrix(1, 1, 4, names);
  mxSetField(s, 0, "start", column(p.start, p.n));
  mxSetField(s, 0, "lower", column(p.lower, p.n));
  mxSetField(s, 0, "upper", column(p.upper, p.n));
  mxSetField(s, 0, "fBest", mxCreateDoubleScalar(p.fBest));
  return s;
}

mxArray* evaluate(const Problem& p, const mxArray* point) {
  std::vector<double> x(mxGetPr(point), mxGetPr(point) + p.n);
  std::vector<double> f(static_cast<std::size_t>(1 + p.nEq + p.nIneq));
  p.evaluate(nullptr, x.data(), f.data(), f.data() + 1, f.data() + 1 + p.nEq);
  ++evaluations;
  const char* names[] = {"f", "c", "ceq"};
  mxArray* s = mxCreateStructMatrix(1, 1, 3, names);
  mxSetField(s, 0, "f", mxCreateDoubleScalar(f[0]));
  mxSetField(s, 0, "c", column(f.data() + 1 + p.nEq, p.nIneq));
  mxSetField(s, 0, "ceq", column(f.data() + 1, p.nEq));
  return s;
}

mxArray* solve(const Problem& p, const std::string& method) {
  tarnix::Problem problem;
  for (int i = 0; i < p.n; ++i)
    problem.variable("x" + std::to_string(i), p.start[i], p.lower[i], p.upper[i]);
  problem.minimize("f");
  for (int k = 0; k < p.nIneq; ++k) problem.atMost("c" + std::to_string(k), 0);
  for (int k = 0; k < p.nEq; ++k) problem.equal("h" + std::to_string(k), 0);
  tarnix::Options options;
  options.tolerance = 1e-6;
  options.method = method == "sqp"   ? tarnix::Method::sqp
                   : method == "grg" ? tarnix::Method::grg
                                     : tarnix::Method::automatic;
  std::vector<double> point(static_cast<std::size_t>(p.n));
  std::vector<double> equalities(static_cast<std::size_t>(p.nEq + 1));
  const auto r = problem.solve(
      [&](const tarnix::Point& x, tarnix::Values& v) {
        std::copy(x.begin(), x.end(), point.begin());
        double* const c = v.data() + 1;
        p.evaluate(nullptr, point.data(), v.data(), equalities.data(), c);
        std::copy_n(equalities.data(), p.nEq, c + p.nIneq);
      },
      options);
  return column(r.point.x.data(), p.n);
}

}  // namespace

void mexFunction(int, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  const std::string what = textOf(prhs[0]);
  if (what == "designs") {
    plhs[0] = designs();
    return;
  }
  if (what == "count") {
    plhs[0] = mxCreateDoubleScalar(evaluations);
    evaluations = 0;
    return;
  }
  const Problem* p = nrhs > 1 ? problemByName(textOf(prhs[1]).c_str()) : nullptr;
  if (p == nullptr) mexErrMsgTxt("no such problem");
  if (what == "problem") plhs[0] = parts(*p);
  if (what == "evaluate") plhs[0] = evaluate(*p, prhs[2]);
  if (what == "solve") plhs[0] = solve(*p, textOf(prhs[2]));
}
