#include "process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>

namespace tarnix::cli {

namespace {

sigset_t waitedSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGCHLD, SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, number);
  return set;
}

sigset_t maskAtStart;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Everything in here happens between fork and exec, on the parent's memory.
[[noreturn]] void becomeProgram(const char* program, char* const* words, const char* directory,
                                pid_t parent, int guardPipe, volatile int& error) {
  const pid_t self = getpid();
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // The group is known to the guard before the program runs; a write below PIPE_BUF is whole.
  const bool alive = getppid() == parent && write(guardPipe, &self, sizeof self) == sizeof self;
  const auto open3 = [](const char* name, int flags, int target) {
    const int file = open(name, flags | O_CLOEXEC, 0666);
    return file >= 0 && dup2(file, target) >= 0;
  };
  if (alive && chdir(directory) == 0 && open3("/dev/null", O_RDONLY, 0) &&
      open3("stdout.txt", O_WRONLY | O_CREAT | O_TRUNC, 1) &&
      open3("stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 2)) {
    sigprocmask(SIG_SETMASK, &maskAtStart, nullptr);
    execv(program, words);
  }
  error = errno;
  _exit(127);
}

[[noreturn]] void guardGroups(int pipeEnd) {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, nullptr);
  setsid();  // what ends the program's own group spares the guard
  std::vector<pid_t> groups;
  pid_t message;
  for (;;) {
    const ssize_t got = read(pipeEnd, &message, sizeof message);
    if (got < 0 && errno == EINTR) continue;
    if (got != sizeof message) break;
    if (message > 0) groups.push_back(message);
    else groups.erase(std::remove(groups.begin(), groups.end(), -message), groups.end());
  }
  for (const pid_t group : groups) ::kill(-group, SIGKILL);
  _exit(0);
}

}  // namespace

void blockSignals() {
  const sigset_t set = waitedSignals();
  sigprocmask(SIG_BLOCK, &set, &maskAtStart);
  std::signal(SIGCHLD, SIG_DFL);  // an inherited SIG_IGN would reap the children unseen
}

bool waitForChild(std::optional<Clock::time_point> until) {
  const sigset_t set = waitedSignals();
  for (;;) {
    int number;
    if (until) {
      const auto left = std::max(*until - Clock::now(), Clock::duration::zero());
      const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
      const timespec limit{static_cast<time_t>(seconds.count()),
                           static_cast<long>(std::chrono::nanoseconds(left - seconds).count())};
      number = sigtimedwait(&set, nullptr, &limit);
    } else {
      number = sigwaitinfo(&set, nullptr);
    }
    if (number == SIGCHLD) return true;
    if (number > 0) throw Interrupted{number};
    if (errno == EAGAIN) return false;
  }
}

void checkSignals() {
  sigset_t pending;
  if (sigpending(&pending) != 0) return;
  for (const int number : {SIGINT, SIGTERM, SIGHUP})
    if (sigismember(&pending, number) == 1) throw Interrupted{number};
}

std::string Ending::text() const {
  if (exited) return "exit status " + std::to_string(status);
  return "killed by signal " + std::to_string(status) + " (" + strsignal(status) + ")";
}

GroupGuard::GroupGuard() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail("pipe");
  guard = fork();
  if (guard < 0) fail("fork");
  if (guard == 0) {
    close(ends[1]);
    guardGroups(ends[0]);
  }
  close(ends[0]);
  pipeEnd = ends[1];
}

GroupGuard::~GroupGuard() {
  close(pipeEnd);
  while (waitpid(guard, nullptr, 0) < 0 && errno == EINTR) {
  }
}

pid_t GroupGuard::start(const std::filesystem::path& program, const std::vector<std::string>& words,
                        const std::filesystem::path& directory) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  volatile int error = 0;
  const pid_t parent = getpid();
  // vfork: the copy of the page tables is the dearest part of a fork, and exec drops it.
  const pid_t child = vfork();
  if (child == 0)
    becomeProgram(program.c_str(), arguments.data(), directory.c_str(), parent, pipeEnd, error);
  if (child < 0) fail("cannot start a process");
  if (error != 0) {
    leave(child);
    errno = error;
    fail(("cannot start '" + program.string() + "' in '" + directory.string() + "'").c_str());
  }
  return child;
}

std::optional<Ending> GroupGuard::ended(pid_t process) {
  siginfo_t info{};
  if (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
    fail("waitid");
  if (info.si_pid == 0) return {};
  leave(process);
  return Ending{info.si_code == CLD_EXITED, info.si_status};
}

void GroupGuard::kill(pid_t process) {
  leave(process);
}

// The number of the group stays taken until the process is reaped: nothing else can be hit.
void GroupGuard::leave(pid_t process) {
  ::kill(-process, SIGKILL);
  ::kill(process, SIGKILL);
  const pid_t message = -process;
  while (write(pipeEnd, &message, sizeof message) < 0 && errno == EINTR) {
  }
  while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace tarnix::cli
