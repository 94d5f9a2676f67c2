// From lines to the device: takes stamps off, recognises the product's lines, passes the others
// over.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "tools/tolvar/log/device.h"
#include "tools/tolvar/log/line_reader.h"
#include "tools/tolvar/log/stamp.h"

namespace devicelog {

struct LogSummary {
  std::uint64_t lines = 0;
  std::uint64_t recognised = 0;
  std::uint64_t cut = 0;  // lines whose end was dropped
  Moment first, last;     // of the recognised lines

  [[nodiscard]] std::uint64_t PassedOver() const { return lines - recognised; }
};

class LogParser {
 public:
  using Sink = std::function<void(const Entry&)>;

  // `nowMicros`: see StampReader.
  LogParser(std::int64_t nowMicros, Sink sink) : stamps_(nowMicros), sink_(std::move(sink)) {}

  void Take(const LineReader::Line& line);

  [[nodiscard]] const LogSummary& Summary() const { return summary_; }

 private:
  [[nodiscard]] bool Read(std::string_view text, Entry& entry);

  StampReader stamps_;
  Sink sink_;
  LogSummary summary_;
  bool hasTags_ = false;  // the last recognised line had one before its text
};

}  // namespace devicelog
