#include "tools/tolvar/log/why.h"

#include "tools/tolvar/log/terminal.h"

namespace devicelog {
namespace {

using Kind = Event::Kind;

constexpr std::size_t keptFirst = 8;
constexpr std::size_t keptLast = 24;

// Of the supervisor as a whole, but part of every process's story.
bool IsOfAll(Kind kind) {
  return kind == Kind::SupervisorStarted || kind == Kind::FetchFailed ||
         kind == Kind::ManifestUnusable || kind == Kind::FellBack;
}

bool IsTurn(const Event& event) {
  const bool isRestart = event.kind == Kind::Launched && event.count > 0;
  return isRestart || event.kind == Kind::LaunchFailed || event.kind == Kind::RolledBack ||
         event.kind == Kind::RollbackFailed || event.kind == Kind::RollbackToSame;
}

std::string Evidence(const Event& event) {
  constexpr std::size_t shown = 300;
  if (event.text.empty()) return "";
  return "    line " + std::to_string(event.when.line) + ": " +
         Shortened(Printable(event.text), shown) + "\n";
}

std::string Times(std::uint32_t count) {
  return count == 1 ? "once" : std::to_string(count) + " times";
}

std::string Failures(std::uint32_t heartbeatsLost, std::uint32_t launchesFailed) {
  std::string text;
  if (heartbeatsLost > 0) text = "its heartbeat was lost " + Times(heartbeatsLost);
  if (launchesFailed > 0) {
    text += std::string(text.empty() ? "" : " and ") + "its launch failed " + Times(launchesFailed);
  }
  return text.empty() ? "it failed before this log, or unseen in it" : text;
}

// What begins a chain: another version, another supervisor, or health.
bool IsBeginning(const Event& event) {
  return event.kind == Kind::FoundHealthy || event.kind == Kind::SupervisorStarted ||
         (event.kind == Kind::NewVersion && !event.isNoise);
}

}  // namespace

void Why::Add(Chain& chain, const Event& event) {
  chain.events.push_back(event);
  if (chain.events.size() > keptFirst + keptLast) {
    chain.events.erase(chain.events.begin() + keptFirst);
    ++chain.leftOut;
  }
  const bool isFailure = event.kind == Kind::HeartbeatLost || event.kind == Kind::LaunchFailed;
  if (event.kind == Kind::HeartbeatLost) ++chain.heartbeatsLost;
  if (event.kind == Kind::LaunchFailed) ++chain.launchesFailed;
  if (isFailure && chain.firstFailure.line == 0) chain.firstFailure = event.when;
  if (IsTurn(event)) chain.turn = event;
}

void Why::Take(const Event& event) {
  const bool isOwn = event.process == process_;
  if (!isOwn && !IsOfAll(event.kind)) return;
  if (IsBeginning(event)) {
    if (chain_.turn.kind != Kind::Detail) previous_ = std::move(chain_);
    chain_ = Chain();
  }
  if (event.isNoise && event.kind != Kind::FoundHealthy) return;
  Add(chain_, event);
}

std::string Why::Conclusion(const Chain& chain) {
  const Event& turn = chain.turn;
  const std::string failures = Failures(chain.heartbeatsLost, chain.launchesFailed);
  const std::string version = turn.from.text.empty() ? "" : " in version " + ToText(turn.from);
  switch (turn.kind) {
    case Kind::RolledBack:
      return "rolled back to " + turn.to.text + ", since " + failures + version +
             " and its retries were used up.";
    case Kind::RollbackFailed:
    case Kind::RollbackToSame:
      return "not rolled back, though " + failures + version +
             " and its retries were used up: " + turn.reason + ".";
    case Kind::LaunchFailed:
      return "not started: " + turn.reason + ".";
    default:
      return "started again, since " + failures + ".";
  }
}

std::string Why::Text(const ProcessState& process, const std::vector<Alarm>& alarms) const {
  const bool isPast = chain_.turn.kind == Kind::Detail;
  const Chain& chain = isPast ? previous_ : chain_;
  if (chain.turn.kind == Kind::Detail) {
    return Printable(process_) + ": no restart and no rollback in this log.\n";
  }
  std::string text = Printable(process_) + ", " + ToText(chain.turn.when) + ": " +
                     Printable(Conclusion(chain)) + "\n\n";
  std::size_t shown = 0;
  for (const Event& event : chain.events) {
    if (shown++ == keptFirst && chain.leftOut > 0) {
      text += "... " + std::to_string(chain.leftOut) + " more left out ...\n";
    }
    text += ToText(event.when) + "  " + Printable(AsTale(event)) + "\n" + Evidence(event);
  }
  text += "\nNow: " + std::string(StateWord(process.state)) + ", version " +
          Printable(ToText(process.version)) + ".\n";
  for (const Alarm& alarm : alarms) {
    if (alarm.subject == process_ && !alarm.isOver)
      text += "Do: " + std::string(alarm.advice) + "\n";
  }
  return text;
}

}  // namespace devicelog
