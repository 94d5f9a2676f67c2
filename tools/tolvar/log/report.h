// Reads the report to the metrics service, which the log has as a line of JSON.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace devicelog {

struct ReportedProcess {
  std::string name, version, state;
  std::uint32_t launchFailures = 0;
  std::uint32_t heartbeatMissing = 0;
};

// A scanner for this one document: reports are most of a long log's bytes, and a tree of each would
// take most of the time.
class ReportReader {
 public:
  // `text`: what follows `{"processes":[`.
  explicit ReportReader(std::string_view text) : rest_(text) {}

  // The next process; false at the end and at the first thing that is no report.
  [[nodiscard]] bool Next(ReportedProcess& process);

  // Whether the report was read to its very end.
  [[nodiscard]] bool IsComplete() const { return rest_ == "]}"; }

 private:
  [[nodiscard]] bool Take(char c);
  [[nodiscard]] bool TakeText(std::string_view& raw, bool& hasEscapes);
  [[nodiscard]] bool TakeMember(ReportedProcess& process);

  std::string_view rest_;
  bool isFirst_ = true;
};

}  // namespace devicelog
