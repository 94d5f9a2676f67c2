// A command's options: --name VALUE, in any order.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace standin {

struct OptionRule {
  enum class Count { Once, AtMostOnce, AnyNumber };
  std::string name;  // with its dashes
  Count count = Count::Once;
};

class Arguments {
 public:
  // Nothing, and `error` says why, when `words` are not what `rules` allow. No value may be empty.
  [[nodiscard]] static std::optional<Arguments> Parse(const std::vector<std::string>& words,
                                                      const std::vector<OptionRule>& rules,
                                                      std::string& error);

  // The value of an option that must be there.
  [[nodiscard]] const std::string& Required(const std::string& name) const;
  [[nodiscard]] std::optional<std::string> Optional(const std::string& name) const;
  // In the order given.
  [[nodiscard]] std::vector<std::string> All(const std::string& name) const;

 private:
  std::multimap<std::string, std::string> values;
};

// The number that `text` spells with decimal digits only; nothing when it does not, or when it is
// above `maximum`.
[[nodiscard]] std::optional<unsigned> ParseNumber(const std::string& text, unsigned maximum);

}  // namespace standin
