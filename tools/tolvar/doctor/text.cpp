#include "tools/tolvar/doctor/text.h"

#include <array>
#include <cstring>
#include <ctime>

namespace doctor {

std::string Megabytes(std::uint64_t bytes) {
  constexpr std::uint64_t tenth = 100000;
  return std::to_string(bytes / tenth / 10) + "." + std::to_string(bytes / tenth % 10) + " MB";
}

std::string Day(std::int64_t sec) {
  const time_t time = sec;
  struct tm parts = {};
  std::array<char, 32> text = {};
  if (gmtime_r(&time, &parts) == nullptr) return std::to_string(sec);
  if (std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts) == 0) return std::to_string(sec);
  return text.data();
}

void AddToList(std::string& text, const std::string& more) {
  constexpr std::size_t limit = 300;
  constexpr char cut[] = "; ...";
  if (text.size() < limit) {
    text += text.empty() ? more : "; " + more;
  } else if (text.compare(text.size() - std::strlen(cut), std::string::npos, cut) != 0) {
    text += cut;
  }
}

}  // namespace doctor
