#include "tools/tolvar/log/moment.h"

#include <algorithm>
#include <array>

namespace devicelog {
namespace {

constexpr std::array<const char*, 12> monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct Civil {
  long long year;
  int month, day, hour, minute, second, millis;
};

// Rounded down, so that times before 1970 are in the second and on the day that they belong to.
std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
  return value / by - (value % by < 0 ? 1 : 0);
}

// The calendar's eras of 400 years repeat; a year counted from March has its leap day last.
Civil ToCivil(std::int64_t micros) {
  const std::int64_t days = FloorDivide(micros, dayMicros);
  const std::int64_t ofDay = micros - days * dayMicros;
  const std::int64_t shifted = days + 719'468;
  const std::int64_t era = FloorDivide(shifted, 146'097);
  const std::int64_t dayOfEra = shifted - era * 146'097;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  Civil civil = {};
  civil.day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
  civil.month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
  civil.year = yearOfEra + era * 400 + (civil.month <= 2 ? 1 : 0);
  const auto seconds = static_cast<int>(ofDay / secondMicros);
  civil.hour = seconds / 3600;
  civil.minute = seconds / 60 % 60;
  civil.second = seconds % 60;
  civil.millis = static_cast<int>(ofDay % secondMicros / 1000);
  return civil;
}

// With zeros before it, at least `width` digits.
std::string Digits(std::int64_t number, std::size_t width) {
  const std::string text = std::to_string(number);
  return std::string(width - std::min(width, text.size()), '0') + text;
}

std::string Clock(const Civil& c) {
  return Digits(c.hour, 2) + ":" + Digits(c.minute, 2) + ":" + Digits(c.second, 2);
}

std::string Date(const Civil& c) {
  return Digits(c.year, 4) + "-" + Digits(c.month, 2) + "-" + Digits(c.day, 2);
}

std::string WithDays(std::int64_t micros, const std::string& clock) {
  const std::int64_t days = FloorDivide(micros, dayMicros);
  if (days == 0) return clock;
  return clock + (days > 0 ? " +" : " ") + std::to_string(days) + "d";
}

std::string Seconds(std::int64_t micros) {
  return std::to_string(micros / secondMicros) + "." + Digits(micros % secondMicros / 1000, 3);
}

std::string Zone(const Moment& moment) {
  if (moment.kind != Moment::Kind::Date) return "";
  const int minutes = moment.zoneMinutes < 0 ? -moment.zoneMinutes : moment.zoneMinutes;
  if (minutes == 0) return "";
  return (moment.zoneMinutes < 0 ? "-" : "+") + Digits(minutes / 60, 2) + ":" +
         Digits(minutes % 60, 2);
}

std::int64_t LocalMicros(const Moment& moment) {
  return moment.micros + std::int64_t{moment.zoneMinutes} * 60 * secondMicros;
}

}  // namespace

std::int64_t DaysFromCivil(int year, int month, int day) {
  const std::int64_t y = year - (month <= 2 ? 1 : 0);
  const std::int64_t era = FloorDivide(y, 400);
  const std::int64_t yearOfEra = y - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

std::string ToText(const Moment& moment) {
  const Civil c = ToCivil(LocalMicros(moment));
  switch (moment.kind) {
    case Moment::Kind::None:
      return "line " + std::to_string(moment.line);
    case Moment::Kind::TimeOfDay:
      return WithDays(moment.micros, Clock(c));
    case Moment::Kind::NoYear:
      return monthNames[static_cast<std::size_t>(c.month - 1)] + (" " + Digits(c.day, 2)) + " " +
             Clock(c);
    case Moment::Kind::Date:
      return Date(c) + " " + Clock(c);
    case Moment::Kind::Elapsed:
      return Seconds(moment.micros) + " s";
  }
  return "";
}

std::string ToIsoText(const Moment& moment) {
  const Civil c = ToCivil(LocalMicros(moment));
  const std::string clock = Clock(c) + "." + Digits(c.millis, 3);
  switch (moment.kind) {
    case Moment::Kind::None:
      return "";
    case Moment::Kind::TimeOfDay:
      return WithDays(moment.micros, clock);
    case Moment::Kind::NoYear:
    case Moment::Kind::Date:
      return Date(c) + "T" + clock + Zone(moment);
    case Moment::Kind::Elapsed:
      return Seconds(moment.micros);
  }
  return "";
}

std::string LengthText(std::int64_t micros) {
  if (micros < 0) return "-" + LengthText(micros == INT64_MIN ? INT64_MAX : -micros);
  const std::int64_t seconds = micros / secondMicros;
  if (seconds < 60) return std::to_string(seconds) + " s";
  if (seconds < 3600) return std::to_string(seconds / 60) + " min";
  if (seconds < 86'400) {
    return std::to_string(seconds / 3600) + " h " + Digits(seconds / 60 % 60, 2) + " min";
  }
  return std::to_string(seconds / 86'400) + " d " + std::to_string(seconds / 3600 % 24) + " h";
}

}  // namespace devicelog
