// What a device has beside the released applications.
#pragma once

#include <string>
#include <vector>

namespace check {

// Names of programs that must not be killed, the supervisor's host among them.
[[nodiscard]] const std::vector<std::string>& SystemPrograms();

// Whether the system or the supervisor lives on the file `path`, or it is none that can be kept.
[[nodiscard]] bool IsSystemFile(const std::string& path);

// Whether `path` lies in a folder of programs, libraries or settings of the system.
[[nodiscard]] bool IsInSystemFolder(const std::string& path);

// Whether what lies at `path` takes a device's memory.
[[nodiscard]] bool IsInMemory(const std::string& path);

}  // namespace check
