#include <algorithm>
#include <list>
#include <mutex>

#include "entry/tolvar.h"
#include "platform/attempt.h"
#include "platform/clock.h"
#include "supervisor/processes.h"

namespace {

// A supervisor and who uses it. The host gets the address of the supervisor itself; looking that up
// here instead of following it makes late, repeated and racing calls harmless.
struct Life {
  Processes supervisor;
  bool launched = false;  // launch_tolvar has been called
  bool running = false;   // launch_tolvar has not returned yet
  bool givenUp = false;   // destroy_tolvar has been called; who runs it ends it
};

using Lives = std::list<Life>;

// Never destroyed: a host that exits while a supervisor runs must not pull it from under its feet.
union Undying {
  Lives all;
  Undying() : all() {}
  ~Undying() {}
} lives;

std::mutex livesMutex;  // guards the list and the flags of every life

// The life of `supervisor`, or the list's end when the host owns none at that address.
Lives::iterator Find(const void* supervisor) {
  return std::find_if(lives.all.begin(), lives.all.end(),
                      [supervisor](const Life& life) { return &life.supervisor == supervisor; });
}

// Takes the life out of the list; the caller frees it when it no longer holds the lock.
Lives Unlink(Lives::iterator life) {
  Lives ended;
  ended.splice(ended.begin(), lives.all, life);
  return ended;
}

void* AddLife() {
  Lives born(1);
  const std::lock_guard<std::mutex> lock(livesMutex);
  lives.all.splice(lives.all.begin(), born);
  return &lives.all.front().supervisor;
}

// The life to run, or null when there is none or it has been launched before.
Life* BeginRun(const void* supervisor) {
  const std::lock_guard<std::mutex> lock(livesMutex);
  const auto life = Find(supervisor);
  if (life == lives.all.end() || life->launched) return nullptr;
  life->launched = true;
  life->running = true;
  return &*life;
}

Lives EndRun(const void* supervisor) {
  const std::lock_guard<std::mutex> lock(livesMutex);
  const auto life = Find(supervisor);
  life->running = false;
  return life->givenUp ? Unlink(life) : Lives();
}

Lives GiveUp(const void* supervisor) {
  const std::lock_guard<std::mutex> lock(livesMutex);
  const auto life = Find(supervisor);
  if (life == lives.all.end()) return {};
  life->supervisor.stopRequested.store(true);
  life->givenUp = true;
  return life->running ? Lives() : Unlink(life);
}

// Memory that is missing for the configuration is waited for: without it the intervals would be
// others for as long as the device runs.
void Run(Processes& supervisor) {
  while (supervisor.InitHeartbeatSocket() != 0) SleepSeconds(1);
  while (!Attempt(Processes::ReadConfig)) SleepSeconds(1);
  supervisor.LaunchAll();
}

}  // namespace

void* create_tolvar(void) noexcept {
  void* supervisor = nullptr;  // what it stays at without memory
  (void)Attempt([&supervisor] { supervisor = AddLife(); });
  return supervisor;
}

void launch_tolvar(void* supervisor) noexcept {
  Life* life = BeginRun(supervisor);
  if (life == nullptr) return;
  Run(life->supervisor);     // each step in it holds its own ground: nothing is thrown out of it
  (void)EndRun(supervisor);  // frees the object when the host has given it up
}

void destroy_tolvar(void* supervisor) noexcept {
  (void)GiveUp(supervisor);  // frees the object when nothing runs it
}
