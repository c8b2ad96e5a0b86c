// What the program adds to the cost of an external command, and what two jobs gain:
//     cli_bench PROGRAM [evaluations]
// The bare start is the same command started with posix_spawn and waited for.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

// Runs a command with its standard output into a file; its exit status.
int run(const std::vector<std::string>& words, const std::string& output) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  pid_t process = 0;
  int status = -1;
  if (posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ) == 0)
    waitpid(process, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  return status;
}

// A chain of ten variables whose objective stands in the file; the command only costs time.
void writeProblem(const fs::path& file, const std::string& command, int limit) {
  std::ofstream out(file);
  out << "[variables]\n";
  for (int i = 1; i <= 10; ++i) out << "x" << i << " = { start = -1.2, lower = -3, upper = 3 }\n";
  out << "[command]\nrun = " << command << "\nkeep = \"none\"\n[results]\nf = { key = \"f\" }\n"
      << "[objective]\nscale = 1\nminimize = \"f";
  for (int i = 1; i < 10; ++i)
    out << " + (x" << i + 1 << " - x" << i << "^2)^2 + 0.01 * (1 - x" << i << ")^2";
  out << "\"\n[options]\nmethod = \"sqp\"\ntolerance = 1e-9\nmax_evaluations = " << limit << "\n";
}

long evaluations(const fs::path& history) {
  std::ifstream in(history);
  long count = 0;
  for (std::string line; std::getline(in, line);) count += line.find("\"x\":") != std::string::npos;
  return count;
}

struct Timing {
  double seconds;
  long runs;
};

Timing solve(const std::string& program, const fs::path& file, const char* jobs) {
  const fs::path history = fs::path(file).replace_extension(".history.jsonl");
  fs::remove(history);
  const auto started = Clock::now();
  run({program, "solve", "--quiet", "--jobs", jobs, file.string()}, file.string() + ".out");
  return {seconds(started), evaluations(history)};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: cli_bench PROGRAM [evaluations]\n");
    return 2;
  }
  const std::string program = fs::absolute(argv[1]).string();
  const int limit = argc > 2 ? std::atoi(argv[2]) : 100;
  std::string name = (fs::temp_directory_path() / "cli_bench_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) return 1;
  const fs::path directory = name, file = directory / "bench.toml";

  // In turns, and the least of all: other load on the machine hits both.
  double bare = 1e9, external = 1e9;
  for (int round = 0; round < 30; ++round) {
    const auto started = Clock::now();
    for (int i = 0; i < limit; ++i) run({"/bin/echo", "f = 1"}, directory / "echo.txt");
    bare = std::min(bare, seconds(started) / limit);
    writeProblem(file, "[\"/bin/echo\", \"f = 1\", \"{{x1}}\"]", limit);
    const Timing timing = solve(program, file, "1");
    external = std::min(external, timing.seconds / static_cast<double>(timing.runs));
  }
  std::printf("bare start of a process      %7.3f ms\n", 1e3 * bare);
  std::printf("external evaluation          %7.3f ms, %.3f ms more\n", 1e3 * external,
              1e3 * (external - bare));

  writeProblem(file, "\"sleep 0.05; echo f = 1 {{x1}}\"", 120);
  const Timing one = solve(program, file, "1"), two = solve(program, file, "2");
  std::printf("50 ms command, 10 variables  %7.2f s and %ld runs with one job\n", one.seconds,
              one.runs);
  std::printf("                             %7.2f s and %ld runs with two: %.2f times as fast\n",
              two.seconds, two.runs, one.seconds / two.seconds);
  fs::remove_all(directory);
}
