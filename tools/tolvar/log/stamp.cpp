#include "tools/tolvar/log/stamp.h"

#include <algorithm>
#include <array>
#include <optional>

namespace devicelog {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Reads a text from its front; what does not fit leaves it where it was.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : rest_(text) {}

  [[nodiscard]] std::string_view Rest() const { return rest_; }
  [[nodiscard]] char Peek(std::size_t at = 0) const { return at < rest_.size() ? rest_[at] : '\0'; }

  void Skip(std::size_t count) { rest_.remove_prefix(std::min(count, rest_.size())); }

  [[nodiscard]] bool Take(char c) {
    if (Peek() != c) return false;
    Skip(1);
    return true;
  }

  // Exactly `digits` of them.
  [[nodiscard]] bool TakeNumber(std::size_t digits, int& value) {
    int number = 0;
    for (std::size_t i = 0; i < digits; ++i) {
      if (!IsDigit(Peek(i))) return false;
      number = number * 10 + (Peek(i) - '0');
    }
    Skip(digits);
    value = number;
    return true;
  }

  // A decimal fraction as millionths, 0 where there is none.
  std::int64_t TakeFraction() {
    if ((Peek() != '.' && Peek() != ',') || !IsDigit(Peek(1))) return 0;
    Skip(1);
    std::int64_t micros = 0;
    std::int64_t unit = 100'000;
    for (; IsDigit(Peek()); Skip(1), unit /= 10) micros += unit * (Peek() - '0');
    return micros;
  }

 private:
  std::string_view rest_;
};

struct Stamp {
  Moment moment;
  int month = 0, day = 0;  // NoYear
};

bool TakeClock(Cursor& in, std::int64_t& micros) {
  int hour = 0;
  int minute = 0;
  int second = 0;
  if (!in.TakeNumber(2, hour) || !in.Take(':') || !in.TakeNumber(2, minute) || !in.Take(':') ||
      !in.TakeNumber(2, second) || hour > 23 || minute > 59 || second > 60) {
    return false;
  }
  micros = ((hour * 60 + minute) * 60 + second) * secondMicros + in.TakeFraction();
  return true;
}

// "Z", "+0100" or "+01:00"; anything else is no zone and stays.
void TakeZone(Cursor& in, Moment& moment) {
  if (in.Take('Z')) return;
  Cursor zone = in;
  const bool west = zone.Peek() == '-';
  if (!zone.Take('+') && !zone.Take('-')) return;
  int hours = 0;
  int minutes = 0;
  if (!zone.TakeNumber(2, hours)) return;
  (void)zone.Take(':');  // may be left out
  if (!zone.TakeNumber(2, minutes)) return;
  const int offset = (hours * 60 + minutes) * (west ? -1 : 1);
  moment.zoneMinutes = static_cast<std::int16_t>(offset);
  moment.micros -= std::int64_t{offset} * 60 * secondMicros;
  in = zone;
}

// "2024-11-25T12:00:00.123+01:00", "2024-11-25 12:00:00".
bool TakeDate(Cursor& in, Stamp& stamp) {
  int year = 0;
  int month = 0;
  int day = 0;
  if (!in.TakeNumber(4, year) || !in.Take('-') || !in.TakeNumber(2, month) || !in.Take('-') ||
      !in.TakeNumber(2, day) || month < 1 || month > 12 || day < 1 || day > 31) {
    return false;
  }
  if (!in.Take('T') && !in.Take(' ')) return false;
  if (!TakeClock(in, stamp.moment.micros)) return false;
  stamp.moment.micros += DaysFromCivil(year, month, day) * dayMicros;
  stamp.moment.kind = Moment::Kind::Date;
  TakeZone(in, stamp.moment);
  return true;
}

int MonthNumber(std::string_view name) {
  constexpr std::string_view names = "JanFebMarAprMayJunJulAugSepOctNovDec";
  const std::size_t at = names.find(name);
  return at == std::string_view::npos || at % 3 != 0 ? 0 : static_cast<int>(at / 3) + 1;
}

// "Nov 25 12:00:00", "Nov  5 12:00:00.123".
bool TakeMonthAndDay(Cursor& in, Stamp& stamp) {
  stamp.month = MonthNumber(in.Rest().substr(0, 3));
  if (stamp.month == 0) return false;
  in.Skip(3);
  if (!in.Take(' ')) return false;
  const std::size_t digits = in.Take(' ') ? 1 : 2;
  if (!in.TakeNumber(digits, stamp.day) || stamp.day < 1 || stamp.day > 31) return false;
  stamp.moment.kind = Moment::Kind::NoYear;
  return in.Take(' ') && TakeClock(in, stamp.moment.micros);
}

// "Mon 2024-11-25 12:00:00 CET".
bool TakeWeekdayAndDate(Cursor& in, Stamp& stamp) {
  in.Skip(4);
  if (!TakeDate(in, stamp)) return false;
  Cursor zone = in;
  if (!zone.Take(' ')) return false;
  std::size_t length = 0;
  while (IsLetter(zone.Peek(length))) ++length;
  if (length >= 1 && length <= 5) zone.Skip(length), in = zone;
  return true;
}

