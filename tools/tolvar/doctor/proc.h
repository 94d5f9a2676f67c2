// What /proc tells of the device's processes. Without /proc, or for processes of which this one may
// know nothing, there is nothing to be told.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace doctor {

// The number behind `field` ("MemAvailable:") in `path`, read to `base`.
[[nodiscard]] std::optional<std::uint64_t> NumberAt(const std::string& path,
                                                    const std::string& field, int base);

// The process that holds socket `inode`; 0 when none is found.
[[nodiscard]] int HolderOfSocket(const std::string& inode);

// Whether process `pid` has a file mapped whose path holds `name`.
[[nodiscard]] bool HasMapped(int pid, const std::string& name);

// "tolvar-host (process 12)".
[[nodiscard]] std::string NameOf(int pid);

}  // namespace doctor
