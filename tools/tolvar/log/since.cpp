#include "tools/tolvar/log/since.h"

#include <array>
#include <charconv>
#include <string_view>

#include "tools/tolvar/log/stamp.h"

namespace devicelog {
namespace {

struct Unit {
  std::string_view name;
  std::int64_t seconds;
};
constexpr std::array<Unit, 8> units = {{{"s", 1},
                                        {"m", 60},
                                        {"min", 60},
                                        {"h", 3600},
                                        {"d", 86'400},
                                        {"day", 86'400},
                                        {"days", 86'400},
                                        {"w", 604'800}}};

std::optional<std::int64_t> LengthSec(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc() || number < 0) return std::nullopt;
  const std::string_view name = text.substr(static_cast<std::size_t>(end - text.data()));
  for (const Unit& unit : units) {
    if (unit.name == name) return number * unit.seconds;
  }
  return std::nullopt;
}

bool IsDate(Moment::Kind kind) {
  return kind == Moment::Kind::Date || kind == Moment::Kind::NoYear;
}

std::int64_t WrittenMicros(const Moment& moment) {
  return moment.micros + std::int64_t{moment.zoneMinutes} * 60 * secondMicros;
}

}  // namespace

std::optional<Since> Since::Parse(const std::string& text, std::int64_t nowMicros) {
  if (const auto length = LengthSec(text)) {
    Moment from;
    from.kind = Moment::Kind::Date;
    from.micros = nowMicros - *length * secondMicros;
    return Since(from);
  }
  for (const char* rest : {"", ":00", " 00:00:00"}) {
    const Moment from = ReadMoment(text + rest, nowMicros);
    if (from.IsKnown()) return Since(from);
  }
  return std::nullopt;
}

bool Since::IsAfter(const Moment& moment) const {
  return WrittenMicros(moment) < WrittenMicros(from_);
}

bool Since::Suits(const Moment& moment) const {
  return moment.kind == from_.kind || (IsDate(moment.kind) && IsDate(from_.kind));
}

}  // namespace devicelog
