// What the product's code logs while a tool calls it. Outside of that the lines are dropped: they
// are the supervisor's, not the tool's.
#pragma once

#include <string>
#include <vector>

namespace product {

// Keeps the lines that are logged during its life. One at a time.
class CapturedLog {
 public:
  CapturedLog();
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;
  ~CapturedLog();
  [[nodiscard]] const std::vector<std::string>& Lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

}  // namespace product
