// What `tolvar log` does for what it was asked.
#pragma once

#include <string>
#include <vector>

namespace devicelog {

struct Request {
  std::string file = "-";
  std::string since;                   // empty: from the beginning
  std::vector<std::string> processes;  // empty: all
  std::string why;                     // a process; empty: not asked
  std::string page;                    // a file to write; empty: not asked
  bool events = false;
  bool json = false;
  bool follow = false;
};

// The exit status: 0 done, 1 with a message on standard error.
[[nodiscard]] int Run(const Request& request);

}  // namespace devicelog
