// The catalogue: every message of the product, once. Whatever reads a device's log reads it through
// this table.
//
// A pattern is the message with its pieces named in braces. A piece is any text, empty too; one
// marked with "#" is decimal digits. Where several readings are possible, a piece ends at the first
// place where what follows it in the pattern is found; before a last piece of digits, at the last.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/tolvar/log/event.h"

namespace devicelog {

// In the order of the table.
enum class MessageId : std::uint8_t {
  BindFailed,
  NoSocket,
  NoSocketTimeout,
  NoConfig,
  FetchInterval,
  HeartbeatInterval,
  ReportInterval,
  FailureReportInterval,
  MacAddress,
  GotToken,
  NoIdentity,
  CurlCode,
  ListAnswered,
  NoAnswerForList,
  ParsedComponent,
  NoList,
  NewVersion,
  Dropped,
  GotList,
  BootstrapLatest,
  BootstrapLastGood,
  LastGoodFailed,
  FetchFailed,
  LocationAnswered,
  ParsedLocation,
  NoLocation,
  LocationUnusable,
  FileAnswered,
  NoFile,
  NoDirectory,
  CannotOpen,
  CannotWrite,
  Compared,
  Mismatch,
  Downloaded,
  FoundCached,
  FoundAhead,
  FetchedAhead,
  NotFetchedAhead,
  CannotStop,
  NoComponents,
  Launched,
  LaunchSucceeded,
  LaunchFailed,
  HeartbeatLost,
  RolledBack,
  LastGoodUnusable,
  LastGoodEmpty,
  LastGoodOther,
  RollbackFailed,
  Report,
  Count,
};

constexpr std::size_t messageCount = static_cast<std::size_t>(MessageId::Count);

struct Message {
  MessageId id;
  Event::Kind event;  // Detail where a later line completes it
  // Of the work on a process's components, whose name only a later line gives.
  bool isOfComponent;
  const char* pattern;
  const char* meaning;
  const char* advice;  // empty: nothing to do
};

using Catalogue = std::array<Message, messageCount>;
[[nodiscard]] const Catalogue& TheCatalogue();

constexpr std::size_t maxPieces = 3;
using Pieces = std::array<std::string_view, maxPieces>;

// The message that `text`, a line without its stamp, is, or null for another program's line. The
// pieces are views into `text`, in the pattern's order; those that the pattern lacks are empty.
[[nodiscard]] const Message* Recognise(std::string_view text, Pieces& pieces);

// The number of a piece of digits; the largest there is where it is larger.
[[nodiscard]] std::uint32_t NumberIn(std::string_view digits);

// The names of a pattern's pieces in their order, without braces and marks; empty ones fill up.
[[nodiscard]] Pieces PieceNames(const Message& message);

}  // namespace devicelog
