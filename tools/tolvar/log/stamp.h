// Takes the stamp off a line: that of `ts` in its usual formats, of syslog or of the journal.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/tolvar/log/moment.h"

namespace devicelog {

// One for each log: it remembers the last stamp, since a time of day is counted on over midnights
// and a date without a year needs the one before it.
class StampReader {
 public:
  // `nowMicros`: the newest a date without a year may be, within a day, since 1970.
  explicit StampReader(std::int64_t nowMicros) : nowMicros_(nowMicros) {}

  // What is left of `line` behind the stamp's time, and the time. A line without a stamp is left
  // as it is, its moment not known. The moment's line number is not set.
  std::string_view TakeOff(std::string_view line, Moment& moment);

  // What is left of it behind "host tag[pid]: " or the like, as syslog and the journal put it;
  // empty when it is not there.
  [[nodiscard]] static std::string_view BehindTag(std::string_view text);

 private:
  void CountOn(Moment& moment);

  std::int64_t nowMicros_;
  Moment last_;
  std::string lastText_;  // the stamp, to be read only where it differs
};

// The moment that `text` gives alone, in one of the same forms; not known when it is none of them.
[[nodiscard]] Moment ReadMoment(std::string_view text, std::int64_t nowMicros);

}  // namespace devicelog
