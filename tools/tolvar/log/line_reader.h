// Reads a log line by line in big blocks, with memory that neither the log nor its lines enlarge.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace devicelog {

class LineReader {
 public:
  static constexpr std::size_t longestLine = 256U << 10U;  // what is beyond is dropped

  // Reads from `descriptor`, which stays the caller's.
  explicit LineReader(int descriptor);

  struct Line {
    std::string_view text;  // without line end and a carriage return; valid until the next call
    bool isCut = false;     // its end was dropped
  };
  // False when the input has nothing more now, or reading failed. A last line without an end is
  // held back, since it may go on. Blocks as the descriptor does.
  [[nodiscard]] bool Next(Line& line);

  // The line that was held back, when nothing will go on; false when there is none.
  [[nodiscard]] bool Last(Line& line);

  // Goes on with another descriptor, or at another place of it: what was held back is dropped.
  void Restart(int descriptor);

  [[nodiscard]] std::uint64_t BytesRead() const { return bytesRead_; }
  // The `errno` that reading failed with, else 0.
  [[nodiscard]] int Error() const { return error_; }

 private:
  [[nodiscard]] bool Fill();
  void TakeUpTo(const char* newline, Line& line);
  void DropTail();

  static constexpr std::size_t capacity = 2 * longestLine;

  int descriptor_;
  std::unique_ptr<char[]> buffer_;
  std::size_t begin_ = 0;    // of what was not handed out yet
  std::size_t scanned_ = 0;  // up to here there is no line end
  std::size_t end_ = 0;
  bool dropping_ = false;  // what comes up to the next line end is the end of a line too long
  std::uint64_t bytesRead_ = 0;
  int error_ = 0;
};

}  // namespace devicelog
