// What a check has found, and how it is told.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/tolvar/check/rule.h"

namespace check {

struct Finding {
  Id id;
  Severity severity;     // the rule's, unless somebody said that it is meant
  std::string document;  // label or file; empty where there is only one
  std::string place;     // JSON pointer; "line N" of a configuration; empty: all of it
  std::string detail;    // what of it, may be empty
};

// The findings of one document, in the order of its rules.
class Findings {
 public:
  void Add(Id id, std::string place, std::string detail = "") {
    list_.push_back({id, RuleOf(id).severity, "", std::move(place), std::move(detail)});
  }
  [[nodiscard]] std::vector<Finding>& List() { return list_; }

 private:
  std::vector<Finding> list_;
};

[[nodiscard]] long CountOf(const std::vector<Finding>& findings, Severity severity);

// "error 203 latest /data/processes/0: sentence: detail", the cure below it, each in a line.
[[nodiscard]] std::string AsText(const std::vector<Finding>& findings);

// {"findings":[{"rule","severity","document","place","sentence","detail","cure"}...],
// "errors":N,"warnings":N}
[[nodiscard]] std::string AsJson(const std::vector<Finding>& findings);

}  // namespace check
