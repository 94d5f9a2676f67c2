// The report: the one line that says which versions run.
#include <array>
#include <utility>

#include "tools/tolvar/log/device.h"
#include "tools/tolvar/log/report.h"

namespace devicelog {
namespace {

using State = ProcessState::State;

constexpr std::array<std::pair<std::string_view, State>, 3> states = {
    {{"running", State::Running}, {"failed", State::Failed}, {"stopped", State::Stopped}}};

State ToState(std::string_view word) {
  for (const auto& [text, state] : states) {
    if (text == word) return state;
  }
  return State::Unknown;
}

}  // namespace

const char* StateWord(State state) {
  for (const auto& [text, value] : states) {
    if (value == state) return text.data();
  }
  return state == State::Dropped ? "dropped" : "?";
}

void Device::OnReport(const Entry& entry) {
  if (entry.isCut) return;
  ++reports_;
  ReportReader reader(entry.pieces[0]);
  ReportedProcess reported;
  while (reader.Next(reported)) TakeReported(entry, reported);
  if (!reader.IsComplete()) return;
  if (isFirstReport_) DropUnreported(entry);
  isFirstReport_ = false;
}

void Device::TakeReported(const Entry& entry, const ReportedProcess& reported) {
  constexpr std::size_t maxVersion = 64;
  ProcessState& process = Find(reported.name);
  process.reportedIn = reports_;
  const std::string_view version = std::string_view(reported.version).substr(0, maxVersion);
  const bool isNews = process.version.text != version;
  const State state = ToState(reported.state);
  if (isNews || process.version.known != Version::Known::FromReport || process.state != state) {
    process.hasMisleadingComponents |=
        isNews && process.version.known == Version::Known::FromComponents;
    Event& event = Begin(entry, Event::Kind::VersionReported, reported.name);
    event.isNoise = !isNews;
    event.from = process.version;
    event.to = {std::string(version), Version::Known::FromReport};
    event.subject = StateWord(state);
    process.version = event.to;
    Emit();
  }
  SetState(process, state, entry.when);
  if (process.state != State::Stopped) process.isFailing = process.state == State::Failed;
  const bool isHealthy = process.state == State::Running && !process.wasLaunchedSinceReport &&
                         reported.launchFailures == 0 && reported.heartbeatMissing == 0;
  process.wasLaunchedSinceReport = false;
  if (!isHealthy || process.launches == 0) return;
  process.launches = 0;
  Event& event = Begin(entry, Event::Kind::FoundHealthy, reported.name);
  event.isNoise = true;
  event.to = process.version;
  Emit();
}

// A supervisor that starts anew knows nothing of what ran before: what its first report lacks runs
// on without it.
void Device::DropUnreported(const Entry& entry) {
  for (auto& [name, process] : processes_) {
    if (process.reportedIn == reports_ || process.state == State::Dropped) continue;
    Event& event = Begin(entry, Event::Kind::Dropped, name);
    event.from = process.version;
    event.reason = "no longer in the list since the supervisor's start; what ran may run on";
    Emit();
    SetState(process, State::Dropped, entry.when);
  }
}

}  // namespace devicelog
