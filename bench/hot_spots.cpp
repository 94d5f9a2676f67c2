// What a pass, its heartbeats, a manifest and an integrity check cost. Run it on the bench device:
// it writes to the device's paths.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>

#include "component/integrity.h"
#include "supervisor/processes.h"
#include "tests/fakes/fakes.h"

namespace {

std::string NameOf(int index) { return "process-" + std::to_string(index); }

// `count` running processes that are not to be judged, reported or fetched within the run.
void Fill(Processes& supervisor, std::int64_t count) {
  for (int i = 0; i < count; ++i) {
    Process process;
    process.name = NameOf(i);
    process.state = Process::State::Running;
    process.maxstartuptime = 4294967295;
    supervisor.processes.push_back(process);
  }
  supervisor.lastReportTime = fakeClock.nowMicros / 1'000'000;
  Processes::metricsReportIntervalSec_ = 4294967295;
}

void QueueHeartbeats(Processes& supervisor, std::int64_t count, std::int64_t processes) {
  for (std::int64_t i = 0; i < count; ++i) {
    Heartbeat heartbeat = {i, 0, {}};
    (void)NameOf(static_cast<int>(i % processes)).copy(heartbeat.name, sizeof heartbeat.name);
    supervisor.heartbeatQueue.push(heartbeat);
  }
}

// A pass of the loop without its sleep, nothing being due.
void IdlePass(benchmark::State& state) {
  Processes supervisor;
  Fill(supervisor, state.range(0));
  for (auto _ : state) {
    supervisor.ProcessHeartbeat();
    for (Process& process : supervisor.processes) process.StepState();
    benchmark::DoNotOptimize(supervisor.ReportMetrics());
  }
}
BENCHMARK(IdlePass)->Arg(10)->Arg(100)->Arg(1000);

void HeartbeatDrain(benchmark::State& state) {
  Processes supervisor;
  Fill(supervisor, state.range(1));
  for (auto _ : state) {
    state.PauseTiming();
    QueueHeartbeats(supervisor, state.range(0), state.range(1));
    state.ResumeTiming();
    supervisor.ProcessHeartbeat();
  }
}
BENCHMARK(HeartbeatDrain)
    ->Args({100, 100})
    ->Args({1000, 10})
    ->Args({1000, 100})
    ->Args({1000, 1000});

std::string ManifestOf(std::int64_t processes, int components) {
  std::string files;
  for (int i = 0; i < components; ++i) {
    files += std::string(i == 0 ? "" : ",") + R"({"filename":"file-)" + std::to_string(i) +
             R"(","localpath":"/opt/app/file","version":"1.0.0",)"
             R"("checksum":"d41d8cd98f00b204e9800998ecf8427e"})";
  }
  std::string list;
  for (int i = 0; i < processes; ++i) {
    list += std::string(i == 0 ? "" : ",") + R"({"processname":")" + NameOf(i) +
            R"(","version":"1.0.0","entrypoint":"/opt/app/file &","components":[)" + files + "]}";
  }
  return R"({"data":{"processes":[)" + list + "]}}";
}

void ManifestParse(benchmark::State& state) {
  const std::string text = ManifestOf(state.range(0), 10);
  std::vector<Process> parsed;
  for (auto _ : state) benchmark::DoNotOptimize(Processes::ParseResponse(text.c_str(), parsed));
}
BENCHMARK(ManifestParse)->Arg(1)->Arg(100)->Unit(benchmark::kMicrosecond);

void IntegrityCheck(benchmark::State& state) {
  const std::string path = "/tmp/component";
  std::ofstream(path) << std::string(static_cast<std::size_t>(state.range(0)), 'x');
  for (auto _ : state) benchmark::DoNotOptimize(CheckIntegrity(path, ""));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(IntegrityCheck)->Arg(1 << 20)->Arg(128 << 20)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int count, char** values) {
  // The log's lines are part of the cost, but not of the table.
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  benchmark::Initialize(&count, values);
  benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  (void)benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
