#include "tools/tolvar/log/progress.h"

#include <unistd.h>

#include <cstdio>
#include <limits>
#include <string>

namespace devicelog {
namespace {

constexpr std::uint64_t stepBytes = 16U << 20U;  // shorter reads are over before they are seen
constexpr std::size_t barWidth = 40;

}  // namespace

Progress::Progress(std::uint64_t total)
    : total_(total),
      next_(total > stepBytes && isatty(STDERR_FILENO) == 1
                ? stepBytes
                : std::numeric_limits<std::uint64_t>::max()) {}

Progress::~Progress() {
  if (isDrawn_) std::fputs("\r\033[K", stderr);
}

void Progress::Draw(std::uint64_t done) {
  next_ = done + stepBytes;
  isDrawn_ = true;
  const std::uint64_t share = done >= total_ ? 100 : done * 100 / total_;
  const std::size_t filled = barWidth * static_cast<std::size_t>(share) / 100;
  const std::string bar = std::string(filled, '#') + std::string(barWidth - filled, '.');
  (void)std::fprintf(stderr, "\r[%s] %3u %%", bar.c_str(), static_cast<unsigned>(share));
}

}  // namespace devicelog
