#include "platform/shell.h"

#include <cstdlib>

#include "tests/fakes/fakes.h"

FakeShell fakeShell;

bool RunShell(const std::string& commandLine) {
  fakeShell.commands.push_back(commandLine);
  if (fakeShell.onCommand && !fakeShell.onCommand(commandLine)) return false;
  return !fakeShell.passThrough || std::system(commandLine.c_str()) != -1;
}
