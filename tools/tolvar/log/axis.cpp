#include "tools/tolvar/log/axis.h"

#include <algorithm>

namespace devicelog {
namespace {

constexpr double backSec = 60;
constexpr double aheadSec = 14 * 86'400;
constexpr std::size_t maxSegments = 200;  // two logs mixed: the rest is placed by order alone

double Clock(const Moment& moment) {
  if (!moment.IsKnown()) return static_cast<double>(moment.line);
  return static_cast<double>(moment.micros) / secondMicros + moment.zoneMinutes * 60.0;
}

}  // namespace

double Axis::Place(const Moment& moment) {
  const double clock = Clock(moment);
  if (segments_.empty()) segments_.push_back({0, clock});
  const double step = last_.line == 0 ? 0 : clock - Clock(last_);
  const bool isOther = last_.line != 0 && moment.kind != last_.kind;
  const bool isSet = !isOther && moment.IsKnown() && (step < -backSec || step > aheadSec);
  if (isOther) return x_;
  if (isSet) {
    if (segments_.size() < maxSegments) segments_.push_back({x_, clock});
  } else {
    x_ += std::max(step, 0.0);
  }
  if (isSet || step > 0 || last_.line == 0) last_ = moment;
  return x_;
}

const char* Axis::Name() const {
  switch (last_.kind) {
    case Moment::Kind::None:
      return "line";
    case Moment::Kind::TimeOfDay:
      return "time";
    case Moment::Kind::Elapsed:
      return "elapsed";
    default:
      return "date";
  }
}

}  // namespace devicelog
