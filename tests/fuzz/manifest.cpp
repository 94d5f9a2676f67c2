// Any text as a manifest: taken with a line for each component, or refused.
#include "supervisor/processes.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/stand_ins.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  loggedLines = 0;
  std::vector<Process> processes;
  const int result = Processes::ParseResponse(TextOf(data, size).c_str(), processes);
  if (result != 0) {
    CHECK(result == 1);
    return 0;
  }
  std::size_t components = 0;
  for (const Process& process : processes) components += process.components.size();
  CHECK(loggedLines == components);
  return 0;
}
