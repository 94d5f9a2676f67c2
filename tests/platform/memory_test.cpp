#include "platform/memory.h"

#include "tests/kit/device.h"

namespace {

using MemoryTest = DeviceTest;

TEST_F(MemoryTest, WhatIsAvailableMustHoldABodyAndEightMegabytesMore) {
  constexpr std::uint64_t mb = 1048576;
  constexpr std::uint64_t gb = 1024 * mb;
  const std::string total = "MemTotal:  65536 kB\nMemFree:  1 kB\n";
  const struct {
    const char* what;
    std::string meminfo;
    std::uint64_t bytes;
    bool holds;
  } rows[] = {
      {"as much as there is", total + "MemAvailable:   33792 kB\n", 25 * mb, true},
      {"a byte more", total + "MemAvailable:   33792 kB\n", 25 * mb + 1, false},
      {"nothing, with just the reserve", total + "MemAvailable:   8192 kB\n", 0, true},
      {"nothing, with less", total + "MemAvailable:   8191 kB\n", 0, false},
      {"6 GB of 8", total + "MemAvailable:   8388608 kB\n", 6 * gb, true},
      {"another line of that name", "OldMemAvailable: 0 kB\nMemAvailable: 16384 kB\n", mb, true},
      {"a kernel that does not tell", total, 1000 * gb, true},
      {"an empty file", "", 1000 * gb, true},
  };
  WriteText("/tmp/meminfo", "");
  ASSERT_EQ(std::system("mount --bind /tmp/meminfo /proc/meminfo"), 0);
  for (const auto& row : rows) {
    WriteText("/tmp/meminfo", row.meminfo);
    EXPECT_EQ(MemoryHolds(row.bytes), row.holds) << row.what;
  }
}

}  // namespace
