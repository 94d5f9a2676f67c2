#include "tools/tolvar/log/table.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace devicelog {
namespace {

using State = ProcessState::State;

using Cells = TableCells;
constexpr std::size_t columnCount = std::tuple_size_v<Cells>;
constexpr std::size_t lastColumn = columnCount - 1;

constexpr char guessNote[] =
    "?  as the versions of its files have it: the log says a process's version only in reports "
    "and\n"
    "   rollbacks; alone: not known\n";

std::string StateText(const ProcessState& process) {
  if (process.isFresh) return "not started anew";
  if (process.state == State::Failed && process.failuresInRow > 0 && process.backoffSec > 0) {
    return "failed, waits " + std::to_string(process.backoffSec) + " s";
  }
  return StateWord(process.state);
}

Tone StateTone(const ProcessState& process) {
  if (process.isFresh) return Tone::Notable;
  if (process.state == State::Running) return Tone::Good;
  return process.state == State::Failed ? Tone::Bad : Tone::Plain;
}

std::string PendingText(const ProcessState& process) {
  if (!process.hasPending) return "-";
  if (process.isWaiting) return ToText(process.pending) + " busy";
  return ToText(process.pending) + (process.isFetchedAhead ? " fetched" : "");
}

std::string SinceText(const Moment& since, const Moment& now) {
  if (since.line == 0) return "-";
  const bool hasLength = since.IsKnown() && since.kind == now.kind;
  return ToText(since) + (hasLength ? " (" + LengthText(now.micros - since.micros) + ")" : "");
}

std::string FailureText(const ProcessState& process) {
  if (process.lastFailure.empty()) return "-";
  return ToText(process.lastFailureAt) + " " + process.lastFailure;
}

using Widths = std::array<std::size_t, columnCount>;

void Widen(Widths& widths, const Cells& cells) {
  for (std::size_t i = 0; i < columnCount; ++i) widths[i] = std::max(widths[i], Columns(cells[i]));
}

std::string Padded(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, Columns(text)), ' ');
}

// The last column gets what the others leave.
std::string Line(const Cells& cells, const Widths& widths, std::size_t width, const Paint& paint,
                 Tone tone) {
  std::string line;
  std::size_t used = 0;
  for (std::size_t i = 0; i < lastColumn; ++i) {
    const std::string cell = Padded(cells[i], widths[i]);
    line += (i == 1 ? paint.In(tone, cell) : cell) + "  ";
    used += widths[i] + 2;
  }
  const std::size_t left = width > used + 10 ? width - used : 0;
  return line + (left == 0 ? cells[lastColumn] : Shortened(cells[lastColumn], left)) + "\n";
}

std::string Grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; text.insert(at, ",")) at -= 3;
  return text;
}

}  // namespace

const TableCells& TableHeads() {
  static const TableCells heads = {"PROCESS",  "STATE",    "VERSION", "PENDING",
                                   "LAUNCHES", "RESTARTS", "SINCE",   "LAST FAILURE"};
  return heads;
}

TableCells TableRow(const std::string& name, const ProcessState& process, const Moment& now) {
  return {Printable(name),
          StateText(process),
          Printable(ToText(process.version)),
          Printable(PendingText(process)),
          std::to_string(process.launches),
          std::to_string(process.restarts),
          SinceText(process.since, now),
          Printable(FailureText(process))};
}

bool IsGuess(const ProcessState& process) {
  return !process.version.IsSure() || (process.hasPending && !process.pending.IsSure());
}

bool IsWanted(const NameFilter& names, const std::string& process) {
  return names.empty() || std::find(names.begin(), names.end(), process) != names.end();
}

std::string SummaryText(const LogSummary& summary) {
  std::string text = Grouped(summary.lines) + (summary.lines == 1 ? " line" : " lines");
  if (summary.recognised > 0 && summary.first.IsKnown()) {
    text += ", " + ToText(summary.first) + " to " + ToText(summary.last);
  }
  text += "; " + Grouped(summary.PassedOver()) + " not of the supervisor, passed over";
  if (summary.cut > 0) text += "; " + Grouped(summary.cut) + " too long, cut";
  return text + "\n";
}

std::string AlarmText(const std::vector<Alarm>& alarms, const Paint& paint) {
  std::string text;
  for (const Alarm& alarm : alarms) {
    const std::string subject = alarm.subject.empty() ? "" : alarm.subject + ": ";
    const std::string head = alarm.isOver ? "over   " : "ALARM  ";
    text +=
        paint.In(alarm.isOver ? Tone::Plain : Tone::Bad, head) + paint.Bold(Printable(subject)) +
        Printable(InWords(alarm)) + "\n       " +
        paint.Faint("since " + ToText(alarm.since) + ", last " + ToText(alarm.last) + " (line " +
                    std::to_string(alarm.last.line) + ")  [" + NameOf(alarm.kind) + "]") +
        "\n";
    if (alarm.isOver) continue;
    text += "       do: " + std::string(alarm.advice) + " (docs/alarms/" + NameOf(alarm.kind) +
            ".md)\n";
  }
  return text;
}

std::string TableText(const ProcessStates& processes, const NameFilter& names, const Moment& now,
                      const Paint& paint, std::size_t width) {
  Widths widths = {};
  Widen(widths, TableHeads());
  std::vector<std::pair<Cells, Tone>> rows;
  bool hasGuess = false;
  for (const auto& [name, process] : processes) {
    if (!IsWanted(names, name)) continue;
    rows.emplace_back(TableRow(name, process, now), StateTone(process));
    Widen(widths, rows.back().first);
    hasGuess = hasGuess || IsGuess(process);
  }
  if (rows.empty()) return "No process is named in the log.\n";
  std::string text = paint.Bold(Line(TableHeads(), widths, width, Paint(false), Tone::Plain));
  for (const auto& [cells, tone] : rows) text += Line(cells, widths, width, paint, tone);
  return text + (hasGuess ? guessNote : "");
}

std::string EventText(const Event& event, const Paint& paint) {
  constexpr std::size_t nameWidth = 12;
  const std::string process = event.process.empty() ? "-" : Printable(event.process);
  return paint.Faint(Padded(ToText(event.when), 15)) + "  " + Padded(process, nameWidth) + "  " +
         paint.In(TraitsOf(event.kind).tone, Printable(InWords(event))) + "\n";
}

}  // namespace devicelog
