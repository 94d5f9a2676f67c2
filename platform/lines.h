// Small text files, line by line.
#pragma once

#include <string>

class Lines {
 public:
  // Reads the text file at `path` whole. One that cannot be opened, or read on, ends there. Throws
  // std::bad_alloc: missing memory must not pass for the end of the file. Blocks for the reading.
  explicit Lines(const std::string& path);

  // Puts the next line, without its line feed, into `line`; false when there is none. A last line
  // needs no line feed.
  [[nodiscard]] bool Next(std::string& line);

 private:
  std::string text_;
  std::size_t at_ = 0;  // where the next line begins
};
