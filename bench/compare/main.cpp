// Solves the whole problem collection with every solver from the same starts, under one judge.
// `tarnix_compare --help` lists the options.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <set>

#include "compare.h"

namespace {

using namespace compare;

const char help[] =
    "tarnix_compare [option value]...\n"
    "  --solvers a,b,...      by default all: automatic, sqp, grg and the peers that were found\n"
    "  --problems a,b,...     by default the whole collection\n"
    "  --starts k             random starts in the box, after the published one (0)\n"
    "  --random-only 1        leaves the published starts out\n"
    "  --tolerance t          of tarnix (1e-5)\n"
    "  --peer-tolerance t     of the others (1e-7)\n"
    "  --noise r              of every value, relative to max(1, |value|) (0)\n"
    "  --loose t              what counts as loosely solved (1e-3)\n"
    "  --max-evaluations k    of a solve (10000)\n"
    "  --max-seconds s        of processor time, of a solve (10)\n"
    "  --seed k               of starts and noise (1)\n"
    "  --csv file, --json file  one row per solve\n"
    "  --list 1               prints every solve that is not solved loosely\n";

struct Row {
  const Solver* solver;
  const Problem* problem;
  int start;  // 0: the published one
  bool success;
  Verdict verdict;
  long evaluations;
  double seconds;
};

struct Options {
  Setup setup;
  std::set<std::string> solvers, problems;
  int starts = 0;
  bool randomOnly = false, list = false;
  double loose = 1e-3;
  std::string csv, json;
};

std::set<std::string> split(const std::string& text) {
  std::set<std::string> parts;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t to = std::min(text.find(',', from), text.size());
    parts.insert(text.substr(from, to - from));
    from = to + 1;
  }
  return parts;
}

bool parse(int argc, char** argv, Options& o) {
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string name = argv[i], value = argv[i + 1];
    const double number = std::atof(argv[i + 1]);
    if (name == "--solvers")
      o.solvers = split(value);
    else if (name == "--problems")
      o.problems = split(value);
    else if (name == "--starts")
      o.starts = static_cast<int>(number);
    else if (name == "--random-only")
      o.randomOnly = number != 0;
    else if (name == "--tolerance")
      o.setup.tolerance = number;
    else if (name == "--peer-tolerance")
      o.setup.peerTolerance = number;
    else if (name == "--noise")
      o.setup.noise = number;
    else if (name == "--loose")
      o.loose = number;
    else if (name == "--max-evaluations")
      o.setup.maxEvaluations = static_cast<long>(number);
    else if (name == "--max-seconds")
      o.setup.maxSeconds = number;
    else if (name == "--seed")
      o.setup.seed = static_cast<std::uint64_t>(number);
    else if (name == "--csv")
      o.csv = value;
    else if (name == "--json")
      o.json = value;
    else if (name == "--list")
      o.list = number != 0;
    else
      return false;
  }
  return argc % 2 == 1;
}

// Start k of a problem: the published one, then points drawn evenly from the box. They depend on
// the seed and the problem's name alone.
std::vector<double> startOf(const Problem& p, int k, std::uint64_t seed) {
  std::vector<double> x(p.start, p.start + p.n);
  if (k == 0) return x;
  std::uint64_t state = seed;
  for (const char* c = p.name; *c; ++c) state = state * 1099511628211u + static_cast<unsigned>(*c);
  state += static_cast<std::uint64_t>(k) << 32;
  for (int i = 0; i < p.n; ++i) {
    std::uint64_t z = state += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    const double t = static_cast<double>((z ^ (z >> 31)) >> 11) / 9007199254740992.0;
    x[i] = p.lower[i] + t * (p.upper[i] - p.lower[i]);
  }
  return x;
}

Row solveOnce(const Solver& solver, const Problem& p, int start, const Options& o) {
  Values values(p, o.setup);
  const std::vector<double> x = startOf(p, start, o.setup.seed);
  const double began = seconds();
  Claim claim;
  try {
    claim = solver.solve(values, x, o.setup);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s on %s: %s\n", solver.name.c_str(), p.name, e.what());
  }
  const double took = seconds() - began;
  if (claim.x.size() != x.size()) claim = {false, x};
  return {&solver, &p, start, claim.success, judge(p, claim, o.loose), values.evaluations, took};
}

void print(const Row& r) {
  const Verdict& v = r.verdict;
  std::printf("%-10s %-24s %3d  f %.9g best %.9g viol %.1e fall %.1e %s%s%s %ld\n",
              r.solver->name.c_str(), r.problem->name, r.start, v.f, r.problem->fBest, v.violation,
              v.fall, r.success ? "success" : "failure", v.wrong ? ", false" : "",
              v.better ? ", BETTER THAN THE BEST KNOWN" : "", r.evaluations);
}

