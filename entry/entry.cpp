#include <exception>
#include <memory>
#include <mutex>

#include "entry/tolvar.h"
#include "platform/clock.h"
#include "supervisor/processes.h"

namespace {

// A supervisor and who uses it. The host gets the address of the supervisor itself; looking that up
// here instead of following it makes late, repeated and racing calls harmless.
struct Life {
  Processes supervisor;
  bool launched = false;   // launch_tolvar has been called
  bool running = false;    // launch_tolvar has not returned yet
  bool destroyed = false;  // destroy_tolvar has been called
  Life* next = nullptr;
};

std::mutex livesMutex;
Life* firstLife = nullptr;  // guarded by livesMutex, like the flags of every life

// The life of `supervisor`, or null when the host owns none at that address.
Life* FindOwned(const void* supervisor) {
  Life* life = firstLife;
  while (life != nullptr && &life->supervisor != supervisor) life = life->next;
  return life;
}

// Takes the life out of the list; the caller frees it when it no longer holds the lock.
std::unique_ptr<Life> Unlink(Life* life) {
  Life** link = &firstLife;
  while (*link != life) link = &(*link)->next;
  *link = life->next;
  return std::unique_ptr<Life>(life);
}

void* AddLife() {
  auto life = std::make_unique<Life>();
  const std::lock_guard<std::mutex> lock(livesMutex);
  life->next = firstLife;
  firstLife = life.get();
  return &life.release()->supervisor;
}

// The life to run, or null when there is none or it has been launched before.
Life* BeginRun(const void* supervisor) {
  const std::lock_guard<std::mutex> lock(livesMutex);
  Life* life = FindOwned(supervisor);
  if (life == nullptr || life->launched) return nullptr;
  life->launched = true;
  life->running = true;
  return life;
}

std::unique_ptr<Life> EndRun(Life* life) {
  const std::lock_guard<std::mutex> lock(livesMutex);
  life->running = false;
  if (!life->destroyed) return nullptr;
  return Unlink(life);
}

std::unique_ptr<Life> GiveUp(const void* supervisor) {
  const std::lock_guard<std::mutex> lock(livesMutex);
  Life* life = FindOwned(supervisor);
  if (life == nullptr) return nullptr;
  life->supervisor.stopRequested.store(true);
  life->destroyed = true;
  if (life->running) return nullptr;
  return Unlink(life);
}

// Memory that is missing for the configuration is waited for: without it the intervals would be
// others for as long as the device runs.
[[nodiscard]] bool ConfigIsRead() {
  try {
    Processes::ReadConfig();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void Run(Processes& supervisor) {
  while (supervisor.InitHeartbeatSocket() != 0) SleepSeconds(1);
  while (!ConfigIsRead()) SleepSeconds(1);
  supervisor.LaunchAll();
}

}  // namespace

void* create_tolvar(void) noexcept {
  try {
    return AddLife();
  } catch (...) {
    return nullptr;
  }
}

void launch_tolvar(void* supervisor) noexcept {
  Life* life = BeginRun(supervisor);
  if (life == nullptr) return;
  try {
    Run(life->supervisor);
  } catch (...) {
    // Every step holds its own ground; what is left is a metrics client that throws. The host sees
    // the launch return and may begin anew with another object.
  }
  (void)EndRun(life);  // frees the object when the host has given it up
}

void destroy_tolvar(void* supervisor) noexcept {
  (void)GiveUp(supervisor);  // frees the object when nothing runs it
}
