// Any order of fetches, heartbeats, passes, clock steps and failing commands, followed by a model
// that says what becomes of each process. An input is a text of events, a letter each:
//
//   f a1 b2   fetches a manifest that lists "a" in version 1 and "b" in version 2
//   c 5 a1    the same, of which only 5/8 arrive
//   h a2 3    a heartbeat of "a" with status 2, its time stamp 3 seconds old
//   r ...     the next 144 bytes are a heartbeat
//   p         a pass: heartbeats are taken in, silent processes found, a report made when due
//   x         commands fail from here on, or run again
//   5 m -     5 seconds go by; a quarter of an hour; the clock is set back by 9 seconds
//
// Blanks, line breaks and anything else are skipped.
#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "health/heartbeat.h"
#include "platform/clock.h"
#include "supervisor/processes.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/stand_ins.h"

static bool operator==(const Process& a, const Process& b) {
  const auto fields = [](const Process& p) {
    return std::tie(p.name, p.version, p.entrypoint, p.maxstartuptime, p.maxretries, p.retries,
                    p.launchFailures, p.heartbeatMissing, p.state, p.lastHeartbeatMs, p.launchTime,
                    p.nextLaunchTime, p.backoff, p.reportedStatus, p.preDownloaded);
  };
  const bool bothWait = a.pending && b.pending;
  const bool same = bothWait ? *a.pending == *b.pending : a.pending == b.pending;
  return same && fields(a) == fields(b);
}

namespace {

using Set = std::vector<Process>;

// What is left of the input.
class Events {
 public:
  explicit Events(std::string text) : text_(std::move(text)) {}
  [[nodiscard]] bool Ended() const { return at_ >= text_.size(); }
  // The next character that is not blank; NUL at the end.
  char Next() {
    at_ = std::min(text_.find_first_not_of(" \n", at_), text_.size());
    return Ended() ? '\0' : text_[at_++];
  }
  // The next character when it is one of `wanted`, else NUL and it stays the next one.
  char Next(const char* wanted) {
    const char next = Next();
    if (next != '\0' && std::strchr(wanted, next) != nullptr) return next;
    if (next != '\0') --at_;
    return '\0';
  }
  std::string Bytes(std::size_t count) {
    std::string bytes = text_.substr(std::min(at_, text_.size()), count);
    at_ += bytes.size();
    return bytes;
  }

 private:
  std::string text_;
  std::size_t at_ = 0;
};

// A supervisor, and what was done to it since its last pass.
struct Life {
  Processes supervisor;
  std::vector<Heartbeat> heard;
  bool commandsFail = false;
};

constexpr char names[] = "abc", digits[] = "0123456789";

// ---- heartbeats and passes ----------------------------------------------------------------------

void Hear(Life& life, const Heartbeat& beat) {
  life.heard.push_back(beat);
  life.supervisor.heartbeatQueue.push(beat);
}

void HearFrom(Life& life, Events& events) {
  Heartbeat beat = {};
  beat.name[0] = events.Next(names);
  beat.status = events.Next(digits) - '0';
  const std::int64_t ageSec = events.Next(digits) - '0';
  beat.timestampMs = NowMicros() / 1000 - 1000 * ageSec;
  Hear(life, beat);
}

void HearBytes(Life& life, Events& events) {
  Heartbeat beat = {};
  const std::string bytes = events.Bytes(sizeof beat);
  std::memcpy(&beat, bytes.data(), bytes.size());
  Hear(life, beat);
}

// A heartbeat reaches the first of its name.
void ExpectHeard(const Heartbeat& beat, Set& processes) {
  const std::string name(beat.name, strnlen(beat.name, sizeof beat.name));
  for (Process& process : processes) {
    if (process.name != name) continue;
    process.lastHeartbeatMs = beat.timestampMs;
    process.reportedStatus = beat.status;
    return;
  }
}

// Who runs and was silent for long has failed.
void ExpectDeadline(Process& process) {
  if (process.state != Process::State::Running) return;
  if (NowSeconds() - process.launchTime <= process.maxstartuptime) return;
  // As 64 bits hold it, whatever the sender's time stamp.
  const auto age =
      static_cast<std::int64_t>(NowMicros() - process.lastHeartbeatMs * __int128{1000});
  if (age / microsPerSec <= 5) return;
  process.state = Process::State::Failed;
  ++process.heartbeatMissing;
}

void Pass(Life& life) {
  Processes& supervisor = life.supervisor;
  Set expected = supervisor.processes;
  for (const Heartbeat& beat : life.heard) ExpectHeard(beat, expected);
  for (Process& process : expected) ExpectDeadline(process);
  life.heard.clear();
  supervisor.ProcessHeartbeat();
  CHECK(supervisor.heartbeatQueue.empty());
  CHECK(supervisor.processes == expected);

  loggedLines = 0;
  CHECK(supervisor.ReportMetrics() == 0);
  CHECK(NowSeconds() - supervisor.lastReportTime <= 3600);
  if (loggedLines == 1) {  // a report
    for (Process& process : expected) process.launchFailures = process.heartbeatMissing = 0;
  }
  CHECK(supervisor.processes == expected);
}

// ---- fetches ------------------------------------------------------------------------------------

std::string NextManifest(Events& events) {
  std::string list;
  for (char name = events.Next(names); name != '\0'; name = events.Next(names)) {
    const char version = events.Next(digits);
    const std::string place = std::to_string(list.size());  // tells records of one name apart
    list += (list.empty() ? "" : ",") + (R"({"processname":")" + std::string(1, name)) +
            R"(","version":")" + (version == '\0' ? "" : std::string(1, version)) +
            R"(","entrypoint":")" + place + R"(","maxretries":2,"components":[]})";
  }
  return R"({"data":{"processes":[)" + list + "]}}";
}

