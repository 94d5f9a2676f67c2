// Numbers and foreign text in the words of a finding.
#pragma once

#include <cstdint>
#include <string>

namespace doctor {

// "12.3 MB", in decimal units, rounded down.
[[nodiscard]] std::string Megabytes(std::uint64_t bytes);

// The UTC day of `sec`, seconds since the epoch, as "2031-05-29"; the seconds where it has none.
[[nodiscard]] std::string Day(std::int64_t sec);

// `text` between quotes, in printable ASCII (others are "?") and cut to 40 characters: it comes
// from a file that may hold anything.
[[nodiscard]] std::string Quoted(const std::string& text);

// Adds `more` to the list in words that `text` is; a list that is long enough gets a "..." instead.
void AddToList(std::string& text, const std::string& more);

}  // namespace doctor
