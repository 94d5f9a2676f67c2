// A log to read: a file, which may be followed through rotation, or standard input.
#pragma once

#include <sys/stat.h>

#include <string>

#include "tools/tolvar/log/line_reader.h"

namespace devicelog {

class Source {
 public:
  // "-": standard input.
  explicit Source(std::string path);
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source();

  // False, with `error`, when it cannot be read.
  [[nodiscard]] bool Open(std::string& error);

  [[nodiscard]] LineReader& Lines() { return lines_; }
  [[nodiscard]] bool IsFile() const;  // whose size is known
  [[nodiscard]] std::uint64_t Size() const;

  // Whether reading can go on elsewhere after all was read: from the beginning of a file that was
  // cut, or in the new file of that name. A file that is away for now may come back.
  [[nodiscard]] bool GoOn();

 private:
  std::string path_;
  int descriptor_ = -1;
  LineReader lines_;
};

}  // namespace devicelog
