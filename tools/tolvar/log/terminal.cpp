#include "tools/tolvar/log/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace devicelog {
namespace {

bool IsControl(unsigned char c) { return c < 0x20 || c == 0x7f; }

// The second and later bytes of a character.
bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; }

constexpr std::array<const char*, 4> toneCodes = {"0", "32", "33", "31"};

}  // namespace

std::string Printable(std::string_view text) {
  std::string safe;
  safe.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (!IsControl(byte)) {
      safe += c;
      continue;
    }
    std::array<char, 8> escape = {};
    (void)std::snprintf(escape.data(), escape.size(), "\\x%02x", byte);
    safe += escape.data();
  }
  return safe;
}

std::size_t Columns(std::string_view text) {
  std::size_t columns = 0;
  for (const char c : text) columns += IsContinuation(c) ? 0U : 1U;
  return columns;
}

std::string Shortened(const std::string& text, std::size_t columns) {
  constexpr std::size_t dots = 3;
  if (Columns(text) <= columns || columns < dots) return text;
  std::size_t at = 0;
  for (std::size_t left = columns - dots; left > 0; --left) {
    do ++at;
    while (at < text.size() && IsContinuation(text[at]));
  }
  return text.substr(0, at) + "...";
}

std::string Paint::In(Tone tone, const std::string& text) const {
  if (!isOn_ || tone == Tone::Plain) return text;
  return "\033[" + std::string(toneCodes[static_cast<std::size_t>(tone)]) + "m" + text + "\033[0m";
}

std::string Paint::Bold(const std::string& text) const {
  return isOn_ ? "\033[1m" + text + "\033[0m" : text;
}

std::string Paint::Faint(const std::string& text) const {
  return isOn_ ? "\033[2m" + text + "\033[0m" : text;
}

bool WantsColour(int descriptor) {
  const char* refusal = std::getenv("NO_COLOR");
  return isatty(descriptor) == 1 && (refusal == nullptr || *refusal == '\0');
}

std::size_t TerminalWidth(int descriptor) {
  winsize size = {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace devicelog
