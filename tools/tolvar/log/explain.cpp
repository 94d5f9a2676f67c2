#include "tools/tolvar/log/explain.h"

#include "tools/tolvar/log/curl_code.h"
#include "tools/tolvar/log/log_parser.h"
#include "tools/tolvar/log/terminal.h"

namespace devicelog {
namespace {

constexpr char head[] =
    R"(# Log messages

Every message of the supervisor, as `tolvar log` knows it; this page is what `tolvar log --explain`
prints. `{piece}` is any text, `{piece#}` a number. *detail*: a part of an event that a later line
completes.
)";

std::string Section(const Message& message) {
  std::string text = "\n## `" + std::string(message.pattern) + "`\n\n*" +
                     TraitsOf(message.event).name + "* — " + message.meaning + "\n";
  if (*message.advice != '\0') text += "\n**Do:** " + std::string(message.advice) + "\n";
  return text;
}

std::string Explained(const Entry& entry) {
  const Message& message = *entry.message;
  std::string text = "message: " + std::string(message.pattern) + "\n";
  const Pieces names = PieceNames(message);
  for (std::size_t i = 0; i < maxPieces && !names[i].empty(); ++i) {
    text += "  " + std::string(names[i]) + ": " + Printable(entry.pieces[i]) + "\n";
  }
  text += "event:   " + std::string(TraitsOf(message.event).name) + "\n";
  text += "means:   " + std::string(message.meaning) + "\n";
  if (*message.advice != '\0') text += "do:      " + std::string(message.advice) + "\n";
  if (message.id == MessageId::CurlCode) {
    const int code = static_cast<int>(NumberIn(entry.pieces[0]));
    text += "code:    " + CurlText(code) + "\n         " + CurlAdvice(code) + "\n";
  }
  return text;
}

}  // namespace

std::string CatalogueText() {
  std::string text = head;
  for (const Message& message : TheCatalogue()) text += Section(message);
  return text;
}

std::string ExplainLine(std::string_view line) {
  std::string text;
  LogParser parser(0, [&text](const Entry& entry) { text = Explained(entry); });
  parser.Take({line, false});
  return text;
}

}  // namespace devicelog
