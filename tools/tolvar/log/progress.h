// How far a long read has come, on standard error where that is a terminal.
#pragma once

#include <cstdint>

namespace devicelog {

class Progress {
 public:
  // `total`: bytes to read; 0: not known, then nothing is shown.
  explicit Progress(std::uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  // Takes the bar away.
  ~Progress();

  // Cheap enough for every line.
  void Show(std::uint64_t done) {
    if (done >= next_) Draw(done);
  }

 private:
  void Draw(std::uint64_t done);

  std::uint64_t total_;
  std::uint64_t next_;
  bool isDrawn_ = false;
};

}  // namespace devicelog
