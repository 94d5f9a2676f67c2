// The fuzz targets, a function each. Beside what the sanitizers see, a model says what must hold.
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cassert>
#include <map>

#include "cloud/http_request.h"
#include "cloud/identity.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "supervisor/processes.h"
#include "tests/fakes/fakes.h"

using Text = std::string;
using Bytes = std::vector<char>;

static std::size_t lines;  // that were logged
static Text json;          // the cloud's answer

void Log(std::string_view /*text*/) { ++lines; }
int HttpRequest::GetProcesses(const Text&, Bytes& b) { return b = {json.begin(), json.end()}, 0; }
int HttpRequest::GetProcess(const Text& v, const Text&, Bytes& b) { return GetProcesses(v, b); }
int HttpRequest::GetDownloadLocation(const Text&, const Text&, const Text&, Bytes&) { return 1; }

static bool operator==(const Process& a, const Process& b) {
  const auto fields = [](const Process& p) {
    return std::tie(p.name, p.version, p.entrypoint, p.maxretries, p.retries, p.launchFailures,
                    p.heartbeatMissing, p.state, p.lastHeartbeatMs, p.launchTime, p.nextLaunchTime,
                    p.backoff, p.reportedStatus, p.preDownloaded);
  };
  const bool same = a.pending && b.pending ? *a.pending == *b.pending : a.pending == b.pending;
  return same && fields(a) == fields(b);
}

void Manifest(FuzzedDataProvider& in) {
  std::vector<Process> out;
  const int result = Processes::ParseResponse(in.ConsumeRemainingBytesAsString().c_str(), out);
  for (const Process& p : out) lines -= p.components.size();
  assert(result == 0 ? lines == 0 : result == 1);
}

void Location(FuzzedDataProvider& in) {
  const Bytes body = in.ConsumeRemainingBytes<char>();
  Component file = {"p", "f", "/f", "1", ""};
  Text url = "before";
  const int result = file.ParseResponse(body, url);
  assert(result == 0 ? lines == 1 : result == 1 && lines == 0 && url == "before");
  file.version = "2";
  assert(result == 1 || file.ParseResponse(body, url) == 1);
}

// The files stay open: making them anew for each run would take most of its time.
static void Write(const char* path, const Text& text) {
  assert(std::getenv("TOLVAR_BENCH") != nullptr);  // elsewhere it would be this machine's
  static std::map<Text, int> files;
  int& file = files[path];
  if (file == 0) file = open(path, O_RDWR | O_CREAT | O_TRUNC, 0600);
  if (ftruncate(file, pwrite(file, text.data(), text.size(), 0)) != 0) std::abort();
}

void Config(FuzzedDataProvider& in) {
  Write("/etc/config/.tolvar_config", in.ConsumeRemainingBytesAsString());
  Processes::ReadConfig();
}

void Token(FuzzedDataProvider& in) {
  const Text texts[] = {in.ConsumeRandomLengthString(), in.ConsumeRemainingBytesAsString()};
  Write("/etc/config/.user_config", texts[0]), Write("/config/.user_config", texts[1]);
  const Text all = texts[0] + "\n" + texts[1];
  const std::size_t at = all.find("r_encr=");
  Text token, expected = at == Text::npos ? token : all.substr(at + 7, 16);
  assert(GetENR(token) == (at == Text::npos) && token == expected.substr(0, expected.find('\n')));
}

// A datagram reaches the first of its name; who runs and was silent for long has failed.
static void Pass(FuzzedDataProvider& in, Processes& supervisor) {
  std::vector<Process> expected = supervisor.processes;
  for (int n = in.ConsumeIntegralInRange(0, 2); n > 0; --n) {
    Heartbeat beat = {NowMicros() / 1000 - in.ConsumeIntegral<short>(), n, "a"};
    if (in.ConsumeBool()) (void)in.ConsumeData(&beat, sizeof beat);
    supervisor.heartbeatQueue.push(beat);
    Process unknown, *to = &unknown;
    const Text name(beat.name, strnlen(beat.name, sizeof beat.name));
    for (Process& p : expected) to = to == &unknown && p.name == name ? &p : to;
    std::tie(to->lastHeartbeatMs, to->reportedStatus) = std::tie(beat.timestampMs, beat.status);
  }
  for (Process& p : expected) {
    const auto age = static_cast<std::int64_t>(NowMicros() - p.lastHeartbeatMs * __int128{1000});
    const bool started = NowSeconds() - p.launchTime > p.maxstartuptime;
    const bool fails = p.state == Process::State::Running && started && age / microsPerSec > 5;
    if (fails) p.state = Process::State::Failed, ++p.heartbeatMissing;
  }
  supervisor.ProcessHeartbeat(), lines = 0;
  assert(supervisor.processes == expected && supervisor.heartbeatQueue.empty());
  assert(supervisor.ReportMetrics() == 0 && NowSeconds() - supervisor.lastReportTime <= 3600);
  if (lines == 1)
    for (Process& p : expected) p.launchFailures = p.heartbeatMissing = 0;
  assert(supervisor.processes == expected);
}

// A listed process stays as it is, but for a version that waits; an unlisted one is killed.
static void Fetch(FuzzedDataProvider& in, Processes& supervisor) {
  json.clear();
  for (int n = in.ConsumeIntegralInRange(0, 3); n > 0; --n) {
    json += R"(,{"processname":")" + Text(1, in.PickValueInArray({'a', 'b', 'c'})) +
            R"(","version":")" + std::to_string(in.ConsumeIntegralInRange(1, 3)) +
            R"(","entrypoint":")" + std::to_string(n) + R"(","maxretries":2,"components":[]})";
  }
  json = R"({"data":{"processes":[)" + json.erase(0, 1) + "]}}";
  if (in.ConsumeBool()) json.resize(in.ConsumeIntegralInRange<std::size_t>(0, json.size()));
  std::vector<Process> listed;
  const int parsed = Processes::ParseResponse(json.c_str(), listed);
  std::map<Text, Process*> first;  // of each name
  for (Process& p : listed) first.emplace(p.name, &p);
  std::vector<Text> kills;
  for (Process p : supervisor.processes) {
    Process* namesake = first[p.name];
    if (namesake == nullptr) kills.push_back("pkill -9 " + p.name), namesake = &p;
    if (namesake->version != p.version) p.pending = std::make_shared<Process>(*namesake);
    *namesake = p;
  }
  if (parsed != 0) listed = supervisor.processes, kills.clear();
  fakeShell.commands.clear();
  assert(supervisor.GetProcesses("latest") == parsed && supervisor.processes == listed);
  assert(fakeShell.commands == kills);
}

void Supervision(FuzzedDataProvider& in) {
  Processes supervisor;
  fakeShell.onCommand = [&in](const Text&) { return in.ConsumeBool(); };
  while (in.remaining_bytes() > 0) {
    fakeClock.Advance(in.ConsumeIntegralInRange(-9, 900));
    in.ConsumeBool() ? Fetch(in, supervisor) : Pass(in, supervisor);
    for (Process& p : supervisor.processes) p.StepState();
  }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  lines = 0, fakeClock.nowMicros = 1'731'711'234'567'890;
  TOLVAR_FUZZ_TARGET(in);
  return 0;
}
