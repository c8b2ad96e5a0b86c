// The driver on .nl files: the collection, written from expressions in text and in binary, and odd
// problems made by hand.

#include <gtest/gtest.h>
#include <problems.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <tarnix/tarnix.hpp>
#include <thread>
#include <vector>

#include "../driver.h"
#include "../nl_model.h"
#include "expression.h"

namespace {

namespace fs = std::filesystem;
constexpr double infinity = std::numeric_limits<double>::infinity();

// A folder that goes with the test.
class Folder {
 public:
  Folder() {
    std::string name = (fs::temp_directory_path() / "tarnix_ampl_XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ~Folder() { fs::remove_all(path_); }
  std::string stub() const { return (path_ / "model").string(); }
  void write(const std::string& content) const {
    std::ofstream(stub() + ".nl", std::ios::binary) << content;
  }
  std::string read(const std::string& file) const {
    std::ifstream in(path_ / file);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  fs::path path_;
};

// A model as the driver has it.
struct Opened {
  NlOptions options = {0, 200, 0, 1, 0, std::nan(""), 0, 1e-6};
  std::unique_ptr<NlModel, void (*)(NlModel*)> model{nl_create(&options), nl_destroy};

  explicit Opened(const std::string& stub) {
    std::string program = "tarnix-ampl", name = stub;
    char* arguments[] = {program.data(), name.data(), nullptr};
    EXPECT_EQ(nl_arguments(model.get(), arguments, "test"), NL_DONE);
    EXPECT_EQ(nl_sizes(model.get()), NL_DONE);
    EXPECT_EQ(nl_read(model.get()), NL_DONE);
  }
  tarnix::ampl::Answer solve() { return tarnix::ampl::solve(*model, options, tarnix::Stop()); }
};

// Values of the problem of the collection in the order of the file.
std::vector<double> valuesOf(const Problem& p, const nl::Model& model, std::vector<double> x) {
  std::vector<double> f(static_cast<std::size_t>(1 + p.nEq + p.nIneq));
  p.evaluate(nullptr, x.data(), f.data(), f.data() + 1, f.data() + 1 + p.nEq);
  std::vector<double> ordered = {f[0]};
  for (const int k : model.order()) ordered.push_back(f[static_cast<std::size_t>(k + 1)]);
  return ordered;
}

// A point in the box, further from the start as k grows.
std::vector<double> sample(const Problem& p, int k) {
  std::vector<double> x(p.start, p.start + p.n);
  for (int i = 0; i < p.n; ++i) {
    const double share = 0.13 * k * (1 + i % 3) / 3;
    x[static_cast<std::size_t>(i)] +=
        share * ((i + k) % 2 == 0 ? p.upper[i] - p.start[i] : p.lower[i] - p.start[i]);
  }
  return x;
}

bool near(double a, double b, double tolerance) {
  if (!std::isfinite(a) || !std::isfinite(b)) return std::isfinite(a) == std::isfinite(b);
  return std::fabs(a - b) <= tolerance * std::max(1.0, std::fabs(b));
}

// Limits that a linear constraint's constant has moved to are taken back.
void compareValues(NlModel* nl, const Problem& p, const nl::Model& model) {
  const std::size_t m = model.constraints.size();
  const std::vector<int> order = model.order();
  for (int k = 0; k < 4; ++k) {
    const std::vector<double> x = sample(p, k), expected = valuesOf(p, model, x);
    std::vector<double> found(m);
    double objective;
    nl_values(nl, x.data(), &objective, found.data());
    EXPECT_TRUE(near(objective, expected[0], 1e-10)) << objective << " for " << expected[0];
    for (std::size_t j = 0; j < m; ++j) {
      double lower, upper;
      nl_constraint(nl, static_cast<int>(j), &lower, &upper);
      EXPECT_TRUE(near(found[j] - upper, expected[j + 1], 1e-9))
          << "constraint " << order[j] << ": " << found[j] - upper << " for " << expected[j + 1];
    }
  }
}

void compareGradients(NlModel* nl, const Problem& p) {
  const std::size_t n = static_cast<std::size_t>(p.n);
  const std::size_t m = static_cast<std::size_t>(p.nEq + p.nIneq);
  std::vector<double> x = sample(p, 1), G((m + 1) * n), above(m + 1), below(m + 1);
  nl_gradients(nl, x.data(), G.data());
  for (std::size_t i = 0; i < n; ++i) {
    const double at = x[i], h = 1e-6 * std::max(1.0, std::fabs(at));
    x[i] = at + h;
    nl_values(nl, x.data(), above.data(), above.data() + 1);
    x[i] = at - h;
    nl_values(nl, x.data(), below.data(), below.data() + 1);
    x[i] = at;
    for (std::size_t k = 0; k <= m; ++k) {
      const double slope = (above[k] - below[k]) / (2 * h);
      const double scale = std::max({1.0, std::fabs(slope), 1e-3 * std::fabs(above[k])});
      if (!std::isfinite(slope)) continue;
      EXPECT_LE(std::fabs(G[k * n + i] - slope), 1e-4 * scale) << "function " << k << " by " << i;
    }
  }
}

// All of the collection that expressions can say: its values, its derivatives, and the optima.
TEST(Ampl, Collection) {
  int written = 0, solved = 0;
  for (int k = 0; k < wideProblemCount(); ++k) {
    const Problem& p = *wideProblemAt(k);
    const auto model = nl::collected(p.name);
    if (!model) continue;
    SCOPED_TRACE(p.name);
    ++written;
    const Folder text, binary;
    text.write(model->text());
    binary.write(model->binary());
    Opened a(text.stub()), b(binary.stub());
    compareValues(a.model.get(), p, *model);
    compareGradients(a.model.get(), p);
    const tarnix::ampl::Answer first = a.solve(), second = b.solve();
    EXPECT_EQ(first.code, second.code);
    EXPECT_EQ(first.message, second.message);
    EXPECT_EQ(first.x, second.x);
    EXPECT_EQ(first.multipliers, second.multipliers);
    std::vector<double> x = first.x;
    double f = 0;
    if (first.code == 0) {
      EXPECT_LE(problemViolation(&p, x.data(), &f), 1e-4);
    }
    const bool right = std::fabs(f - p.fBest) <= 1e-3 * std::max(1.0, std::fabs(p.fBest));
    if (first.code == 0 && right) ++solved;
    if (first.code != 0 || !right)
      std::cout << p.name << ": code " << first.code << ", " << f << " for " << p.fBest << '\n';
  }
  std::cout << written << " written, " << solved << " solved\n";
  EXPECT_GE(written, 200);
  EXPECT_GE(solved, written * 17 / 20);  // most others end in another local minimum
}

nl::Expr x(int i) {
  return nl::Expr::variable(i);
}

// The same solve as by the C++ layer with the same functions and derivatives, bit for bit.
TEST(Ampl, BitsOfTheLayer) {
  nl::Model disk;
  disk.variables = {{0.5, -2, 2}, {0, -2, 2}};
  disk.constraints = {{x(0) * x(0) + x(1) * x(1), -infinity, 1}};
  disk.objective = x(0) * x(1) + x(0);
  const Folder folder;
  folder.write(disk.text());
  for (const int method : {0, 1, 2}) {
    Opened opened(folder.stub());
    opened.options.method = method;
    const tarnix::ampl::Answer answer = opened.solve();
    tarnix::Problem problem;
    problem.variable("a", 0.5, -2, 2);
    problem.variable("b", 0, -2, 2);
    problem.minimize("f");
    problem.atMost("g", 1);
    tarnix::Options options;
    options.tolerance = 1e-6;
    options.method = method == 1   ? tarnix::Method::sqp
                     : method == 2 ? tarnix::Method::grg
                                   : tarnix::Method::automatic;
    const tarnix::Result r = problem.solve(
        [](const tarnix::Point& p, tarnix::Values& v) {
          v[0] = p[0] * p[1] + p[0];
          v[1] = p[0] * p[0] + p[1] * p[1];
        },
        [](const tarnix::Point& p, tarnix::Gradients& g) {
          g(0, 0) = p[1] + 1;
          g(0, 1) = p[0];
          g(1, 0) = p[0] + p[0];
          g(1, 1) = p[1] + p[1];
        },
        options);
    EXPECT_EQ(answer.code, 0);
    ASSERT_EQ(answer.x.size(), 2u);
    EXPECT_EQ(std::memcmp(answer.x.data(), r.point.x.data(), 2 * sizeof(double)), 0);
    EXPECT_EQ(answer.multipliers.at(0), r.report->active.at(0).multiplier);
  }
}

// ---- the program ----

struct Ended {
  int status;
  std::string output, solution;
  int code() const {  // behind "objno 0"
    const auto at = solution.rfind("objno ");
    return at == std::string::npos ? -1 : std::atoi(solution.c_str() + solution.find(' ', at + 6));
  }
};

Ended run(const std::string& content, const std::string& arguments,
          const std::string& environment = "") {
  const Folder folder;
  folder.write(content);
  const std::string command = "cd '" + fs::path(folder.stub()).parent_path().string() + "' && " +
                              environment + " '" TARNIX_AMPL_PROGRAM "' " + arguments +
                              " >output 2>&1 </dev/null";
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("output"),
          folder.read("model.sol")};
}

struct Odd {
  const char* name;
  nl::Model model;
  int code;
  const char* words;  // in the message
  std::vector<double> x;
};

std::vector<Odd> oddModels() {
  using nl::Model;
  const Model::Variable free = {1, -infinity, infinity};
  Model rows;
  rows.variables = {{3, 0, 10}, {4, 0, 10}};
  rows.objective = x(0) + x(1) * 2;
  Model crossed = rows, integer = rows, complementary = rows, logical = rows;
  crossed.constraints = {{x(0) + x(1), 5, 4}};
  integer.integers = 1;
  complementary.constraints = {{x(0) + x(1) - 3, 0, 0, 1}};
  logical.logical = 1;
  std::vector<Model::Variable> many(101, {1, 0, 2});
  nl::Expr sum;
  for (int i = 0; i < 101; ++i) sum += x(i) * x(i);
  return {
      {"no objective", {{{5, 0, 10}}, {{x(0) * x(0), 4, 4}}, {}}, 0, "solved", {2}},
      {"no constraints", {{{5, 0, 10}}, {}, (x(0) - 3) * (x(0) - 3)}, 0, "solved", {3}},
      {"no bounds",
       {{free, free}, {{x(0) + x(1), 6, 6}}, x(0) * x(0) + x(1) * x(1)},
       0,
       "solved",
       {3, 3}},
      {"unbounded", {{free}, {}, x(0)}, 300, "unbounded", {}},
      {"infeasible", {{{1, 0, 5}}, {{x(0) * x(0), -infinity, -1}}, x(0)}, 200, "no feasible", {}},
      {"crossed limits", crossed, 201, "crossed limits", {}},
      {"NaN at the start", {{{-1, -2, -0.5}}, {}, log(x(0))}, 501, "no value at the start", {}},
      {"range", {{{1, 0, 10}}, {{exp(x(0)), 2, 3}}, x(0)}, 0, "solved", {std::log(2.0)}},
      {"free row",
       {{{5, 0, 10}}, {{x(0) * x(0), -infinity, infinity}}, (x(0) - 1) * (x(0) - 1)},
       0,
       "solved",
       {1}},
      {"fixed variable",
       {{{2, 2, 2}, {1, 0, 9}}, {{x(0) * x(1), 6, infinity}}, x(1)},
       0,
       "solved",
       {2, 3}},
      {"linear program",
       {{{0, 0, 10}, {0, 0, 10}},
        {{x(0) + 2 * x(1), -infinity, 8}, {3 * x(0) + x(1), -infinity, 9}},
        -2 * x(0) - 3 * x(1)},
       0,
       "-13",
       {2, 3}},
      {"start outside", {{{50, 0, 10}}, {}, x(0) * x(0)}, 0, "solved", {0}},
      {"integer", integer, 510, "integer variables", {}},
      {"complementarity", complementary, 511, "complementarity", {}},
      {"logical", logical, 512, "logical", {}},
      {"101 variables", {many, {}, sum}, 520, "at most 100", {}},
  };
}

TEST(Ampl, OddModels) {
  for (const Odd& odd : oddModels())
    for (const bool binary : {false, true}) {
      SCOPED_TRACE(std::string(odd.name) + (binary ? ", binary" : ", text"));
      const Ended r = run(binary ? odd.model.binary() : odd.model.text(), "model -AMPL");
      EXPECT_EQ(r.status, 0) << r.output;
      if (!binary) {
        EXPECT_EQ(r.code(), odd.code) << r.solution << r.output;
      }
      EXPECT_NE(r.solution.find(odd.words), std::string::npos) << r.solution;
      const Folder folder;
      if (odd.x.empty()) continue;
      folder.write(odd.model.text());
      const tarnix::ampl::Answer answer = Opened(folder.stub()).solve();
      ASSERT_EQ(answer.x.size(), odd.x.size());
      for (std::size_t i = 0; i < odd.x.size(); ++i) EXPECT_NEAR(answer.x[i], odd.x[i], 1e-4);
    }
}

// Multipliers have the sign of modeling languages: change of the objective by the limit.
TEST(Ampl, Multipliers) {
  nl::Model m;  // area 2 x + 3 y at most 12, y at most 1: x y is largest at y = 1, x = 4.5
  m.variables = {{1, 0, 10}, {0.5, 0, 1}};
  m.constraints = {{x(0) * x(0) - x(0) * x(0) * x(0), -infinity, infinity},  // limits nothing
                   {2 * x(0) + 3 * x(1), -infinity, 12}};
  m.objective = x(0) * x(1);
  m.maximize = true;
  const Folder folder;
  folder.write(m.text());
  const tarnix::ampl::Answer answer = Opened(folder.stub()).solve();
  EXPECT_EQ(answer.code, 0);
  EXPECT_NEAR(answer.x.at(0), 4.5, 1e-4);
  EXPECT_EQ(answer.multipliers.at(0), 0);
  EXPECT_NEAR(answer.multipliers.at(1), 0.5, 1e-4);
  EXPECT_NEAR(answer.boundMultipliers.at(1), 3.0, 1e-3);  // 4.5 less 3 * 0.5

  const Ended r = run(m.text(), "model -AMPL");
  EXPECT_NE(r.solution.find("bound_dual"), std::string::npos) << r.solution;
}

TEST(Ampl, CommandLine) {
  nl::Model m;
  m.variables = {{0.9, 0, 1}};
  m.objective = (x(0) - 0.25) * (x(0) - 0.25);
  const std::string good = m.text();
  const struct {
    const char *arguments, *environment;
    int status;
    const char* words;
    bool solution;  // a .sol file is written
  } cases[] = {
      {"-v", "", 0, "tarnix 0.", false},
      {"'-='", "", 0, "timelimit", false},
      {"model", "", 0, "solved", false},
      {"model.nl", "", 0, "solved", false},
      {"-s model", "", 0, "solved", true},
      {"model -AMPL", "", 0, "", true},
      {"model wantsol=1", "", 0, "solved", true},
      {"model", "tarnix_options='wantsol=1 method=grg'", 0, "by GRG", true},
      {"model method=sqp tolerance=1e-4", "", 0, "by SQP", false},
      {"model target=0.1", "", 0, "solved", false},
      {"model timelimit=1e-9", "", 0, "time limit", false},
      {"model maxeval=1", "", 0, "evaluation limit", false},
      {"model method=simplex", "", 1, "automatic, sqp or grg", false},
      {"model color=3", "", 1, "Unknown keyword \"color\"", false},
      {"model tolerance=-1", "", 1, "'tolerance' has to be finite and positive", false},
      {"model tolerance=small", "", 1, "Bad character", false},
      {"missing", "", 1, "there is no file missing.nl", false},
      {"", "", 1, "No stub", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.environment) + " tarnix-ampl " + c.arguments);
    const Ended r = run(good, c.arguments, c.environment);
    EXPECT_EQ(r.status, c.status) << r.output;
    EXPECT_NE((r.output + r.solution).find(c.words), std::string::npos) << r.output;
    EXPECT_EQ(!r.solution.empty(), c.solution) << r.output;
  }
}

// An expression that several functions share has a segment of its own, here v2 = 2 x + y^2 of
// minimize (v2 - 4)^2 + (x - 1)^2 with v2 + x at most 6.
TEST(Ampl, SharedExpressions) {
  const std::string text =
      "g3 1 1 0\n 2 1 1 0 0\n 1 1\n 0 0\n 2 2 2\n 0 0 0 1\n 0 0 0 0 0\n 2 2\n 0 0\n 1 0 0 0 0\n"
      "V2 1 0\n0 2\no2\nv1\nv1\n"
      "C0\nv2\n"
      "O0 0\no0\no5\no1\nv2\nn4\nn2\no5\no1\nv0\nn1\nn2\n"
      "x2\n0 0.5\n1 1\nr\n1 6\nb\n0 -10 10\n0 -10 10\nk1\n1\nJ0 2\n0 1\n1 0\nG0 2\n0 0\n1 0\n";
  const Folder folder;
  folder.write(text);
  Opened opened(folder.stub());
  const double at[] = {3, 5};
  double f, g, slopes[4];
  nl_values(opened.model.get(), at, &f, &g);
  EXPECT_EQ(f, 27 * 27 + 4);
  EXPECT_EQ(g, 34);
  nl_gradients(opened.model.get(), at, slopes);
  const double expected[] = {2 * 27 * 2 + 4, 2 * 27 * 10, 3, 10};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(slopes[i], expected[i]) << i;
  const tarnix::ampl::Answer answer = opened.solve();
  EXPECT_EQ(answer.code, 0);
  ASSERT_EQ(answer.x.size(), 2u);
  EXPECT_NEAR(answer.x[0], 1, 1e-4);
  EXPECT_NEAR(answer.x[1], std::sqrt(2.0), 1e-4);
}

// True once the process has a handler of its own for the signal, false when it has ended.
bool waitForHandler(pid_t child, int signal) {
  for (;;) {
    std::ifstream in("/proc/" + std::to_string(child) + "/status");
    std::string word, state;
    unsigned long long handled = 0;
    while (in >> word) {
      if (word == "State:") in >> state;
      if (word == "SigCgt:") in >> std::hex >> handled >> std::dec;
    }
    if (state.empty() || state == "Z") return false;
    if (handled >> (signal - 1) & 1) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

// A signal ends the solve with the best design so far.
TEST(Ampl, Interrupt) {
  nl::Model m;  // costs a millisecond per evaluation, and the valley is long
  m.variables.assign(20, {-1.2, -5, 5});
  nl::Expr sum;
  for (int copy = 0; copy < 600; ++copy) {
    nl::Expr once;  // by itself: expressions are followed by recursion
    for (int i = 0; i + 1 < 20; ++i) {
      const nl::Expr bend = x(i + 1) - x(i) * x(i), rest = 1 - x(i);
      once += exp(x(i) - x(i)) * 100 * bend * bend + rest * rest;
    }
    sum += once;
  }
  m.objective = sum;
  const Folder folder;
  folder.write(m.text());
  for (const int signal : {SIGINT, SIGTERM}) {
    const pid_t child = fork();
    if (child == 0) {
      (void)!std::freopen("/dev/null", "w", stdout);
      execl(TARNIX_AMPL_PROGRAM, "tarnix-ampl", folder.stub().c_str(), "-AMPL", "tolerance=1e-14",
            "maxiter=100000", nullptr);
      _exit(127);
    }
    ASSERT_GT(child, 0);
    EXPECT_TRUE(waitForHandler(child, signal));
    kill(child, signal);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "status " << status;
    const Ended r = {status, "", folder.read("model.sol")};
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.code(), 403) << r.solution;
    EXPECT_NE(r.solution.find("stopped"), std::string::npos) << r.solution;
    fs::remove(folder.stub() + ".sol");
  }
}

// A file that breaks off, at any byte, ends the program with a status and words.
TEST(Ampl, BrokenFiles) {
  nl::Model m;
  m.variables = {{0.9, 0, 1}, {0.5, 0, 1}};
  m.constraints = {{x(0) * x(1), 0.25, infinity}};
  m.objective = x(0) * x(0) + exp(x(1));
  for (const bool binary : {false, true}) {
    const std::string whole = binary ? m.binary() : m.text();
    for (std::size_t length = 0; length + 4 < whole.size(); length += 11) {
      SCOPED_TRACE(length);
      const Ended r = run(whole.substr(0, length), "model");
      EXPECT_EQ(r.status, 1) << r.output;
      EXPECT_FALSE(r.output.empty());
    }
  }
  std::string wrong = m.text();
  wrong.replace(wrong.find("\no2\n"), 4, "\no99\n");
  EXPECT_EQ(run(wrong, "model").status, 1);
  wrong = m.text();  // would be allocated and filled
  wrong.replace(wrong.find("\n 2 1 1 "), 9, "\n 2 1000000000 1 ");
  const Ended huge = run(wrong, "model");
  EXPECT_EQ(huge.status, 1);
  EXPECT_NE(huge.output.find("is damaged"), std::string::npos) << huge.output;
}

// Damaged in one place, at random: solved all the same, or ended with a status and words, never by
// a signal. The numbers are those that do harm as counts and indices.
TEST(Ampl, DamagedFiles) {
  nl::Model m;
  m.variables = {{0.9, 0, 1}, {0.5, 0, 1}};
  m.constraints = {{x(0) * x(1), 0.25, infinity}, {x(0) + x(1), -infinity, 1.5}};
  m.objective = x(0) * x(0) + exp(x(1));
  std::vector<std::string> lines;
  std::istringstream in(m.text());
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::uint32_t state = 1;
  const auto random = [&state](std::size_t below) {
    state = state * 1664525u + 1013904223u;
    return static_cast<std::size_t>(state >> 8) % below;
  };
  const char* const harmful[] = {"-1", "100000", "-2147483648", "7", "o54", "v40", "n", "C9"};
  for (int k = 0; k < 300; ++k) {
    std::vector<std::string> damaged = lines;
    std::string& line = damaged[random(lines.size())];
    const std::string put = harmful[random(std::size(harmful))];
    const auto blank = line.find(' ', 1);
    if (blank == std::string::npos || random(3) == 0)
      line = put;
    else if (random(2) == 0)
      line = line.substr(0, line.rfind(' ') + 1) + put;
    else
      line = ' ' + put + line.substr(blank);
    std::string text;
    for (const std::string& l : damaged) text += l + '\n';
    const Ended r = run(text, "model timelimit=2");
    if (r.status != 0) {
      EXPECT_EQ(r.status, 1) << text;
    }
    EXPECT_FALSE(r.output.empty()) << text;
  }
}

}  // namespace
