#include "tools/tolvar/log/report.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "tools/tolvar/log/catalogue.h"

namespace devicelog {
namespace {

struct Escape {
  char letter, means;
};
constexpr std::array<Escape, 5> escapes = {
    {{'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'b', '\b'}, {'f', '\f'}}};

char Unescaped(char letter) {
  for (const Escape& escape : escapes) {
    if (escape.letter == letter) return escape.means;
  }
  return letter;
}

// Beyond the letters, only control characters are escaped, as \u00XX.
std::string Unescape(std::string_view raw) {
  std::string text;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] != '\\' || i + 1 == raw.size()) {
      text += raw[i];
    } else if (raw[++i] != 'u' || raw.size() - i < 5) {
      text += Unescaped(raw[i]);
    } else {
      unsigned code = 0;
      (void)std::from_chars(raw.data() + i + 1, raw.data() + i + 5, code, 16);  // else 0
      text += code < 0x80 ? static_cast<char>(code) : '?';
      i += 4;
    }
  }
  return text;
}

// Where the text's own quotation mark ends it; an escaped one does not.
std::size_t EndOfEscaped(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') return i;
    if (text[i] == '\\') ++i;
  }
  return std::string_view::npos;
}

}  // namespace

bool ReportReader::Take(char c) {
  if (rest_.empty() || rest_.front() != c) return false;
  rest_.remove_prefix(1);
  return true;
}

bool ReportReader::TakeText(std::string_view& raw, bool& hasEscapes) {
  if (!Take('"')) return false;
  std::size_t end = rest_.find('"');
  hasEscapes =
      end != std::string_view::npos && rest_.substr(0, end).find('\\') != std::string_view::npos;
  if (hasEscapes) end = EndOfEscaped(rest_);
  if (end == std::string_view::npos) return false;
  raw = rest_.substr(0, end);
  rest_.remove_prefix(end + 1);
  return true;
}

bool ReportReader::TakeMember(ReportedProcess& process) {
  std::string_view key;
  std::string_view value;
  bool keyEscapes = false;
  bool hasEscapes = false;
  if (!TakeText(key, keyEscapes) || !Take(':') || !TakeText(value, hasEscapes)) return false;
  const auto store = [&](std::string& to) {
    hasEscapes ? to = Unescape(value) : to.assign(value.data(), value.size());
  };
  if (key == "name") store(process.name);
  if (key == "version") store(process.version);
  if (key == "state") store(process.state);
  if (key == "launchFailures") process.launchFailures = NumberIn(value);
  if (key == "heartbeatMissing") process.heartbeatMissing = NumberIn(value);
  return true;
}

bool ReportReader::Next(ReportedProcess& process) {
  process.name.clear();
  process.version.clear();
  process.state.clear();
  process.launchFailures = process.heartbeatMissing = 0;
  if ((!isFirst_ && !Take(',')) || !Take('{')) return false;
  isFirst_ = false;
  do {
    if (!TakeMember(process)) {
      rest_ = {};
      return false;
    }
  } while (Take(','));
  return Take('}');
}

}  // namespace devicelog
