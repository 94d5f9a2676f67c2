#include "tools/tolvar/log/run.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>

#include "tools/tolvar/log/json_line.h"
#include "tools/tolvar/log/page.h"
#include "tools/tolvar/log/progress.h"
#include "tools/tolvar/log/source.h"
#include "tools/tolvar/log/view.h"
#include "tools/tolvar/log/why.h"

namespace devicelog {
namespace {

int Fail(const std::string& message) {
  (void)std::fprintf(stderr, "tolvar log: %s\n", message.c_str());
  return 1;
}

// The local wall clock, as a clock on the wall shows it.
std::int64_t LocalNowMicros() {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  (void)localtime_r(&now, &local);
  return (std::int64_t{now} + local.tm_gmtoff) * secondMicros;
}

void Write(const std::string& text) { (void)std::fwrite(text.data(), 1, text.size(), stdout); }

class Runner {
 public:
  Runner(const Request& request, View::Options options);

  [[nodiscard]] int Run();

 private:
  [[nodiscard]] View::Sink Sink();
  void ReadAll();
  [[nodiscard]] int Follow();
  void ShowLive();
  void ShowTable();
  [[nodiscard]] bool IsStream() const { return request_.events || request_.json; }
  [[nodiscard]] int Conclude();
  [[nodiscard]] int WritePage();

  const Request& request_;
  Source source_;
  Paint paint_;
  Why why_;
  Page page_;
  bool isLive_;  // the table is drawn anew again and again
  View view_;
};

Runner::Runner(const Request& request, View::Options options)
    : request_(request),
      source_(request.file),
      paint_(WantsColour(STDOUT_FILENO)),
      why_(request.why),
      isLive_(request.follow && !request.events && !request.json && isatty(STDOUT_FILENO) == 1),
      view_(std::move(options), Sink()) {}

View::Sink Runner::Sink() {
  if (!request_.why.empty()) {
    return [this](const Event& event) { why_.Take(event); };
  }
  if (!request_.page.empty()) {
    return [this](const Event& event) { page_.Take(event); };
  }
  if (request_.json) {
    return [](const Event& event) {
      if (!event.isNoise) Write(JsonLine(event));
    };
  }
  if (request_.events || (request_.follow && !isLive_)) {
    return [this](const Event& event) {
      if (!event.isNoise) Write(EventText(event, paint_));
    };
  }
  return {};
}

void Runner::ReadAll() {
  Progress progress(source_.IsFile() ? source_.Size() : 0);
  LineReader::Line line;
  while (source_.Lines().Next(line)) {
    view_.Take(line);
    progress.Show(source_.Lines().BytesRead());
  }
}

void Runner::ShowTable() {
  const std::size_t width = TerminalWidth(STDOUT_FILENO);
  const std::string alarms = AlarmText(view_.Alarms(), paint_);
  Write(alarms + (alarms.empty() ? "" : "\n") +
        TableText(view_.Processes(), request_.processes, view_.Summary().last, paint_, width) +
        paint_.Faint(SummaryText(view_.Summary())));
}

void Runner::ShowLive() {
  Write("\033[H\033[2J");
  ShowTable();
}

// Until it is ended by a signal, or its output's reader goes.
int Runner::Follow() {
  constexpr int pauseMs = 1000;
  std::uint64_t shown = 0;
  for (;;) {
    ReadAll();
    const std::uint64_t lines = view_.Summary().lines;
    if (isLive_ && (lines != shown || lines == 0)) ShowLive();
    shown = lines;
    if (std::fflush(stdout) != 0) return Fail(std::string("cannot write: ") + std::strerror(errno));
    if (!view_.Problem().empty()) return Fail(view_.Problem());
    if (source_.GoOn()) continue;
    if (!source_.IsFile()) return Conclude();
    (void)poll(nullptr, 0, pauseMs);  // a signal only shortens it
  }
}

int Runner::Conclude() {
  LineReader::Line line;
  if (source_.Lines().Last(line)) view_.Take(line);
  view_.Finish();
  if (source_.Lines().Error() != 0) {
    return Fail("cannot read " + request_.file + ": " + std::strerror(source_.Lines().Error()));
  }
  if (!view_.Problem().empty()) return Fail(view_.Problem());
  if (!request_.page.empty()) return WritePage();
  if (request_.json) {
    for (const Alarm& alarm : view_.Alarms()) Write(JsonLine(alarm));
  } else if (!request_.why.empty()) {
    const auto process = view_.Processes().find(request_.why);
    if (process == view_.Processes().end())
      return Fail("no process " + request_.why + " in the log");
    Write(why_.Text(process->second, view_.Alarms()));
  } else if (!IsStream() && !request_.follow) {
    ShowTable();
  }
  return std::fflush(stdout) == 0 ? 0 : Fail(std::string("cannot write: ") + std::strerror(errno));
}

int Runner::WritePage() {
  const std::string text = page_.Text(view_, request_.processes);
  std::FILE* file = std::fopen(request_.page.c_str(), "we");
  const bool isWritten =
      file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  const bool isClosed = file != nullptr && std::fclose(file) == 0;
  if (isWritten && isClosed) return 0;
  return Fail("cannot write " + request_.page + ": " + std::strerror(errno));
}

int Runner::Run() {
  std::string error;
  if (!source_.Open(error)) return Fail(error);
  if (request_.follow) return Follow();
  ReadAll();
  return Conclude();
}

}  // namespace

int Run(const Request& request) {
  if (request.file == "-" && isatty(STDIN_FILENO) == 1) {
    return Fail("give it a FILE, or a log on standard input");
  }
  View::Options options;
  options.nowMicros = LocalNowMicros();
  options.processes = request.processes;
  if (!request.since.empty()) {
    options.since = Since::Parse(request.since, options.nowMicros);
    if (!options.since) return Fail("--since " + request.since + " is no time");
  }
  Runner runner(request, std::move(options));
  return runner.Run();
}

}  // namespace devicelog
