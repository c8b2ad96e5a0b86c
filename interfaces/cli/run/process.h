// Child processes: each leads a group of its own, and no group outlives the program.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::cli {

// The signals that the program waits for instead of being interrupted by them. Blocked from the
// start of main on; children get the mask back that the program was started with.
void blockSignals();

// Waits until a child has ended (true) or the time is over (false; with no time, at once or never).
// Throws Interrupted when SIGINT, SIGTERM or SIGHUP arrives or has arrived.
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

// A process of its own that ends all groups when the program is gone, even by SIGKILL: it waits for
// the end of a pipe, and finds the groups in memory that both share.
class GroupGuard {
 public:
  GroupGuard();
  ~GroupGuard();
  GroupGuard(const GroupGuard&) = delete;
  GroupGuard& operator=(const GroupGuard&) = delete;

  // Starts a program with its standard streams from and to files of its directory. Throws
  // std::system_error when that is not possible.
  pid_t start(const std::filesystem::path& program, const std::vector<std::string>& words,
              const std::filesystem::path& directory);
  // Empty while the process runs. Its end also ends what it left behind in its group.
  std::optional<Ending> ended(pid_t process);
  // Ends the whole group and waits for the process.
  void finish(pid_t process);

 private:
  using Group = std::atomic<pid_t>;  // 0: a free place
  static constexpr std::size_t mostGroups = 1024;

  Group* groups = nullptr;
  int pipeEnd = -1;
  pid_t guard = -1;
};

}  // namespace tarnix::cli
