// QPSOLV against the classic code of the same method, the Fortran routines qpgen2 (dense) and
// qpgen1 (compact) of R's package quadprog, in one interleaved run over the same problems. The
// package is only loaded when it is installed; without it QPSOLV is measured alone.

#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "qp_problems.h"

namespace {

using bench::QpAnswer;
using bench::QpInstance;

struct Steps {
  int added = 0, dropped = 0;
};

// --- quadprog ----------------------------------------------------------------------------------

using Dense = void(double* D, double* d, int32_t* ldD, int32_t* n, double* sol, double* lagr,
                   double* value, double* A, double* b, int32_t* ldA, int32_t* q, int32_t* meq,
                   int32_t* iact, int32_t* nact, int32_t* iter, double* work, int32_t* ierr);
using Compact = void(double* D, double* d, int32_t* ldD, int32_t* n, double* sol, double* lagr,
                     double* value, double* A, int32_t* index, double* b, int32_t* ldA, int32_t* q,
                     int32_t* meq, int32_t* iact, int32_t* nact, int32_t* iter, double* work,
                     int32_t* ierr);

struct Quadprog {
  std::string file, blas;
  Dense* dense = nullptr;
  Compact* compact = nullptr;
};

Quadprog findQuadprog() {
  const auto variable = [](const char* name, const char* otherwise) {
    const char* value = std::getenv(name);
    return std::string(value && *value ? value : otherwise);
  };
  const std::string home = variable("R_HOME", "/usr/lib/R");
  std::vector<std::string> files;
  if (const std::string own = variable("TARNIX_QUADPROG", ""); !own.empty()) {
    files = {own};  // the user's choice, and nothing in its place
  } else {
    for (const std::string& library :
         {home + "/site-library", home + "/library", std::string("/usr/local/lib/R/site-library"),
          std::string("/usr/lib64/R/library")})
      files.push_back(library + "/quadprog/libs/quadprog.so");
  }
  // It takes BLAS and LINPACK routines from these; where the loader finds them itself, no harm.
  for (const std::string& library :
       {std::string("libblas.so.3"), std::string("liblapack.so.3"), home + "/lib/libR.so"})
    dlopen(library.c_str(), RTLD_LAZY | RTLD_GLOBAL);

  Quadprog found;
  for (const std::string& file : files) {
    void* handle = dlopen(file.c_str(), RTLD_NOW);
    if (!handle) continue;
    found.dense = reinterpret_cast<Dense*>(dlsym(handle, "qpgen2_"));
    found.compact = reinterpret_cast<Compact*>(dlsym(handle, "qpgen1_"));
    if (!found.dense) continue;
    found.file = file;
    Dl_info info{};
    if (void* dot = dlsym(handle, "ddot_"); dot && dladdr(dot, &info)) {
      char* path = realpath(info.dli_fname, nullptr);
      found.blas = path ? path : info.dli_fname;
      std::free(path);
    }
    break;
  }
  return found;
}

// The problem as quadprog takes it: min d.Dd/2 - g.d with C'd >= b. Every bound is a column of C.
class QuadprogProblem {
 public:
  QuadprogProblem(const Quadprog& code, const QpInstance& qp)
      : code_(code), n_(qp.n), q_(qp.m + 2 * qp.n), H_(qp.H), linear_(negated(qp.g)) {
    const int r = std::min(n_, q_);
    work_.resize(2 * n_ + r * (r + 5) / 2 + 2 * q_ + 1);
    sol.resize(n_);
    lagr_.resize(q_);
    iact_.resize(q_);
    dense_ = negated(qp.A);
    dense_.resize(static_cast<std::size_t>(n_) * q_);
    right_ = negated(qp.b);
    compact_ = dense_;
    index_.resize(static_cast<std::size_t>(n_ + 1) * q_);
    for (int r0 = 0; r0 < qp.m; ++r0) {
      int32_t* index = &index_[static_cast<std::size_t>(n_ + 1) * r0];
      index[0] = n_;
      for (int i = 1; i <= n_; ++i) index[i] = i;
    }
    for (int j = 0; j < n_; ++j) {
      addBound(j, -1.0, -qp.du[j]);
      addBound(j, 1.0, qp.dl[j]);
    }
  }

  // The matrix and the linear term are destroyed by a solve.
  void restore() {
    D_ = H_;
    d_ = linear_;
    ierr = 0;
  }
  void solveDense() {
    int32_t none = 0;
    code_.dense(D_.data(), d_.data(), &n_, &n_, sol.data(), lagr_.data(), &value_, dense_.data(),
                right_.data(), &n_, &q_, &none, iact_.data(), &nact, iter, work_.data(), &ierr);
  }
  void solveCompact() {
    int32_t none = 0;
    code_.compact(D_.data(), d_.data(), &n_, &n_, sol.data(), lagr_.data(), &value_,
                  compact_.data(), index_.data(), right_.data(), &n_, &q_, &none, iact_.data(),
                  &nact, iter, work_.data(), &ierr);
  }

