// A log being read: lines go in, the device, the alarms and the time line come out.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tools/tolvar/log/alarm.h"
#include "tools/tolvar/log/device.h"
#include "tools/tolvar/log/log_parser.h"
#include "tools/tolvar/log/since.h"
#include "tools/tolvar/log/table.h"

namespace devicelog {

class View {
 public:
  using Sink = std::function<void(const Event&)>;

  struct Options {
    std::int64_t nowMicros = 0;  // the wall clock as it is written here
    std::optional<Since> since;
    NameFilter processes;
  };

  // `sink`, which may be empty, gets the events of the wanted processes since the wanted time.
  View(Options options, Sink sink);
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  void Take(const LineReader::Line& line) { parser_.Take(line); }
  // No line follows.
  void Finish() { device_.Finish(); }

  [[nodiscard]] const LogSummary& Summary() const { return parser_.Summary(); }
  [[nodiscard]] const ProcessStates& Processes() const { return device_.Processes(); }
  // Of the wanted processes and of the supervisor.
  [[nodiscard]] std::vector<Alarm> Alarms() const;
  // Why `since` could not be obeyed; empty where it was.
  [[nodiscard]] const std::string& Problem() const { return problem_; }

 private:
  void TakeEntry(const Entry& entry);
  void TakeEvent(const Event& event);

  Options options_;
  Sink sink_;
  AlarmBook alarms_;
  Device device_;
  LogParser parser_;
  bool isBefore_;  // the wanted time has not come yet
  std::string problem_;
};

}  // namespace devicelog