void summary(const std::vector<Solver>& all, const std::vector<Row>& rows) {
  std::printf("%-10s %-9s %6s %6s %6s %6s %6s %8s %10s %8s\n", "solver", "version", "solves",
              "loose", "tight", "claims", "false", "median", "total", "seconds");
  for (const Solver& solver : all) {
    std::vector<long> evaluations;
    int loose = 0, tight = 0, claims = 0, wrong = 0;
    long total = 0;
    double took = 0;
    for (const Row& r : rows) {
      if (r.solver != &solver) continue;
      loose += r.verdict.loose;
      tight += r.verdict.tight;
      claims += r.success;
      wrong += r.verdict.wrong;
      total += r.evaluations;
      took += r.seconds;
      evaluations.push_back(r.evaluations);
    }
    if (evaluations.empty()) continue;
    std::sort(evaluations.begin(), evaluations.end());
    const std::size_t half = evaluations.size() / 2;
    const double median = evaluations.size() % 2
                              ? evaluations[half]
                              : (evaluations[half - 1] + evaluations[half]) / 2.0;
    std::printf("%-10s %-9s %6zu %6d %6d %6d %6d %8.1f %10ld %8.2f\n", solver.name.c_str(),
                solver.version.c_str(), evaluations.size(), loose, tight, claims, wrong, median,
                total, took);
  }
}

// A number that JSON knows: what is not finite becomes null.
std::string jsonNumber(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return std::isfinite(value) ? text : "null";
}

void write(const Options& o, const std::vector<Row>& rows) {
  std::ofstream csv(o.csv), json(o.json);
  csv << "solver,version,problem,n,equalities,inequalities,start,noise,tolerance,success,f,best,"
         "violation,fall,loose,tight,false,evaluations,seconds\n";
  csv.precision(12);
  json << "[";
  const char* separator = "\n";
  for (const Row& r : rows) {
    const Verdict& v = r.verdict;
    const Problem& p = *r.problem;
    csv << r.solver->name << ',' << r.solver->version << ',' << p.name << ',' << p.n << ',' << p.nEq
        << ',' << p.nIneq << ',' << r.start << ',' << o.setup.noise << ',' << o.setup.tolerance
        << ',' << r.success << ',' << v.f << ',' << p.fBest << ',' << v.violation << ',' << v.fall
        << ',' << v.loose << ',' << v.tight << ',' << v.wrong << ',' << r.evaluations << ','
        << r.seconds << '\n';
    json << separator << "{\"solver\": \"" << r.solver->name << "\", \"problem\": \"" << p.name
         << "\", \"n\": " << p.n << ", \"start\": " << r.start << ", \"success\": " << r.success
         << ", \"f\": " << jsonNumber(v.f) << ", \"best\": " << jsonNumber(p.fBest)
         << ", \"violation\": " << jsonNumber(v.violation) << ", \"fall\": " << jsonNumber(v.fall)
         << ", \"loose\": " << v.loose << ", \"tight\": " << v.tight << ", \"false\": " << v.wrong
         << ", \"evaluations\": " << r.evaluations << ", \"seconds\": " << jsonNumber(r.seconds)
         << "}";
    separator = ",\n";
  }
  json << "\n]\n";
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (!parse(argc, argv, o)) {
    std::fputs(help, argc == 2 && std::strcmp(argv[1], "--help") == 0 ? stdout : stderr);
    return argc == 2 && std::strcmp(argv[1], "--help") == 0 ? 0 : 2;
  }
  const std::vector<Solver> all = solvers();
  std::set<std::string> known;
  for (const Solver& s : all) known.insert(s.name);
  for (const std::string& name : o.solvers)
    if (!known.count(name)) {
      std::fprintf(stderr, "no solver %s in this build\n", name.c_str());
      return 2;
    }
  for (const std::string& name : o.problems)
    if (!problemByName(name.c_str())) {
      std::fprintf(stderr, "no problem %s\n", name.c_str());
      return 2;
    }
  for (const char* peer : {"cobyla", "slsqp", "ipopt"})
    if (!known.count(peer)) std::printf("%s: not found when this was built, skipped\n", peer);

  std::vector<Row> rows;
  for (const Solver& solver : all) {
    if (!o.solvers.empty() && !o.solvers.count(solver.name)) continue;
    for (int i = 0; i < wideProblemCount(); ++i) {
      const Problem& p = *wideProblemAt(i);
      if (!o.problems.empty() && !o.problems.count(p.name)) continue;
      for (int k = o.randomOnly ? 1 : 0; k <= o.starts; ++k) {
        rows.push_back(solveOnce(solver, p, k, o));
        const Verdict& v = rows.back().verdict;
        if (v.better || (o.list && (!v.loose || v.wrong))) print(rows.back());
      }
    }
  }
  summary(all, rows);
  if (!o.csv.empty() || !o.json.empty()) write(o, rows);
}