bool TakeTimeOfDay(Cursor& in, Stamp& stamp) {
  stamp.moment.kind = Moment::Kind::TimeOfDay;
  return TakeClock(in, stamp.moment.micros);
}

// Up to 11 digits: seconds since 1970, or since the device or the log started.
bool TakeSeconds(Cursor& in, std::int64_t& micros) {
  std::int64_t seconds = 0;
  std::size_t digits = 0;
  for (; IsDigit(in.Peek()) && digits < 11; in.Skip(1), ++digits) {
    seconds = seconds * 10 + (in.Peek() - '0');
  }
  micros = seconds * secondMicros;
  return digits > 0;
}

// "1732536000.123456".
bool TakeUnixTime(Cursor& in, Stamp& stamp) {
  if (!TakeSeconds(in, stamp.moment.micros)) return false;
  if (stamp.moment.micros < 100'000'000 * secondMicros) return false;  // some other number
  stamp.moment.micros += in.TakeFraction();
  stamp.moment.kind = Moment::Kind::Date;
  return true;
}

// "[   12.345678]".
bool TakeElapsed(Cursor& in, Stamp& stamp) {
  in.Skip(1);
  while (in.Take(' ')) continue;
  if (!TakeSeconds(in, stamp.moment.micros)) return false;
  stamp.moment.micros += in.TakeFraction();
  stamp.moment.kind = Moment::Kind::Elapsed;
  return in.Take(']');
}

// The form is told by its first characters.
bool TakeStamp(Cursor& in, Stamp& stamp) {
  if (in.Peek() == '[') return TakeElapsed(in, stamp);
  if (IsDigit(in.Peek())) {
    if (in.Peek(2) == ':') return TakeTimeOfDay(in, stamp);
    return in.Peek(4) == '-' ? TakeDate(in, stamp) : TakeUnixTime(in, stamp);
  }
  if (in.Peek(3) != ' ' || !IsLetter(in.Peek())) return false;
  return IsDigit(in.Peek(4)) && in.Peek(8) == '-' ? TakeWeekdayAndDate(in, stamp)
                                                  : TakeMonthAndDay(in, stamp);
}

int YearOf(std::int64_t micros) {
  auto year = static_cast<int>(1970 + micros / dayMicros / 366);
  while (DaysFromCivil(year + 1, 1, 1) * dayMicros <= micros) ++year;
  return year;
}

// The newest year that does not put the stamp more than a day behind now.
void GuessYear(Stamp& stamp, std::int64_t nowMicros) {
  const std::int64_t clock = stamp.moment.micros;
  int year = YearOf(nowMicros + dayMicros);
  const auto at = [&](int y) {
    return DaysFromCivil(y, stamp.month, stamp.day) * dayMicros + clock;
  };
  while (at(year) > nowMicros + dayMicros) --year;
  stamp.moment.micros = at(year);
}

std::optional<Stamp> ReadStamp(Cursor& in, std::int64_t nowMicros) {
  Stamp stamp;
  if (!TakeStamp(in, stamp)) return std::nullopt;
  if (stamp.moment.kind == Moment::Kind::NoYear) GuessYear(stamp, nowMicros);
  return stamp;
}

}  // namespace

std::string_view StampReader::TakeOff(std::string_view line, Moment& moment) {
  const std::size_t length = lastText_.size();
  if (length != 0 && line.size() > length && line[length] == ' ' &&
      line.substr(0, length) == lastText_) {
    moment = last_;
    return line.substr(length + 1);
  }
  Cursor in(line);
  const std::optional<Stamp> stamp = ReadStamp(in, nowMicros_);
  const std::size_t taken = line.size() - in.Rest().size();
  if (!stamp || (!in.Take(' ') && !in.Rest().empty())) {
    moment = Moment();
    return line;
  }
  moment = stamp->moment;
  CountOn(moment);
  last_ = moment;
  lastText_.assign(line.data(), taken);
  return in.Rest();
}

// A time of day that lies more than half a day before the last one is the next day's.
void StampReader::CountOn(Moment& moment) {
  if (moment.kind != Moment::Kind::TimeOfDay || last_.kind != Moment::Kind::TimeOfDay) return;
  const std::int64_t lastDay = last_.micros / dayMicros * dayMicros;
  moment.micros += lastDay;
  if (last_.micros - moment.micros > dayMicros / 2) moment.micros += dayMicros;
}

std::string_view StampReader::BehindTag(std::string_view text) {
  constexpr std::size_t longest = 160;  // a host's name and a tag
  const std::size_t colon = text.substr(0, longest).find(": ");
  if (colon == std::string_view::npos) return {};
  const std::string_view tag = text.substr(0, colon);
  if (std::count(tag.begin(), tag.end(), ' ') > 2) return {};
  return text.substr(colon + 2);
}

Moment ReadMoment(std::string_view text, std::int64_t nowMicros) {
  Cursor in(text);
  const std::optional<Stamp> stamp = ReadStamp(in, nowMicros);
  return stamp && in.Rest().empty() ? stamp->moment : Moment();
}

}  // namespace devicelog
