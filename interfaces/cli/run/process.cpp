#include "run/process.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>

namespace tarnix::cli {

namespace {

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2};
sigset_t waited;  // by the program, SIGCHLD too
sigset_t maskAtStart;

std::set<pid_t> children;  // runs and guards, of all objects: no orphans of a run
int runsUnderWay = 0;      // of all objects

const char* const markName = "TARNIX_RUN_MARK=";

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Ids of the processes whose environment holds a mark that begins so.
std::vector<pid_t> marked(const std::string& mark) {
  std::vector<pid_t> found;
  DIR* const processes = opendir("/proc");
  if (!processes) return found;
  const std::string wanted = '\0' + (markName + mark);
  std::string environment;
  while (const dirent* entry = readdir(processes)) {
    const pid_t id = static_cast<pid_t>(std::atol(entry->d_name));
    if (id <= 0 || id == getpid()) continue;
    const std::string path = "/proc/" + std::string(entry->d_name) + "/environ";
    // No regular file by its size: read as it comes.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) continue;
    environment.assign(1, '\0');
    char piece[16384];
    for (ssize_t count; (count = read(file, piece, sizeof piece)) > 0;)
      environment.append(piece, static_cast<std::size_t>(count));
    close(file);
    if (environment.find(wanted) != std::string::npos) found.push_back(id);
  }
  closedir(processes);
  return found;
}

// Until nothing is left: what is killed may have started more meanwhile.
void killMarked(const std::string& mark) {
  for (int round = 0; round < 1000; ++round) {
    const std::vector<pid_t> left = marked(mark);
    if (left.empty()) return;
    for (const pid_t id : left) kill(id, SIGKILL);
    usleep(1000);
  }
}

struct Launch {
  const char* program;
  char* const* words;
  char* const* environment;
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
    execve(launch.program, launch.words, launch.environment);
  }
  launch.error = errno;
  _exit(127);
}

// vfork: the copy of the page tables is the dearest part of a fork, and exec drops it. Not inlined,
// so that no variable of the caller lives in a register meanwhile.
[[gnu::noinline]] pid_t startProcess(Launch& launch) {
  const pid_t child = vfork();            // NOLINT(clang-analyzer-security.insecureAPI.vfork)
  if (child == 0) becomeProgram(launch);  // NOLINT(clang-analyzer-unix.Vfork)
  return child;
}

[[noreturn]] void guardTrees(int pipeEnd, const std::atomic<pid_t>* groups, std::size_t count,
                             const std::string& session) {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, nullptr);
  setsid();  // what ends the program's own group spares the guard
  char nothing;
  while (read(pipeEnd, &nothing, 1) < 0 && errno == EINTR) {
  }
  for (std::size_t i = 0; i < count; ++i)
    if (const pid_t group = groups[i]; group > 0) kill(-group, SIGKILL);
  killMarked(session);
  _exit(0);
}

