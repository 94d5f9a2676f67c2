#include "tools/tolvar/doctor/print.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace doctor {
namespace {

struct Look {
  const char* word;
  const char* colour;
};

constexpr std::array<Look, 4> looks = {{
    {"ok", "\x1b[32m"},
    {"skipped", "\x1b[2m"},
    {"warning", "\x1b[33m"},
    {"bad", "\x1b[1;31m"},
}};
constexpr std::size_t levelColumns = 9;
constexpr std::size_t nameColumns = 15;

const Look& LookOf(Level level) { return looks[static_cast<std::size_t>(level)]; }

std::string Padded(std::string text, std::size_t columns) {
  text.resize(std::max(text.size(), columns), ' ');
  return text;
}

// Breaks `text` at blanks so that it fits between column `indent` and `width`.
std::string Folded(const std::string& text, std::size_t indent, std::size_t width) {
  constexpr std::size_t leastColumns = 20;
  if (width < indent + leastColumns) return text;
  const std::size_t columns = width - indent;
  std::string folded;
  std::size_t start = 0;
  while (text.size() - start > columns) {
    std::size_t blank = text.rfind(' ', start + columns);
    if (blank == std::string::npos || blank <= start) blank = text.find(' ', start);
    if (blank == std::string::npos) break;
    folded += text.substr(start, blank - start) + "\n" + std::string(indent, ' ');
    start = blank + 1;
  }
  return folded + text.substr(start);
}

std::string Line(const Result& result, const Paper& paper) {
  const auto& [level, found, cure] = result.finding;
  const Look& look = LookOf(level);
  const std::string word = Padded(look.word, levelColumns);
  const std::string words = cure.empty() ? found : found + ". Cure: " + cure;
  return (paper.coloured ? look.colour + word + "\x1b[0m" : word) +
         Padded(result.name, nameColumns) + Folded(words, levelColumns + nameColumns, paper.width) +
         "\n";
}

}  // namespace

Paper StandardOutput() {
  if (isatty(STDOUT_FILENO) == 0) return {};
  const char* refusal = std::getenv("NO_COLOR");
  winsize size = {};
  (void)ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);  // a terminal without a size: no folding
  return {refusal == nullptr || *refusal == '\0', size.ws_col};
}

long CountOf(const std::vector<Result>& results, Level level) {
  return std::count_if(results.begin(), results.end(),
                       [level](const Result& result) { return result.finding.level == level; });
}

std::string AsText(const std::vector<Result>& results, const Paper& paper) {
  std::string text;
  for (const Result& result : results) text += Line(result, paper);
  return text + std::to_string(results.size()) + " checks, " +
         std::to_string(CountOf(results, Level::Bad)) + " bad, " +
         std::to_string(CountOf(results, Level::Warning)) + " with a warning\n";
}

std::string AsJson(const std::vector<Result>& results) {
  nlohmann::ordered_json checks = nlohmann::ordered_json::array();
  for (const auto& [name, finding] : results) {
    checks.push_back({{"name", name},
                      {"level", LookOf(finding.level).word},
                      {"found", finding.found},
                      {"cure", finding.cure}});
  }
  const nlohmann::ordered_json all = {{"checks", checks},
                                      {"bad", CountOf(results, Level::Bad)},
                                      {"warnings", CountOf(results, Level::Warning)}};
  // Paths from a manifest may hold any bytes.
  return all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace doctor
