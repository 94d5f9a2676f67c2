#include "platform/shell_word.h"

namespace {

// The blank, what means something to a shell, and the control characters.
constexpr char special[] =
    " |&;<>()$`\\\"'*?[]#!{}"
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10"
    "\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f\x7f";

// A tilde means a home directory only where it comes first.
[[nodiscard]] bool IsPlain(const std::string& path) {
  return path.find_first_of(special) == std::string::npos && path.find('~') != 0;
}

}  // namespace

std::string ShellWord(const std::string& path) {
  if (IsPlain(path)) return path;
  std::string word = "'";
  for (const char c : path) {
    // A quote inside is closed, escaped and opened again.
    if (c == '\'') word += "'\\'";
    word += c;
  }
  word += '\'';
  return word;
}