// Who is listed stays as it is, but for a version that waits. Says who is not.
std::vector<std::string> ExpectCarriedOver(const Set& running, Set& listed) {
  std::map<std::string, Process*> first;  // of each name
  for (Process& process : listed) first.emplace(process.name, &process);
  std::vector<std::string> unlisted;
  for (const Process& process : running) {
    const auto namesake = first.find(process.name);
    if (namesake == first.end()) {
      unlisted.push_back(process.name);
      continue;
    }
    Process expected = process;
    if (namesake->second->version != process.version) {
      expected.pending = std::make_shared<Process>(*namesake->second);
    }
    *namesake->second = expected;
  }
  return unlisted;
}

void Fetch(Life& life, const std::string& manifest) {
  cloudAnswer = manifest;
  Set expected;
  std::vector<std::string> kills;
  const int parsed = Processes::ParseResponse(manifest.c_str(), expected);
  if (parsed != 0) expected = life.supervisor.processes;
  if (parsed == 0) kills = ExpectCarriedOver(life.supervisor.processes, expected);
  for (std::string& kill : kills) kill.insert(0, "pkill -9 ");
  fakeShell.commands.clear();
  CHECK(life.supervisor.GetProcesses("latest") == parsed);
  CHECK(life.supervisor.processes == expected);
  CHECK(fakeShell.commands == kills);
}

void FetchCut(Life& life, Events& events) {
  const char eighths = events.Next(digits);
  std::string manifest = NextManifest(events);
  if (eighths >= '0' && eighths < '8') {
    manifest.resize(manifest.size() * static_cast<std::size_t>(eighths - '0') / 8);
  }
  Fetch(life, manifest);
}

void StepAll(Life& life) {
  for (Process& process : life.supervisor.processes) process.StepState();
}

void Happen(char event, Life& life, Events& events) {
  if (event >= '0' && event <= '9') fakeClock.Advance(event - '0');
  if (event == 'm') fakeClock.Advance(900);
  if (event == '-') fakeClock.Advance(-9);
  if (event == 'x') life.commandsFail = !life.commandsFail;
  if (event == 'h') HearFrom(life, events);
  if (event == 'r') HearBytes(life, events);
  if (event == 'f') Fetch(life, NextManifest(events));
  if (event == 'c') FetchCut(life, events);
  if (event == 'p') Pass(life);
  if (event == 'f' || event == 'c' || event == 'p') StepAll(life);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fakeClock.nowMicros = 1'731'711'234'567'890;
  Events events(TextOf(data, size));
  Life life;
  fakeShell.onCommand = [&life](const std::string&) { return !life.commandsFail; };
  while (!events.Ended()) Happen(events.Next(), life, events);
  return 0;
}
