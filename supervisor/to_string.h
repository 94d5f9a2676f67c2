// The decimal text of a number, for messages, requests and reports.
#pragma once

#include <locale>
#include <sstream>
#include <string>

// The text of `value` as a string stream writes it in the C locale: a host may have left a global
// locale that groups digits.
template <typename Value>
[[nodiscard]] std::string ToString(const Value& value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << value;
  return stream.str();
}
