#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/tolvar/check/cloud/play.h"

namespace check {
namespace {

const char* Word(Exchange::Verdict verdict) {
  constexpr const char* words[] = {"ok", "warning", "error"};
  return words[static_cast<std::size_t>(verdict)];
}

std::string Padded(std::string text, std::size_t columns) {
  text.resize(std::max(text.size(), columns), ' ');
  return text + "  ";
}

// Addresses and names come from the cloud and may hold what a terminal obeys.
Exchange Printable(Exchange exchange) {
  const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
  for (std::string* text : {&exchange.asked, &exchange.answer, &exchange.device}) {
    std::replace_if(text->begin(), text->end(), isControl, '?');
  }
  return exchange;
}

std::size_t WidthOf(const std::vector<Exchange>& exchanges, std::string Exchange::*column) {
  std::size_t width = 0;
  for (const Exchange& exchange : exchanges) width = std::max(width, (exchange.*column).size());
  return width;
}

}  // namespace

std::string AsText(const std::vector<Exchange>& exchanges) {
  const std::size_t asked = WidthOf(exchanges, &Exchange::asked);
  const std::size_t answer = WidthOf(exchanges, &Exchange::answer);
  std::string text =
      Padded("", 7) + Padded("asked", asked) + Padded("answer", answer) + "what a device does\n";
  for (const Exchange& raw : exchanges) {
    const Exchange exchange = Printable(raw);
    text += Padded(Word(exchange.verdict), 7) + Padded(exchange.asked, asked) +
            Padded(exchange.answer, answer) + exchange.device + "\n";
  }
  return text;
}

std::string AsJson(const std::vector<Exchange>& exchanges) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Exchange& exchange : exchanges) {
    list.push_back({{"verdict", Word(exchange.verdict)},
                    {"asked", exchange.asked},
                    {"answer", exchange.answer},
                    {"device", exchange.device}});
  }
  return list.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace check
