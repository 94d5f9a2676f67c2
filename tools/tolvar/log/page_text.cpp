// What Page collected, as the page's data.
#include <array>
#include <nlohmann/json.hpp>

#include "tools/tolvar/log/page.h"
#include "tools/tolvar/log/page_frame.h"

namespace devicelog {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<const char*, 4> toneClasses = {"plain", "good", "notable", "bad"};  // of Tone

Json ToJson(const PageBar& bar) {
  const bool hasLength = bar.since.IsKnown() && bar.since.kind == bar.until.kind;
  const std::string until = "to " + ToText(bar.until);
  return {{"from", bar.from},
          {"to", bar.to},
          {"state", bar.state},
          {"version", bar.version.text.empty() ? "" : ToText(bar.version)},
          {"colour", bar.colour},
          {"count", bar.count},
          {"since", ToText(bar.since) + " " + until},
          {"length", hasLength ? LengthText(bar.until.micros - bar.since.micros) : ""},
          {"lines", bar.lines}};
}

Json ToJson(const PageMark& mark) {
  Json lines = Json::array();
  if (!mark.line.empty()) lines.push_back(mark.line);
  const std::string times =
      mark.count == 1 ? "" : " (" + std::to_string(mark.count) + " of the kind)";
  const KindTraits& traits = TraitsOf(mark.kind);
  return {{"at", mark.at},
          {"kind", traits.name},
          {"tone", toneClasses[static_cast<std::size_t>(traits.tone)]},
          {"since", ToText(mark.when)},
          {"words", mark.words + times},
          {"lines", lines}};
}

Json ToJson(const Alarm& alarm) {
  return {{"name", NameOf(alarm.kind)},   {"process", alarm.subject},
          {"over", alarm.isOver},         {"words", InWords(alarm)},
          {"since", ToText(alarm.since)}, {"last", ToText(alarm.last)},
          {"line", alarm.last.line},      {"advice", alarm.advice}};
}

Json ToJson(const Axis::Segment& segment) { return {{"x", segment.x}, {"t", segment.clock}}; }

template <typename Items>
Json ToList(const Items& items) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(ToJson(item));
  return list;
}

void AddTable(Json& json, const View& view, const NameFilter& names) {
  json["heads"] = TableHeads();
  json["numbers"] = {4, 5};  // columns
  json["rows"] = Json::array();
  bool hasGuess = false;
  for (const auto& [name, process] : view.Processes()) {
    if (!IsWanted(names, name)) continue;
    json["rows"].push_back(TableRow(name, process, view.Summary().last));
    hasGuess = hasGuess || IsGuess(process);
  }
  json["hasGuess"] = hasGuess;
}

// Inside a script's element, only the tag that ends it must not be there.
std::string ForScript(std::string text) {
  for (std::size_t at = 0; (at = text.find("</", at)) != std::string::npos; at += 3) {
    text.replace(at, 2, "<\\/");
  }
  return text;
}

}  // namespace

std::string Page::Text(const View& view, const NameFilter& names) {
  const Moment last = view.Summary().last;
  const double end = last.line == 0 ? 0 : axis_.Place(last);
  Json json = {{"summary", SummaryText(view.Summary())}, {"axis", axis_.Name()}, {"end", end}};
  json["clock"] = axis_.Segments().empty() ? ToList(std::vector<Axis::Segment>{{0, 0}})
                                           : ToList(axis_.Segments());
  json["alarms"] = ToList(view.Alarms());
  AddTable(json, view, names);
  json["lanes"] = Json::array();
  for (auto& [name, lane] : lanes_) {
    if (lane.isOpen) {
      lane.bars.back().to = end;
      lane.bars.back().until = last;
    }
    json["lanes"].push_back({{"name", name.empty() ? "supervisor" : name},
                             {"bars", ToList(lane.bars)},
                             {"marks", ToList(lane.marks)}});
  }
  return pageBefore + ForScript(json.dump(-1, ' ', false, Json::error_handler_t::replace)) +
         pageBehind;
}

}  // namespace devicelog
