// The page's axis: time as it passed, in seconds, where the log's clock may have been set.
#pragma once

#include <vector>

#include "tools/tolvar/log/moment.h"

namespace devicelog {

class Axis {
 public:
  // From `x` on, the clock goes on from `clock`, both in seconds. A clock that was set starts a new
  // one.
  struct Segment {
    double x, clock;
  };

  // Where the moment lies; moments come in the order of the log. One that is a little early, as
  // lines of several writers are, lies where the last one did.
  double Place(const Moment& moment);

  [[nodiscard]] const std::vector<Segment>& Segments() const { return segments_; }
  // "date", "time", "elapsed", or "line" where there are no stamps.
  [[nodiscard]] const char* Name() const;

 private:
  Moment last_;
  double x_ = 0;
  std::vector<Segment> segments_;
};

}  // namespace devicelog
