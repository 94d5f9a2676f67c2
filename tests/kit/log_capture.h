// The log of the code under test.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// What descriptor 1 has received since the construction. `stdout` itself, which the test's own
// failures are written to, goes on to where it went: the C library lets it be assigned.
class LogCapture {
 public:
  LogCapture() { stdout = report_; }
  ~LogCapture() {
    (void)std::fclose(std::exchange(stdout, captured_));
    (void)std::fflush(stdout);
    (void)dup2(output_, STDOUT_FILENO);
    file_.seekg(0);
    if (testing::Test::HasFailure()) std::cout << "The log was:\n" << file_.rdbuf() << std::flush;
  }
  // What has come since the last call.
  [[nodiscard]] std::string Text() { return {std::istreambuf_iterator<char>(file_), {}}; }
  [[nodiscard]] std::vector<std::string> Lines() {
    std::istringstream text(Text());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  void Skip() { (void)Text(); }  // what the test has no question about
  // What the host has as `stdout`.
  [[nodiscard]] std::FILE* OfHost() const { return captured_; }

 private:
  int output_ = dup(STDOUT_FILENO);
  std::FILE* report_ = fdopen(dup(STDOUT_FILENO), "w");
  std::FILE* captured_ = std::freopen("/run/standard_output", "a", stdout);
  std::ifstream file_{"/run/standard_output"};
};
