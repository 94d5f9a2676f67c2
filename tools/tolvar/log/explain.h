// The catalogue, for people.
#pragma once

#include <string>
#include <string_view>

namespace devicelog {

// All of it, in Markdown.
[[nodiscard]] std::string CatalogueText();

// What a line of a log, stamped or not, is, means and asks for; empty when it is not the product's.
[[nodiscard]] std::string ExplainLine(std::string_view line);

}  // namespace devicelog
