// What is written for people: colours, and texts of others made safe to show.
#pragma once

#include <string>
#include <string_view>

#include "tools/tolvar/log/event.h"

namespace devicelog {

// `text` without anything that a terminal would obey: control characters as "\x1b".
[[nodiscard]] std::string Printable(std::string_view text);

// How many columns it takes, one for each character of UTF-8.
[[nodiscard]] std::size_t Columns(std::string_view text);

// At most so many columns, cut with "..." where it is longer.
[[nodiscard]] std::string Shortened(const std::string& text, std::size_t columns);

class Paint {
 public:
  explicit Paint(bool isOn) : isOn_(isOn) {}

  [[nodiscard]] std::string In(Tone tone, const std::string& text) const;
  [[nodiscard]] std::string Bold(const std::string& text) const;
  [[nodiscard]] std::string Faint(const std::string& text) const;

 private:
  bool isOn_;
};

// Whether colours are wanted on the descriptor: a terminal, and NO_COLOR not set.
[[nodiscard]] bool WantsColour(int descriptor);

// Columns of the terminal; 0 where it is none.
[[nodiscard]] std::size_t TerminalWidth(int descriptor);

}  // namespace devicelog
