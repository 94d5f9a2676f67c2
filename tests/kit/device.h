// The one fixture: a device with its identity, files, log and, on request, a cloud.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/fakes/fakes.h"
#include "tests/kit/cloud.h"

// What the code under test has written to standard output since the construction.
class LogCapture {
 public:
  LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture();
  // The lines since the last call.
  [[nodiscard]] std::vector<std::string> Lines();

 private:
  int capture_;
  int output_;
  long read_ = 0;
};

// Refuses to run outside the bench device, where the device's paths would be this machine's.
class DeviceTest : public testing::Test {
 protected:
  DeviceTest();

  // Starts the cloud, with the device trusting it.
  TestCloud& StartCloud();

  LogCapture log;
  std::unique_ptr<TestCloud> cloud;
};

void WriteText(const std::string& path, const std::string& text);
[[nodiscard]] std::string ReadText(const std::string& path);  // "" when it is not there
[[nodiscard]] bool Exists(const std::string& path);
void Remove(const std::string& path);
[[nodiscard]] std::string Md5(const std::string& bytes);
[[nodiscard]] std::vector<char> Bytes(const std::string& text);
