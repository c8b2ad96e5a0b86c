#include "run/process.h"

#include <fcntl.h>
#include <sys/mman.h>
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

struct Launch {
  const char* program;
  char* const* words;
  const char* directory;
  pid_t parent;
  std::atomic<pid_t>& group;
  volatile int error;  // set by the child, on the parent's memory
};

// What happens between fork and exec.
[[noreturn]] void becomeProgram(Launch& launch) {
  setpgid(0, 0);
  launch.group = getpid();  // known to the guard before the program runs
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const bool alive = getppid() == launch.parent;
  const auto open3 = [](const char* name, int flags, int target) {
    const int file = open(name, flags | O_CLOEXEC, 0666);
    return file >= 0 && dup2(file, target) >= 0;
  };
  if (alive && chdir(launch.directory) == 0 && open3("/dev/null", O_RDONLY, 0) &&
      open3("stdout.txt", O_WRONLY | O_CREAT | O_TRUNC, 1) &&
      open3("stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 2)) {
    sigprocmask(SIG_SETMASK, &maskAtStart, nullptr);
    execv(launch.program, launch.words);
  }
  launch.error = errno;
  _exit(127);
}

// vfork: the copy of the page tables is the dearest part of a fork, and exec drops it. Not inlined,
// so that no variable of the caller lives in a register meanwhile.
[[gnu::noinline]] pid_t startProcess(Launch& launch) {
  const pid_t child = vfork();
  if (child == 0) becomeProgram(launch);
  return child;
}

[[noreturn]] void guardGroups(int pipeEnd, const std::atomic<pid_t>* groups, std::size_t count) {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, nullptr);
  setsid();  // what ends the program's own group spares the guard
  char nothing;
  while (read(pipeEnd, &nothing, 1) < 0 && errno == EINTR) {
  }
  for (std::size_t i = 0; i < count; ++i)
    if (const pid_t group = groups[i]; group > 0) kill(-group, SIGKILL);
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
  static_assert(Group::is_always_lock_free);
  void* memory = mmap(nullptr, mostGroups * sizeof(Group), PROT_READ | PROT_WRITE,
                      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) fail("mmap");
  groups = static_cast<Group*>(memory);  // zero pages: every place is free
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail("pipe");
  guard = fork();
  if (guard < 0) fail("fork");
  if (guard == 0) {
    close(ends[1]);
    guardGroups(ends[0], groups, mostGroups);
  }
  close(ends[0]);
  pipeEnd = ends[1];
}

GroupGuard::~GroupGuard() {
  close(pipeEnd);
  while (waitpid(guard, nullptr, 0) < 0 && errno == EINTR) {
  }
  munmap(groups, mostGroups * sizeof(Group));
}

pid_t GroupGuard::start(const std::filesystem::path& program, const std::vector<std::string>& words,
                        const std::filesystem::path& directory) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  Group* const place = std::find(groups, groups + mostGroups, 0);
  if (place == groups + mostGroups) fail("too many processes");
  Launch launch{program.c_str(), arguments.data(), directory.c_str(), getpid(), *place, 0};
  const pid_t child = startProcess(launch);
  if (child < 0) fail("cannot start a process");
  if (launch.error != 0) {
    finish(child);
    errno = launch.error;
    fail(("cannot start '" + program.string() + "' in '" + directory.string() + "'").c_str());
  }
  return child;
}

std::optional<Ending> GroupGuard::ended(pid_t process) {
  siginfo_t info{};
  if (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
    fail("waitid");
  if (info.si_pid == 0) return {};
  finish(process);
  return Ending{info.si_code == CLD_EXITED, info.si_status};
}

// The number of the group stays taken until the process is reaped: nothing else can be hit.
void GroupGuard::finish(pid_t process) {
  kill(-process, SIGKILL);
  kill(process, SIGKILL);
  if (Group* place = std::find(groups, groups + mostGroups, process); place != groups + mostGroups)
    *place = 0;
  while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace tarnix::cli