  std::vector<double> sol;
  int32_t nact = 0, ierr = 0, iter[2] = {0, 0};

 private:
  static std::vector<double> negated(std::vector<double> v) {
    for (double& entry : v) entry = -entry;
    return v;
  }
  void addBound(int j, double sign, double right) {
    const std::size_t column = right_.size();
    dense_[column * n_ + j] = sign;
    compact_[column * n_] = sign;
    index_[column * (n_ + 1)] = 1;
    index_[column * (n_ + 1) + 1] = j + 1;
    right_.push_back(right);
  }

  const Quadprog& code_;
  int32_t n_, q_;
  double value_ = 0.0;
  std::vector<double> H_, linear_, D_, d_, dense_, compact_, right_, lagr_, work_;
  std::vector<int32_t> index_, iact_;
};

// --- tarnix ------------------------------------------------------------------------------------

struct TarnixProblem {
  QpInstance qp;
  QpAnswer answer;
  std::vector<double> H, g;

  explicit TarnixProblem(const QpInstance& given)
      : qp(given), answer(given), H(given.H), g(given.g) {}
  // QPSOLV leaves its input alone; copied back all the same, so that both codes start alike.
  void restore() {
    qp.H = H;
    qp.g = g;
  }
  void solve() { bench::solve(qp, answer); }
};

// QPSOLV does not tell its steps. The exported routines are the same steps one by one, so a walk
// through them takes the same path. The number of active rows at its end is left in count.
Steps countSteps(const QpInstance& qp, int32_t& count) {
  const int32_t n = qp.n, m = qp.m, nb = 2 * n;
  std::vector<double> P(n * (n + 1) / 2), T(P), W(n * n), d(n), z(n), r(n), lambda(n), res(m + nb);
  std::vector<int32_t> rows(n);
  int32_t failed = 0;
  Steps steps;
  count = 0;
  QPSINI(&n, qp.H.data(), &n, qp.g.data(), P.data(), d.data(), &failed);
  while (!failed) {
    int32_t p = 0;
    const auto refresh = [&] {
      QPSCON(&n, &m, &m, qp.A.data(), &n, qp.b.data(), qp.codes.data(), &nb, qp.dl.data(),
             qp.du.data(), d.data(), res.data());
    };
    refresh();
    QPSVIO(&m, &m, &nb, res.data(), &count, rows.data(), &p);
    if (p == 0) break;
    double multiplier = 0.0;
    int32_t kind = 2;
    while (kind != 3 && !failed) {
      double q = 0.0, t = 0.0;
      int32_t k = 0;
      QPSDIR(&p, &n, &m, &m, &nb, qp.A.data(), &n, qp.codes.data(), P.data(), W.data(), &count,
             rows.data(), T.data(), r.data(), z.data());
      for (int32_t i = 1; i <= n; ++i) {
        double component = 0.0;
        QPSGRA(&p, &i, &component, &n, &m, &m, &nb, qp.A.data(), &n, qp.codes.data());
        q += component * z[i - 1];
      }
      const double curvature = -q;
      QPSLEN(&n, &count, lambda.data(), r.data(), &q, &curvature, &res[p - 1], &t, &kind, &k);
      if (kind == 0) return steps;
      QPSSTP(&n, &t, z.data(), d.data(), &count, r.data(), lambda.data(), &multiplier);
      ++(kind == 3 ? steps.added : steps.dropped);
      QPSDOA(&count, &n, &m, &m, &nb, qp.codes.data(), qp.A.data(), &n, W.data(), T.data(),
             rows.data(), lambda.data(), &p, &multiplier, &k, &failed);
      refresh();
    }
  }
  return steps;
}

// --- measurement -------------------------------------------------------------------------------

template <class Problem, class Solve>
double timed(std::vector<Problem>& problems, Solve solve) {
  for (Problem& problem : problems) problem.restore();
  const auto start = std::chrono::steady_clock::now();
  for (Problem& problem : problems) solve(problem);
  const std::chrono::duration<double, std::micro> elapsed =
      std::chrono::steady_clock::now() - start;
  return elapsed.count() / static_cast<double>(problems.size());
}

double median(std::vector<double>& times) {
  const auto middle = times.begin() + times.size() / 2;
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

constexpr double agreement = 1e-8;

struct Cell {
  double time[3] = {0, 0, 0};  // microseconds per solve: tarnix, dense, compact
  Steps own, other;            // summed over the problems
  int problems = 0, active = 0;
  double error = 0.0;  // largest relative difference between any two solutions
  bool solved = true;
};

// Several small problems share one reading of the clock.
int problemsPerReading(int n) {
  return std::max(1, 80 / n);
}

Cell measure(const Quadprog& code, int n, int percent, int repetitions) {
  constexpr int groups = 6;
  Cell cell;
  for (int group = 0; group < groups; ++group) {
    std::vector<TarnixProblem> own;
    std::vector<QuadprogProblem> dense, compact;
    for (int k = 0; k < problemsPerReading(n); ++k) {
      const QpInstance qp = bench::randomQp(n, percent, 1 + group * problemsPerReading(n) + k);
      own.emplace_back(qp);
      if (code.dense) dense.emplace_back(code, qp);
      if (code.compact) compact.emplace_back(code, qp);
      cell.active += qp.active;
    }
    cell.problems += static_cast<int>(own.size());

    std::vector<double> times[3];
    for (int repetition = 0; repetition <= repetitions; ++repetition) {
      for (int turn = 0; turn < 3; ++turn) {
        const int which = (turn + repetition) % 3;  // who goes first changes every time
        double time = 0.0;
        if (which == 0)
          time = timed(own, [](TarnixProblem& p) { p.solve(); });
        else if (which == 1 && code.dense)
          time = timed(dense, [](QuadprogProblem& p) { p.solveDense(); });
        else if (which == 2 && code.compact)
          time = timed(compact, [](QuadprogProblem& p) { p.solveCompact(); });
        if (repetition > 0) times[which].push_back(time);  // the first one warms up
      }
    }
    for (int which = 0; which < 3; ++which) cell.time[which] += median(times[which]) / groups;

    for (std::size_t k = 0; k < own.size(); ++k) {
      const TarnixProblem& mine = own[k];
      int32_t count = 0;
      const Steps steps = countSteps(mine.qp, count);
      cell.own.added += steps.added;
      cell.own.dropped += steps.dropped;
      cell.solved = cell.solved && mine.answer.solved() && mine.answer.count == mine.qp.active &&
                    count == mine.answer.count;
      const auto check = [&](const std::vector<double>& solution) {
        const double error = bench::relativeError(solution, mine.answer.d);
        if (!(error <= cell.error)) cell.error = error;
      };
      check(mine.qp.solution);
      if (code.dense) {
        check(dense[k].sol);
        cell.other.added += dense[k].iter[0];
        cell.other.dropped += dense[k].iter[1];
        cell.solved = cell.solved && dense[k].ierr == 0;
      }
      if (code.compact) {
        check(compact[k].sol);
        cell.solved = cell.solved && compact[k].ierr == 0;
      }
    }
  }
  return cell;
}

}  // namespace

int main(int argc, char** argv) {
  const int repetitions = argc > 1 ? std::atoi(argv[1]) : 101;
  if (repetitions < 1) {
    std::fprintf(stderr, "usage: %s [repetitions]\n", argv[0]);
    return 2;
  }
  VRK_setDefaults();
  const Quadprog code = findQuadprog();
  if (code.dense) {
    std::printf("quadprog: %s\nits BLAS: %s\n", code.file.c_str(), code.blas.c_str());
    if (!code.compact) std::printf("the compact form (qpgen1) is not in it\n");
  } else {
    std::printf(
        "quadprog was NOT found (set TARNIX_QUADPROG to its quadprog.so): there is nothing\n"
        "to compare with, tarnix is measured alone\n");
  }
  std::printf(
      "m = n general rows and a box on every variable. The dense form of quadprog holds all of\n"
      "them as dense columns, 3n in number, 2n of them for the box; the compact form holds a "
      "bound\n"
      "as one entry. Times: microseconds per solve, median of %d interleaved repetitions, mean\n"
      "over the problems; quadprog's input, which it destroys, is restored outside the time.\n"
      "Steps +/-: rows added and dropped per solve; quadprog counts its last search, which finds\n"
      "nothing to add, as one more. Error: largest relative difference between two solutions.\n\n",
      repetitions);
  std::printf(
      "  n  active    m   tarnix    dense  ratio  compact  ratio  tarnix +/-  quadprog +/-"
      "    error\n");
  bool good = true;
  for (const int n : {5, 10, 20, 50, 100}) {
    for (const int percent : {10, 30, 70}) {
      const Cell cell = measure(code, n, percent, repetitions);
      const auto mean = [&](int sum) { return static_cast<double>(sum) / cell.problems; };
      std::printf("%3d  %5.0f%%  %3d  %7.2f", n, 100.0 * mean(cell.active) / n, n, cell.time[0]);
      for (const int other : {1, 2}) {
        if (cell.time[other] > 0.0)
          std::printf("  %7.2f  %5.3f", cell.time[other], cell.time[0] / cell.time[other]);
        else
          std::printf("        -      -");
      }
      std::printf("  %5.1f/%4.1f", mean(cell.own.added), mean(cell.own.dropped));
      if (code.dense)
        std::printf("    %5.1f/%4.1f", mean(cell.other.added), mean(cell.other.dropped));
      else
        std::printf("             -");
      const bool agrees = cell.solved && cell.error <= agreement;
      std::printf("  %7.1e%s\n", cell.error, agrees ? "" : "  WRONG");
      std::fflush(stdout);
      good = good && agrees;
    }
  }
  if (!good)
    std::printf(
        "\nWRONG: a solve failed, its active set is not the constructed one, or two "
        "solutions differ by more than %.0e\n",
        agreement);
  return good ? 0 : 1;
}
