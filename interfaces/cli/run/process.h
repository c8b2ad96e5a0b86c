// Child processes and what they start in their turn: no tree outlives the program.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::cli {

// The signals that the program waits for instead of being interrupted by them: INT, TERM, HUP, USR1
// and USR2, but for those that it was started to ignore. Writing to what is closed is an error, no
// signal. Children get the mask back that the program was started with.
void blockSignals();

// Waits until a child has ended (true) or the time is over (false; with no time, at once or never).
// Throws Interrupted when a signal that ends the program arrives or has arrived.
using Clock = std::chrono::steady_clock;
bool waitForChild(std::optional<Clock::time_point> until);
void checkSignals();

struct Interrupted {
  int signal;
};

// How a process came to its end.
struct Ending {
  bool exited = false;
  int status = 0;  // exit status, or the number of the signal
  std::string text() const;
};

struct LaunchPlan {
  std::filesystem::path program;
  std::vector<std::string> words;
  std::filesystem::path directory;       // standard streams are files in it
  std::vector<std::string> environment;  // NAME=value, in place of the program's own
};

// Starts processes and ends them with all that they have started. A process is known to belong to a
// tree by a mark in its environment, wherever it has moved to; orphans become children of this
// program. A guard, a process of its own, ends all trees when the program is gone, even by SIGKILL.
class ProcessTrees {
 public:
  ProcessTrees();
  ~ProcessTrees();
  ProcessTrees(const ProcessTrees&) = delete;
  ProcessTrees& operator=(const ProcessTrees&) = delete;

  // Throws std::system_error when that is not possible.
  pid_t start(const LaunchPlan& plan);
  // Empty while the process runs. Its end also ends what it left behind.
  std::optional<Ending> ended(pid_t process);
  // Asks the whole tree to end.
  void terminate(pid_t process);
  // Whether nothing of the tree is left but the ended process itself.
  bool gone(pid_t process) const;
  // Ends the whole tree and waits for the process.
  void finish(pid_t process);

 private:
  using Group = std::atomic<pid_t>;  // 0: a free place
  static constexpr std::size_t mostGroups = 1024;

  static std::optional<std::vector<pid_t>> orphans();
  static void killOrphans(const std::string& mark);
  std::string markOf(pid_t process) const;

  Group* groups = nullptr;
  int pipeEnd = -1;
  pid_t guard = -1;
  std::string session;          // begins every mark
  std::map<pid_t, long> trees;  // number of the mark of every process
  long lastTree = 0;
};

}  // namespace tarnix::cli
