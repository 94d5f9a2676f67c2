#include "tools/tolvar/log/log_parser.h"

#include <utility>

namespace devicelog {

void LogParser::Take(const LineReader::Line& line) {
  ++summary_.lines;
  if (line.isCut) ++summary_.cut;
  Entry entry;
  const std::string_view text = stamps_.TakeOff(line.text, entry.when);
  entry.when.line = summary_.lines;
  entry.isCut = line.isCut;
  if (!Read(text, entry)) return;
  if (++summary_.recognised == 1) summary_.first = entry.when;
  summary_.last = entry.when;
  sink_(entry);
}

// With or without a tag before it, whichever the line before it had first.
bool LogParser::Read(std::string_view text, Entry& entry) {
  for (const bool tagged : {hasTags_, !hasTags_}) {
    entry.text = tagged ? StampReader::BehindTag(text) : text;
    entry.message = Recognise(entry.text, entry.pieces);
    if (entry.message == nullptr) continue;
    hasTags_ = tagged;
    return true;
  }
  return false;
}

}  // namespace devicelog
