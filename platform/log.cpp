#include "platform/log.h"

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/pipe_signal.h"

namespace {

// The reader has let a line wait for a second: the next ones do not wait for it.
std::atomic<bool> stalled{false};
// The rest of a line was dropped together with its end.
std::atomic<bool> unfinished{false};

iovec Piece(std::string_view text) {
  // The call only reads, but its record serves readers as well.
  return {const_cast<char*>(text.data()), text.size()};
}

// Whether to go on after a failed write; waits for the reader where there is hope.
[[nodiscard]] bool IsPassing(int error) {
  constexpr int patienceMs = 1000;
  if (error == EINTR) return true;
  if (error != EAGAIN) return false;  // there is nowhere left to report it
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, stalled.load() ? 0 : patienceMs) != 0;
}

using Pieces = std::array<std::string_view, 3>;

// Takes what was written off the front.
void Advance(Pieces& left, std::size_t written) {
  for (std::string_view& piece : left) {
    const std::size_t ofPiece = std::min(written, piece.size());
    piece.remove_prefix(ofPiece);
    written -= ofPiece;
  }
}

// Writes until nothing is left or nothing goes on.
void WriteOut(Pieces& left) {
  while (!left.back().empty()) {
    const std::array<iovec, 3> pieces = {Piece(left[0]), Piece(left[1]), Piece(left[2])};
    const ssize_t count = writev(STDOUT_FILENO, pieces.data(), pieces.size());
    if (count < 0 && IsPassing(errno)) continue;
    if (count < 0) return;
    Advance(left, static_cast<std::size_t>(count));
  }
}

}  // namespace

void Log(std::string_view text) {
  (void)std::fflush(stdout);
  const PipeSignalHeld held;
  Pieces left = {unfinished.load() ? "\n" : "", text, "\n"};
  WriteOut(left);
  stalled.store(!left.back().empty());
  const bool begun = left[1].size() < text.size();
  unfinished.store(stalled.load() && (begun || !left[0].empty()));
}
