#include "platform/log.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

namespace {

iovec Piece(std::string_view text) {
  // The call only reads, but its record serves readers as well.
  return {const_cast<char*>(text.data()), text.size()};
}

}  // namespace

void Log(std::string_view text) {
  (void)std::fflush(stdout);
  std::string_view end = "\n";
  while (!text.empty() || !end.empty()) {
    const std::array<iovec, 2> pieces = {Piece(text), Piece(end)};
    const ssize_t count = writev(STDOUT_FILENO, pieces.data(), pieces.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return;  // there is nowhere left to report it
    const std::size_t ofText = std::min(static_cast<std::size_t>(count), text.size());
    text.remove_prefix(ofText);
    end.remove_prefix(static_cast<std::size_t>(count) - ofText);
  }
}
