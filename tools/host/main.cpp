// A small host: loads the plug-in, gives it a thread, and takes it down on SIGTERM or SIGINT.
#include <dlfcn.h>
#include <semaphore.h>

#include <csignal>
#include <cstdio>
#include <optional>
#include <thread>

#include "entry/tolvar.h"

namespace {

struct PlugIn {
  decltype(&create_tolvar) create;
  decltype(&launch_tolvar) launch;
  decltype(&destroy_tolvar) destroy;
};

sem_t wakeUp;
volatile std::sig_atomic_t stopSignal = 0;

extern "C" void OnStopSignal(int signal) {
  stopSignal = signal;
  (void)sem_post(&wakeUp);
}

// Handlers, not a blocked mask: supervised processes would inherit the mask.
void CatchStopSignals() {
  struct sigaction action = {};
  action.sa_handler = OnStopSignal;
  action.sa_flags = SA_RESTART;
  (void)sigaction(SIGTERM, &action, nullptr);
  (void)sigaction(SIGINT, &action, nullptr);
}

template <typename Function>
bool Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

std::optional<PlugIn> Load(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  PlugIn plugIn = {};
  if (library == nullptr || !Find(library, "create_tolvar", plugIn.create) ||
      !Find(library, "launch_tolvar", plugIn.launch) ||
      !Find(library, "destroy_tolvar", plugIn.destroy)) {
    (void)std::fprintf(stderr, "tolvar-host: %s\n", dlerror());
    return std::nullopt;
  }
  return plugIn;
}

// Runs a supervisor until a stop signal comes; 0 then, 1 when it could not be made or came back by
// itself.
int Supervise(const PlugIn& plugIn) {
  void* supervisor = plugIn.create();
  if (supervisor == nullptr) {
    (void)std::fputs("tolvar-host: the plug-in could not make a supervisor\n", stderr);
    return 1;
  }
  std::thread runner([&plugIn, supervisor] {
    plugIn.launch(supervisor);
    (void)sem_post(&wakeUp);
  });
  while (sem_wait(&wakeUp) != 0) continue;
  plugIn.destroy(supervisor);
  runner.join();
  if (stopSignal != 0) return 0;
  (void)std::fputs("tolvar-host: the plug-in came back by itself\n", stderr);
  return 1;
}

}  // namespace

int main(int count, char** values) {
  if (count != 2 || values[1][0] == '-') {
    (void)std::fputs("usage: tolvar-host PLUG-IN\nRuns the plug-in until SIGTERM or SIGINT.\n",
                     stderr);
    return 2;
  }
  (void)sem_init(&wakeUp, 0, 0);
  CatchStopSignals();
  const std::optional<PlugIn> plugIn = Load(values[1]);
  return plugIn ? Supervise(*plugIn) : 1;
}
