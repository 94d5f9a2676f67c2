// A manifest as the product reads it. Without its log; one thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "process/process.h"

namespace product {

// The records of the manifest `text`; nothing when it is none.
[[nodiscard]] std::optional<std::vector<Process>> ReadManifest(const std::string& text);

}  // namespace product
