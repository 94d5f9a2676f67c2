#include "platform/log.h"

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/clock.h"
#include "platform/pipe_signal.h"

namespace {

// The last line could not be written out: the next one does not wait before it begins.
std::atomic<bool> stalled{false};
// It was dropped in its middle.
std::atomic<bool> unfinished{false};

iovec Piece(std::string_view text) {
  // The call only reads, but its record serves readers as well.
  return {const_cast<char*>(text.data()), text.size()};
}

// Waits until standard output takes more, not beyond `untilMs` of the uptime clock, however often a
// signal comes in between or another writer is quicker.
[[nodiscard]] bool TakesMore(std::int64_t untilMs) {
  const std::int64_t leftMs = untilMs - UptimeMillis();
  if (leftMs <= 0) return false;
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, static_cast<int>(leftMs)) != 0;
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

// Writes until nothing is left or a second goes by without progress.
void WriteOut(Pieces& left) {
  constexpr std::int64_t patienceMs = 1000;
  bool isHopeful = !stalled.load();
  std::int64_t untilMs = 0;  // none is waited for yet
  while (!left.back().empty()) {
    const std::array<iovec, 3> pieces = {Piece(left[0]), Piece(left[1]), Piece(left[2])};
    const ssize_t count = writev(STDOUT_FILENO, pieces.data(), pieces.size());
    if (count > 0) {
      Advance(left, static_cast<std::size_t>(count));
      isHopeful = true;
      untilMs = 0;
      continue;
    }
    if (errno == EINTR) continue;
    // For any other reason there is nowhere left to report it.
    if (errno != EAGAIN || !isHopeful) return;
    if (untilMs == 0) untilMs = UptimeMillis() + patienceMs;
    if (!TakesMore(untilMs)) return;
  }
}

}  // namespace

void Log(std::string_view text) {
  const PipeSignalHeld held;
  (void)std::fflush(stdout);
  Pieces left = {unfinished.load() ? "\n" : "", text, "\n"};
  WriteOut(left);
  stalled.store(!left.back().empty());
  const bool begun = left[1].size() < text.size();
  unfinished.store(stalled.load() && (begun || !left[0].empty()));
}
