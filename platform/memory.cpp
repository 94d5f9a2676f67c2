#include "platform/memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#if defined(__GLIBC__) && !defined(__UCLIBC__)
#include <malloc.h>
#endif

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/descriptor.h"

namespace {

// What host, plug-in and libraries need to go on.
constexpr std::uint64_t reserveBytes = 8U << 20U;

// In bytes; all of 64 bits when the kernel does not tell.
std::uint64_t AvailableBytes() {
  constexpr char key[] = "\nMemAvailable:";
  std::array<char, 512> text = {};  // the line is among the first
  const Descriptor file(open("/proc/meminfo", O_RDONLY | O_CLOEXEC));
  if (read(file.Get(), text.data(), text.size() - 1) <= 0) return UINT64_MAX;
  const char* line = std::strstr(text.data(), key);
  if (line == nullptr) return UINT64_MAX;
  return static_cast<std::uint64_t>(std::strtoll(line + std::strlen(key), nullptr, 10)) * 1024U;
}

}  // namespace

bool MemoryHolds(std::uint64_t bytes) noexcept {
  const std::uint64_t available = AvailableBytes();
  return available >= reserveBytes && bytes <= available - reserveBytes;
}

FreedMemoryReturned::~FreedMemoryReturned() {
#if defined(__GLIBC__) && !defined(__UCLIBC__)
  (void)malloc_trim(0);  // whether there was anything to give back does not matter
#endif
}

void PagesReturned::Return() noexcept {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* first = block_.data();
  std::size_t left = block_.capacity();
  if (std::align(page, page, first, left) == nullptr) return;  // not one whole page
  (void)madvise(first, left / page * page, MADV_DONTNEED);     // locked memory stays
}
