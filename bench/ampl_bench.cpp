// What an evaluation and a gradient cost through the .nl driver, against the C function of the same
// problem. Medians over rounds; every point differs from the one before, so that nothing is reused.

#include <problems.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "../interfaces/ampl/nl_model.h"
#include "../interfaces/ampl/tests/expression.h"

namespace {

template <class Work>
double nanoseconds(Work work) {
  constexpr int rounds = 51, calls = 2000;
  std::vector<double> times;
  for (int r = 0; r < rounds; ++r) {
    const auto before = std::chrono::steady_clock::now();
    for (int k = 0; k < calls; ++k) work(k);
    const std::chrono::duration<double, std::nano> d = std::chrono::steady_clock::now() - before;
    times.push_back(d.count() / calls);
  }
  std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
  return times[rounds / 2];
}

bool measure(const char* name, const std::string& stub) {
  const Problem* p = problemByName(name);
  const auto expressions = nl::collected(name);
  if (p == nullptr || !expressions) return false;
  std::ofstream(stub + ".nl") << expressions->text();
  NlOptions options = {0, 200, 0, 1, 0, std::numeric_limits<double>::quiet_NaN(), 0, 1e-6};
  NlModel* model = nl_create(&options);
  std::string program = "bench", file = stub;
  char* arguments[] = {program.data(), file.data(), nullptr};
  if (nl_arguments(model, arguments, "bench") != NL_DONE || nl_sizes(model) != NL_DONE ||
      nl_read(model) != NL_DONE)
    return false;
  const auto n = static_cast<std::size_t>(p->n), m = static_cast<std::size_t>(p->nEq + p->nIneq);
  std::vector<double> x(p->start, p->start + p->n), f(m + 1), G((m + 1) * n);
  const auto point = [&](int k) { x[0] = p->start[0] * (1 + 1e-9 * k); };
  const double plain = nanoseconds([&](int k) {
    point(k);
    p->evaluate(nullptr, x.data(), f.data(), f.data() + 1, f.data() + 1 + p->nEq);
  });
  const double values = nanoseconds([&](int k) {
    point(k);
    nl_values(model, x.data(), &f[0], f.data() + 1);
  });
  const double both = nanoseconds([&](int k) {
    point(k);
    nl_values(model, x.data(), &f[0], f.data() + 1);
    nl_gradients(model, x.data(), G.data());
  });
  std::printf("%-16s %3zu %9zu %8.0f %8.0f %10.0f\n", name, n, m + 1, plain, values, both - values);
  nl_destroy(model);
  return true;
}

}  // namespace

int main() {
  std::string folder = (std::filesystem::temp_directory_path() / "tarnix_bench_XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) return 1;
  std::printf("%-16s %3s %9s %8s %8s %10s\n", "ns a call", "n", "functions", "in C", "values",
              "gradients");
  bool sound = true;
  for (const char* name :
       {"cantilever", "welded_beam", "HS106", "speed_reducer", "rosen_suzuki_52"})
    sound = measure(name, folder + "/model") && sound;
  std::filesystem::remove_all(folder);
  return sound ? 0 : 1;
}
