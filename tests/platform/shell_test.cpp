#include "platform/shell.h"

#include <csignal>

#include "tests/kit/device.h"

namespace {

using ShellTest = DeviceTest;

TEST_F(ShellTest, OnlyAShellThatCouldNotBeRunIsAFailure) {
  const struct {
    const char* what;
    const char* commandLine;
  } rows[] = {
      {"success", "true"},
      {"failure", "exit 1"},
      {"the highest status", "exit 255"},
      {"no such command", "/no/such/command 2>/dev/null"},
      {"killed", "kill -KILL $$"},
  };
  for (const auto& row : rows) EXPECT_TRUE(RunShell(row.commandLine)) << row.what;
  (void)std::signal(SIGCHLD, SIG_IGN);  // there is no status to wait for then
  const bool ran = RunShell("true");
  (void)std::signal(SIGCHLD, SIG_DFL);
  EXPECT_FALSE(ran);
}

TEST_F(ShellTest, ACommandLineIsTheShellsAndIsWaitedFor) {
  EXPECT_TRUE(RunShell("sleep 0.1; for word in a b; do printf %s. $word; done >/tmp/written"));
  EXPECT_EQ(ReadText("/tmp/written"), "a.b.");
}

}  // namespace
