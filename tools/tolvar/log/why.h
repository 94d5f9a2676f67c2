// The chain that led to a process's last restart or rollback.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "tools/tolvar/log/alarm.h"
#include "tools/tolvar/log/event.h"
#include "tools/tolvar/log/process_state.h"

namespace devicelog {

class Why {
 public:
  explicit Why(std::string process) : process_(std::move(process)) {}

  void Take(const Event& event);

  // In sentences, each with its line as evidence. `process`: its state now.
  [[nodiscard]] std::string Text(const ProcessState& process,
                                 const std::vector<Alarm>& alarms) const;

 private:
  // What happened since another version or supervisor came, or a report found the process healthy.
  struct Chain {
    std::deque<Event> events;
    std::uint64_t leftOut = 0;  // behind the first few
    Event turn;                 // the last restart, rollback or vain attempt; Detail: none
    std::uint32_t heartbeatsLost = 0, launchesFailed = 0;
    Moment firstFailure;
  };

  static void Add(Chain& chain, const Event& event);
  [[nodiscard]] static std::string Conclusion(const Chain& chain);

  std::string process_;
  Chain chain_;     // at hand
  Chain previous_;  // the last one with a turn before it
};

}  // namespace devicelog
