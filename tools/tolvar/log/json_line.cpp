#include "tools/tolvar/log/json_line.h"

#include <array>
#include <nlohmann/json.hpp>

namespace devicelog {
namespace {

using Json = nlohmann::ordered_json;

// In the order of Version::Known.
constexpr std::array<const char*, 4> sources = {"", "components", "rollback", "report"};

void AddText(Json& json, const char* key, const std::string& text) {
  if (!text.empty()) json[key] = text;
}

void AddVersion(Json& json, const char* key, const char* sourceKey, const Version& version) {
  if (version.text.empty()) return;
  json[key] = version.text;
  AddText(json, sourceKey, sources[static_cast<std::size_t>(version.known)]);
}

void AddNumber(Json& json, const char* key, std::int64_t number) {
  if (number != 0) json[key] = number;
}

void AddMoment(Json& json, const Moment& moment) {
  json["line"] = moment.line;
  AddText(json, "time", ToIsoText(moment));
}

std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string JsonLine(const Event& event) {
  Json json;
  AddMoment(json, event.when);
  json["event"] = TraitsOf(event.kind).name;
  AddText(json, "process", event.process);
  AddVersion(json, "from", "from_source", event.from);
  AddVersion(json, "to", "to_source", event.to);
  AddNumber(json, "count", event.count);
  AddNumber(json, "seconds", event.seconds);
  AddNumber(json, "curl_code", event.curlCode);
  AddText(json, "subject", event.subject);
  AddText(json, "reason", event.reason);
  AddText(json, "text", event.text);
  return Dump(json);
}

std::string JsonLine(const Alarm& alarm) {
  Json json;
  AddMoment(json, alarm.last);
  json["alarm"] = NameOf(alarm.kind);
  AddText(json, "process", alarm.subject);
  json["is_over"] = alarm.isOver;
  json["count"] = alarm.count;
  json["since_line"] = alarm.since.line;
  AddText(json, "since", ToIsoText(alarm.since));
  json["words"] = InWords(alarm);
  AddText(json, "advice", alarm.advice);
  return Dump(json);
}

}  // namespace devicelog
