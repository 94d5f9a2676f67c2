#include "tools/tolvar/log/view.h"

#include <algorithm>
#include <utility>

namespace devicelog {

View::View(Options options, Sink sink)
    : options_(std::move(options)),
      sink_(std::move(sink)),
      device_(static_cast<bool>(sink_), [this](const Event& event) { TakeEvent(event); }),
      parser_(options_.nowMicros, [this](const Entry& entry) { TakeEntry(entry); }),
      isBefore_(options_.since.has_value()) {}

// What is before the wanted time still says what state and version it finds.
void View::TakeEntry(const Entry& entry) {
  if (isBefore_ && problem_.empty() && !options_.since->Suits(entry.when)) {
    problem_ =
        entry.when.IsKnown()
            ? "the log's stamps are no times of the kind that --since gives: write it as they do"
            : "the log has no time stamps";
  }
  if (isBefore_ && problem_.empty() && !options_.since->IsAfter(entry.when)) {
    isBefore_ = false;
    device_.ForgetCounts();
    alarms_.Forget();
  }
  device_.Take(entry);
}

void View::TakeEvent(const Event& event) {
  alarms_.Take(event);
  if (isBefore_ || !sink_) return;
  if (!event.process.empty() && !IsWanted(options_.processes, event.process)) return;
  sink_(event);
}

std::vector<Alarm> View::Alarms() const {
  std::vector<Alarm> alarms = alarms_.List();
  const auto isOfOthers = [this](const Alarm& alarm) {
    return !alarm.subject.empty() && !IsWanted(options_.processes, alarm.subject);
  };
  alarms.erase(std::remove_if(alarms.begin(), alarms.end(), isOfOthers), alarms.end());
  return alarms;
}

}  // namespace devicelog
