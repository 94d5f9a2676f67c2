// When a line was written, as far as its stamp says.
#pragma once

#include <cstdint>
#include <string>

namespace devicelog {

constexpr std::int64_t secondMicros = 1'000'000;
constexpr std::int64_t dayMicros = 86'400 * secondMicros;

struct Moment {
  // What the stamp gives, and so how the moment is written: nothing; the time of day, counted on
  // over midnights; a date whose year is guessed; a whole date; seconds since some start.
  enum class Kind : std::uint8_t { None, TimeOfDay, NoYear, Date, Elapsed };

  Kind kind = Kind::None;
  std::int16_t zoneMinutes = 0;  // east of Greenwich, where the stamp has a zone
  std::int64_t micros = 0;       // since 1970, the first line's day or the start; of Greenwich
  std::uint64_t line = 0;        // in the log, from 1

  [[nodiscard]] bool IsKnown() const { return kind != Kind::None; }
};

// Days from 1970-01-01 to that date of the Gregorian calendar.
[[nodiscard]] std::int64_t DaysFromCivil(int year, int month, int day);

// The moment as its stamps are written: "12:00:00", "12:00:00 +1d", "Nov 25 12:00:00",
// "2024-11-25 12:00:00", "3725.500 s"; "line 12" without a stamp.
[[nodiscard]] std::string ToText(const Moment& moment);

// For programs: "2024-11-25T12:00:00.123", with the zone where the stamp had one; empty without a
// stamp. A guessed year is written as guessed.
[[nodiscard]] std::string ToIsoText(const Moment& moment);

// A length of time in words: "5 s", "12 min", "3 h 05 min", "2 d 4 h".
[[nodiscard]] std::string LengthText(std::int64_t micros);

}  // namespace devicelog
