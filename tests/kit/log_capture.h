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
#include <vector>

// What standard output has received since the construction.
class LogCapture {
 public:
  ~LogCapture() {
    (void)std::fflush(stdout);
    (void)dup2(output_, STDOUT_FILENO);
    file_.seekg(0);
    // What went wrong was written there, too.
    if (testing::Test::HasFailure()) std::cout << file_.rdbuf() << std::flush;
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

 private:
  int output_ = dup(STDOUT_FILENO);
  std::FILE* captured_ = std::freopen("/run/standard_output", "a", stdout);
  std::ifstream file_{"/run/standard_output"};
};
