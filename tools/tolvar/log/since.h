// From when on a log is shown.
#pragma once

#include <optional>
#include <string>

#include "tools/tolvar/log/moment.h"

namespace devicelog {

class Since {
 public:
  // `text`: a length of time before `nowMicros`, "90s", "30min", "2h", "3d"; or a time as the log's
  // stamps have it, "12:30:00", "Nov 25 12:30:00", "2024-11-25 12:30:00"; seconds and clock may be
  // left out. Nothing when it is neither.
  [[nodiscard]] static std::optional<Since> Parse(const std::string& text, std::int64_t nowMicros);

  // Whether the moment lies before it. Clocks are compared as they are written, whatever zone they
  // are of.
  [[nodiscard]] bool IsAfter(const Moment& moment) const;

  // Whether the log's stamps can be compared with it: a time of day with times of day, a date or a
  // length of time with dates.
  [[nodiscard]] bool Suits(const Moment& moment) const;

 private:
  explicit Since(const Moment& from) : from_(from) {}

  Moment from_;
};

}  // namespace devicelog
