// tarnix-ampl: solves what AMPL, Pyomo, JuMP or CasADi wrote to a .nl file.

#include <signal.h>
#include <tarnix/tarnix.h>
#include <unistd.h>

#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "driver.h"
#include "nl_model.h"

namespace {

tarnix::Stop interrupted;

void interrupt(int) {
  interrupted.request();
}

// The solver library follows indices of the file without looking at them.
extern "C" void fault(int) {
  static const char words[] =
      "tarnix-ampl: the .nl file is damaged: its expressions cannot be read or evaluated\n";
  (void)!write(STDERR_FILENO, words, sizeof words - 1);
  _exit(1);
}

// On a stack of its own, since expressions nested too deeply use up the other.
void nameFaults() {
  static char stack[65536];
  const stack_t own = {stack, 0, sizeof stack};
  sigaltstack(&own, nullptr);
  struct sigaction action = {};
  action.sa_handler = fault;
  action.sa_flags = SA_ONSTACK;
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
    sigaction(signal, &action, nullptr);
}

const std::string banner = "tarnix " VRK_VERSION_STRING;

int finish(NlModel& model, const tarnix::ampl::Answer& answer) {
  const auto data = [](const std::vector<double>& v) {
    return v.empty() ? nullptr : const_cast<double*>(v.data());
  };
  const std::string message = banner + ": " + answer.message;
  const int end = nl_write(&model, answer.code, message.c_str(), data(answer.x),
                           data(answer.multipliers), data(answer.boundMultipliers));
  if (end == NL_EXIT) return nl_exit_status(&model);
  if (end == NL_FAULT) return 1;
  // AMPL reads the code; a shell gets a status.
  return nl_called_by_ampl(&model) || answer.code < 500 ? 0 : 1;
}

int run(NlModel& model, NlOptions& options, char** argv) {
  int end = nl_arguments(&model, argv, banner.c_str());
  if (end == NL_DONE) end = nl_sizes(&model);
  if (end == NL_DONE) {
    int code = 0;
    const char* refused = nl_refusal(&model, &code);
    if (refused != nullptr) return finish(model, {code, refused, {}, {}, {}});
    end = nl_read(&model);
  }
  if (end != NL_DONE) return end == NL_EXIT ? nl_exit_status(&model) : 1;
  signal(SIGINT, interrupt);
  signal(SIGTERM, interrupt);
  return finish(model, tarnix::ampl::solve(model, options, interrupted));
}

}  // namespace

int main(int, char** argv) {
  nameFaults();
  NlOptions options = {0, 200, 0, 1, 0, std::numeric_limits<double>::quiet_NaN(), 0, 1e-6};
  const std::unique_ptr<NlModel, void (*)(NlModel*)> model(nl_create(&options), nl_destroy);
  if (!model) {
    std::fputs("tarnix-ampl: out of memory\n", stderr);
    return 1;
  }
  return run(*model, options, argv);
}
