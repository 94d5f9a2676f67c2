#include "tools/tolvar/log/line_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace devicelog {
namespace {

LineReader::Line Finished(const char* text, std::size_t length, bool isCut) {
  const std::size_t kept = std::min(length, LineReader::longestLine);
  std::string_view view(text, kept);
  if (!view.empty() && view.back() == '\r') view.remove_suffix(1);
  return {view, isCut || kept < length};
}

}  // namespace

LineReader::LineReader(int descriptor) : descriptor_(descriptor), buffer_(new char[capacity]) {}

bool LineReader::Next(Line& line) {
  for (;;) {
    const char* from = buffer_.get() + scanned_;
    const void* newline = std::memchr(from, '\n', end_ - scanned_);
    if (newline != nullptr) {
      TakeUpTo(static_cast<const char*>(newline), line);
      return true;
    }
    scanned_ = end_;
    DropTail();
    if (!Fill()) return false;
  }
}

void LineReader::TakeUpTo(const char* newline, Line& line) {
  const char* start = buffer_.get() + begin_;
  const auto length = static_cast<std::size_t>(newline - start);
  begin_ += length + 1;
  scanned_ = begin_;
  line = Finished(start, length, dropping_);
  dropping_ = false;
}

// A line longer than may be: its head is kept in place until its end is found.
void LineReader::DropTail() {
  if (end_ - begin_ <= longestLine) return;
  end_ = begin_ + longestLine;
  scanned_ = end_;
  dropping_ = true;
}

bool LineReader::Fill() {
  if (begin_ > 0 && capacity - end_ < longestLine / 2) {
    std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
    scanned_ -= begin_;
    end_ -= begin_;
    begin_ = 0;
  }
  ssize_t count = 0;
  do {
    count = read(descriptor_, buffer_.get() + end_, capacity - end_);
  } while (count < 0 && errno == EINTR);
  if (count < 0) error_ = errno;
  if (count <= 0) return false;
  end_ += static_cast<std::size_t>(count);
  bytesRead_ += static_cast<std::uint64_t>(count);
  return true;
}

bool LineReader::Last(Line& line) {
  if (begin_ == end_) return false;
  line = Finished(buffer_.get() + begin_, end_ - begin_, dropping_);
  begin_ = scanned_ = end_ = 0;
  dropping_ = false;
  return true;
}

void LineReader::Restart(int descriptor) {
  descriptor_ = descriptor;
  begin_ = scanned_ = end_ = 0;
  dropping_ = false;
  error_ = 0;
}

}  // namespace devicelog
