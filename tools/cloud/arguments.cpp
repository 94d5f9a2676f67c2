#include "tools/cloud/arguments.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace standin {

std::optional<Arguments> Arguments::Parse(const std::vector<std::string>& words,
                                          const std::vector<OptionRule>& rules,
                                          std::string& error) {
  Arguments arguments;
  for (std::size_t i = 0; i < words.size(); i += 2) {
    const std::string& name = words[i];
    const auto isNamed = [&](const OptionRule& rule) { return rule.name == name; };
    if (std::none_of(rules.begin(), rules.end(), isNamed)) {
      error = "unknown option " + name;
      return std::nullopt;
    }
    if (i + 1 == words.size() || words[i + 1].empty()) {
      error = name + " needs a value";
      return std::nullopt;
    }
    arguments.values.emplace(name, words[i + 1]);
  }
  for (const auto& [name, allowed] : rules) {
    const std::size_t count = arguments.values.count(name);
    if (count == 0 && allowed == OptionRule::Count::Once) error = name + " is missing";
    if (count > 1 && allowed != OptionRule::Count::AnyNumber) error = name + " is given twice";
  }
  if (!error.empty()) return std::nullopt;
  return arguments;
}

const std::string& Arguments::Required(const std::string& name) const {
  return values.find(name)->second;
}

std::optional<std::string> Arguments::Optional(const std::string& name) const {
  const auto found = values.find(name);
  if (found == values.end()) return std::nullopt;
  return found->second;
}

std::vector<std::string> Arguments::All(const std::string& name) const {
  std::vector<std::string> all;
  const auto [first, last] = values.equal_range(name);
  std::transform(first, last, std::back_inserter(all),
                 [](const auto& pair) { return pair.second; });
  return all;
}

std::optional<unsigned> ParseNumber(const std::string& text, unsigned maximum) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, number);
  if (code != std::errc() || stop != end || number > maximum) return std::nullopt;
  return number;
}

}  // namespace standin