// Why a file that may be executed does not start.
std::string hintFor(int error, const std::filesystem::path& program) {
  if (error == ENOEXEC) return " (a script begins with a line such as #!/bin/sh)";
  std::error_code ignored;
  if (error != ENOENT || !std::filesystem::exists(program, ignored)) return {};
  std::ifstream stream(program);
  std::string line;
  std::getline(stream, line);
  if (!line.starts_with("#!")) return {};
  const bool carriageReturn = line.back() == '\r';
  if (carriageReturn) line.pop_back();
  return carriageReturn ? " (its lines end as on Windows, and '" + line.substr(2) +
                              "\\r' is no program: dos2unix mends it)"
                        : " (its first line names a program that is not there: " + line + ")";
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (const std::string& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

// The program's own, but for what the plan says otherwise.
std::vector<std::string> environmentOf(const LaunchPlan& plan) {
  std::vector<std::string> all = plan.environment;
  for (char** entry = environ; *entry; ++entry) {
    const std::string_view own(*entry);
    const std::string_view name = own.substr(0, own.find('=') + 1);
    if (std::none_of(plan.environment.begin(), plan.environment.end(),
                     [&](const std::string& other) { return other.starts_with(name); }))
      all.emplace_back(own);
  }
  return all;
}

}  // namespace

void blockSignals() {
  sigemptyset(&waited);
  sigaddset(&waited, SIGCHLD);
  for (const int number : endingSignals) {
    struct sigaction present {};
    if (sigaction(number, nullptr, &present) != 0 || present.sa_handler != SIG_IGN)
      sigaddset(&waited, number);  // nohup has a signal ignored: it stays so
  }
  sigset_t blocked = waited;
  for (const int number : {SIGPIPE, SIGXFSZ}) sigaddset(&blocked, number);
  sigprocmask(SIG_BLOCK, &blocked, &maskAtStart);
  std::signal(SIGCHLD, SIG_DFL);  // an inherited SIG_IGN would reap the children unseen
}

bool waitForChild(std::optional<Clock::time_point> until) {
  const sigset_t& set = waited;
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
  for (const int number : endingSignals)
    if (sigismember(&waited, number) == 1 && sigismember(&pending, number) == 1)
      throw Interrupted{number};
}

std::string Ending::text() const {
  if (exited) return "ended with exit status " + std::to_string(status);
  return "was killed by signal " + std::to_string(status) + " (" + strsignal(status) + ")";
}

ProcessTrees::ProcessTrees() {
  static_assert(Group::is_always_lock_free);
  void* memory = mmap(nullptr, mostGroups * sizeof(Group), PROT_READ | PROT_WRITE,
                      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) fail("mmap");
  groups = static_cast<Group*>(memory);  // zero pages: every place is free
  session = std::to_string(getpid()) + "." +
            std::to_string(std::chrono::system_clock::now().time_since_epoch().count()) + ".";
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail("pipe");
  guard = fork();
  if (guard < 0) fail("fork");
  if (guard == 0) {
    close(ends[1]);
    guardTrees(ends[0], groups, mostGroups, session);
  }
  children.insert(guard);
  close(ends[0]);
  pipeEnd = ends[1];
}

ProcessTrees::~ProcessTrees() {
  close(pipeEnd);
  while (waitpid(guard, nullptr, 0) < 0 && errno == EINTR) {
  }
  children.erase(guard);
  munmap(groups, mostGroups * sizeof(Group));
}

pid_t ProcessTrees::start(const LaunchPlan& plan) {
  std::vector<std::string> environment = environmentOf(plan);
  environment.push_back(markName + session + std::to_string(++lastTree) + ".");
  const std::vector<char*> words = pointers(plan.words), variables = pointers(environment);
  Group* const place = std::find(groups, groups + mostGroups, 0);
  if (place == groups + mostGroups) fail("too many processes");
  Launch launch{plan.program.c_str(),
                words.data(),
                variables.data(),
                plan.directory.c_str(),
                getpid(),
                *place,
                0};
  const pid_t child = startProcess(launch);
  if (child < 0) fail("cannot start a process");
  trees[child] = lastTree;
  ++runsUnderWay;
  children.insert(child);
  if (launch.error != 0) {
    finish(child);
    errno = launch.error;
    fail("cannot start '" + plan.program.string() + "' in '" + plan.directory.string() + "'" +
         hintFor(launch.error, plan.program));
  }
  return child;
}

std::optional<Ending> ProcessTrees::ended(pid_t process) {
  siginfo_t info{};
  if (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
    fail("waitid");
  if (info.si_pid == 0) return {};
  finish(process);
  return Ending{info.si_code == CLD_EXITED, info.si_status};
}

std::string ProcessTrees::markOf(pid_t process) const {
  return session + std::to_string(trees.at(process)) + ".";
}

void ProcessTrees::terminate(pid_t process) {
  kill(-process, SIGTERM);
  for (const pid_t id : marked(markOf(process)))
    if (getpgid(id) != process) kill(id, SIGTERM);
}

bool ProcessTrees::gone(pid_t process) const {
  return marked(markOf(process)).empty();  // an ended process has no environment any more
}

// Children that are neither runs nor a guard are orphans of a run; none: not known. Ended ones are
// reaped.
std::optional<std::vector<pid_t>> ProcessTrees::orphans() {
  const int file = open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
  if (file < 0) return {};
  std::string list;
  char piece[4096];
  for (ssize_t count; (count = read(file, piece, sizeof piece)) > 0;)
    list.append(piece, static_cast<std::size_t>(count));
  close(file);
  std::istringstream numbers(list);
  std::vector<pid_t> left;
  for (pid_t child; numbers >> child;)
    if (!children.count(child) && waitpid(child, nullptr, WNOHANG) == 0) left.push_back(child);
  return left;
}

// Of the run with this mark, until nothing is left: the children of what is killed become orphans.
// One that has dropped its environment bears no mark: which run it belongs to is known when there
// is no other, and then it goes too. A queue on this machine has the mark in its jobs; they are no
// orphans, and their results may be waited for.
void ProcessTrees::killOrphans(const std::string& mark) {
  for (int round = 0; round < 1000; ++round) {
    const auto left = orphans();
    if (!left) return killMarked(mark);
    if (left->empty()) return;
    const std::vector<pid_t> own = runsUnderWay > 1 ? marked(mark) : *left;
    bool killed = false;
    for (const pid_t id : *left)
      if (std::find(own.begin(), own.end(), id) != own.end()) killed = kill(id, SIGKILL) == 0;
    if (!killed) return;
    usleep(1000);
  }
}

// The number of the group stays taken until the process is reaped: nothing else can be hit.
void ProcessTrees::finish(pid_t process) {
  kill(-process, SIGKILL);
  kill(process, SIGKILL);
  const std::string mark = markOf(process);
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) != 0 &&
         errno == EINTR) {
  }
  killOrphans(mark);
  if (Group* place = std::find(groups, groups + mostGroups, process); place != groups + mostGroups)
    *place = 0;
  while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
  runsUnderWay -= static_cast<int>(trees.erase(process));
  children.erase(process);
}

}  // namespace tarnix::cli
