// Numbers and foreign text in the words of a finding.
#pragma once

#include <cstdint>
#include <string>

#include "tools/tolvar/product/config_remarks.h"

namespace doctor {

// "12.3 MB", in decimal units, rounded down.
[[nodiscard]] std::string Megabytes(std::uint64_t bytes);

// The UTC day of `sec`, seconds since the epoch, as "2031-05-29"; the seconds where it has none.
[[nodiscard]] std::string Day(std::int64_t sec);

using product::Quoted;

// Adds `more` to the list in words that `text` is; a list that is long enough gets a "..." instead.
void AddToList(std::string& text, const std::string& more);

}  // namespace doctor
