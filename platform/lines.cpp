#include "platform/lines.h"

#include <unistd.h>

#include <algorithm>
#include <array>

#include "platform/files.h"

Lines::Lines(const std::string& path) {
  const Descriptor file = OpenForReading(path);
  std::array<char, 512> block = {};
  for (;;) {
    const ssize_t count =
        Uninterrupted([&] { return read(file.Get(), block.data(), block.size()); });
    if (count <= 0) return;
    (void)text_.append(block.data(), static_cast<std::size_t>(count));
  }
}

bool Lines::Next(std::string& line) {
  if (at_ >= text_.size()) return false;
  const std::size_t end = std::min(text_.find('\n', at_), text_.size());
  (void)line.assign(text_, at_, end - at_);
  at_ = end + 1;
  return true;
}
