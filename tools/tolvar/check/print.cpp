#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/tolvar/check/finding.h"

namespace check {
namespace {

const char* Word(Severity severity) { return severity == Severity::Error ? "error" : "warning"; }

// Names and paths of a manifest may hold what a terminal obeys.
std::string Printable(std::string text) {
  const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
  std::replace_if(text.begin(), text.end(), isControl, '?');
  return text;
}

std::string Lines(const Finding& finding) {
  const Rule& rule = RuleOf(finding.id);
  std::string text =
      std::string(Word(finding.severity)) + " " + std::to_string(static_cast<int>(finding.id));
  for (const std::string& part : {finding.document, finding.place}) {
    if (!part.empty()) text += " " + part;
  }
  text += std::string(": ") + rule.sentence;
  if (!finding.detail.empty()) text += " (" + finding.detail + ")";
  return Printable(text) + "\n  cure: " + rule.cure + "\n";
}

nlohmann::ordered_json Object(const Finding& finding) {
  const Rule& rule = RuleOf(finding.id);
  return {{"rule", static_cast<int>(finding.id)},
          {"severity", Word(finding.severity)},
          {"document", finding.document},
          {"place", finding.place},
          {"sentence", rule.sentence},
          {"detail", finding.detail},
          {"cure", rule.cure}};
}

}  // namespace

long CountOf(const std::vector<Finding>& findings, Severity severity) {
  return std::count_if(findings.begin(), findings.end(),
                       [severity](const Finding& finding) { return finding.severity == severity; });
}

std::string AsText(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) text += Lines(finding);
  return text;
}

std::string AsJson(const std::vector<Finding>& findings) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Finding& finding : findings) list.push_back(Object(finding));
  const nlohmann::ordered_json all = {{"findings", list},
                                      {"errors", CountOf(findings, Severity::Error)},
                                      {"warnings", CountOf(findings, Severity::Warning)}};
  return all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace check
