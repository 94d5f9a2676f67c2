// The table of processes and the alarms, as text.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/tolvar/log/alarm.h"
#include "tools/tolvar/log/log_parser.h"
#include "tools/tolvar/log/process_state.h"
#include "tools/tolvar/log/terminal.h"

namespace devicelog {

// Which processes are shown; all of them where none is named.
using NameFilter = std::vector<std::string>;
[[nodiscard]] bool IsWanted(const NameFilter& names, const std::string& process);

// "2,345 lines from ... to ...; 45 of other programs passed over."
[[nodiscard]] std::string SummaryText(const LogSummary& summary);

// A line or two for each alarm; empty without one.
[[nodiscard]] std::string AlarmText(const std::vector<Alarm>& alarms, const Paint& paint);

// The table's columns: the name, the state, the version, the one that waits, launches since it was
// found healthy, restarts, since when, the last failure.
using TableCells = std::array<std::string, 8>;
[[nodiscard]] const TableCells& TableHeads();
[[nodiscard]] TableCells TableRow(const std::string& name, const ProcessState& process,
                                  const Moment& now);

// Whether a version in the process's row is not known for sure.
[[nodiscard]] bool IsGuess(const ProcessState& process);

// `width`: columns that may be used; 0: any number.
[[nodiscard]] std::string TableText(const ProcessStates& processes, const NameFilter& names,
                                    const Moment& now, const Paint& paint, std::size_t width);

// One line of the time line: when, which process, what.
[[nodiscard]] std::string EventText(const Event& event, const Paint& paint);

}  // namespace devicelog
