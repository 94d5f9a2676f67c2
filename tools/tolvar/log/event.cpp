#include "tools/tolvar/log/event.h"

#include <array>
#include <string_view>

namespace devicelog {
namespace {

using Kind = Event::Kind;

constexpr std::size_t kindCount = static_cast<std::size_t>(Kind::Count);

// In the order of the kinds. Braces hold a field of the event with what stands around it, all of
// which is left out where the field is empty.
// clang-format off
constexpr std::array<KindTraits, kindCount> traitsTable = {{
    {Kind::Detail, "detail", "", "", Tone::Plain},
    {Kind::SupervisorStarted, "supervisor-started", "supervisor started",
     "The supervisor started, and with it every process anew.", Tone::Notable},
    {Kind::IdentityMissing, "identity-missing", "no identity{: |reason|}",
     "The supervisor could not start{: |reason|}.", Tone::Bad},
    {Kind::SocketFailed, "socket-failed", "no heartbeat socket{: |reason|}",
     "The supervisor could not take its heartbeat socket{: |reason|}.", Tone::Bad},
    {Kind::Fetched, "fetched", "list fetched{, |processes|}{, |reason|}",
     "The list was fetched{, |processes|}{, |reason|}.", Tone::Plain},
    {Kind::FetchedUnchanged, "fetched-unchanged", "list fetched, nothing new",
     "The list was fetched and had nothing new.", Tone::Plain},
    {Kind::FetchFailed, "fetch-failed", "list not fetched{: |reason|}",
     "The list could not be fetched{: |reason|}.", Tone::Bad},
    {Kind::ManifestUnusable, "manifest-unusable", "the answer is no list of processes{: |reason|}",
     "The cloud's answer was no list of processes{: |reason|}.", Tone::Bad},
    {Kind::FellBack, "fell-back", "started with the last known good versions, not with \"latest\"",
     "The supervisor started with the last known good versions, since \"latest\" could not be "
     "used.", Tone::Bad},
    {Kind::NewVersion, "new-version", "new version seen{, |switch|}",
     "The list had another version{: |switch|}.", Tone::Notable},
    {Kind::FetchedAhead, "fetched-ahead", "fetched ahead{ |to|}",
     "The files{ of |to|} were fetched ahead, beside the running ones.", Tone::Plain},
    {Kind::FetchAheadFailed, "fetch-ahead-failed", "not fetched ahead{ |to|}{: |reason|}",
     "The files{ of |to|} could not be fetched ahead{: |reason|}.", Tone::Bad},
    {Kind::WaitingBusy, "waiting-busy", "{|to| }waits, the process is busy",
     "The switch{ to |to|} waited, since the process said that it was busy.", Tone::Notable},
    {Kind::Downloaded, "downloaded", "downloaded{ |subject|}{ |to|}",
     "The file{ |subject|}{ |to|} was downloaded and verified.", Tone::Plain},
    {Kind::TransferFailed, "transfer-failed", "transfer failed{: |reason|}{, |subject|}",
     "A transfer failed{: |reason|}{, |subject|}.", Tone::Bad},
    {Kind::ComponentBad, "component-bad", "file does not verify{: |subject|}{, |reason|}",
     "A file did not verify{: |subject|}{, |reason|}.", Tone::Bad},
    {Kind::StorageFailed, "storage-failed", "cannot write{ |subject|}{: |reason|}",
     "A file could not be written{: |subject|}{, |reason|}.", Tone::Bad},
    {Kind::Stopped, "stopped", "stopped{ |from|}{ |reason|}",
     "The running instance{ of |from|} was stopped{ |reason|}.", Tone::Plain},
    {Kind::Launched, "launched", "launched{ |to|}{ (|reason|)}",
     "It was launched{ as |to|}{ (|reason|)}.", Tone::Good},
    {Kind::LaunchFailed, "launch-failed", "launch failed{, backs off |seconds| s}{: |reason|}",
     "The launch{ of |to|} failed{: |reason|}{. The next attempt was to come after |seconds| s}.",
     Tone::Bad},
    {Kind::HeartbeatLost, "heartbeat-lost",
     "heartbeat lost{ by |from|}{, |count| since the last report}",
     "The heartbeat{ of |from|} was lost{, |count| since the last report}: it hung, died, or "
     "never started.", Tone::Bad},
    {Kind::RolledBack, "rolled-back", "rolled back{, |switch|}",
     "Its retries were used up, and it was rolled back{: |switch|}.", Tone::Bad},
    {Kind::RollbackFailed, "rollback-failed", "no rollback{: |reason|}",
     "Its retries were used up, but there was no rollback{: |reason|}.", Tone::Bad},
    {Kind::RollbackToSame, "rollback-to-same", "no rollback{: |reason|}",
     "Its retries were used up, but there was nothing to go back to{: |reason|}.", Tone::Bad},
    {Kind::Dropped, "dropped", "dropped{ |from|}{: |reason|}",
     "It was dropped{: |reason|}.", Tone::Notable},
    {Kind::VersionReported, "version-reported", "reported as{ |to|}",
     "A report called the running version{ |to|}.", Tone::Plain},
    {Kind::FoundHealthy, "found-healthy", "healthy{ |to|}",
     "A report found it running{ as |to|}, without a failure since the report before.", Tone::Good},
    {Kind::ClockJumped, "clock-jumped", "the log's clock jumped {|jump|}",
     "The log's clock jumped {|jump|}.", Tone::Notable},
}};
// clang-format on

std::string Processes(std::uint32_t count) {
  return std::to_string(count) + (count == 1 ? " process" : " processes");
}

std::string JumpText(std::int64_t seconds) {
  const bool isBack = seconds < 0;
  return (isBack ? "back by " : "ahead by ") +
         LengthText((isBack ? -seconds : seconds) * secondMicros);
}

std::string Known(const Version& version) { return version.text.empty() ? "" : ToText(version); }

std::string Number(std::int64_t number) { return number == 0 ? "" : std::to_string(number); }

struct Field {
  std::string_view name;
  std::string (*text)(const Event&);
};
constexpr std::array<Field, 10> fields = {{
    {"reason", [](const Event& e) { return e.reason; }},
    {"subject", [](const Event& e) { return e.subject; }},
    {"from", [](const Event& e) { return Known(e.from); }},
    {"to",
     [](const Event& e) {
       // A file's version is said outright, whatever is known of its process.
       return e.kind == Kind::Downloaded ? e.to.text : Known(e.to);
     }},
    {"switch",
     [](const Event& e) {
       const bool isKnown = !e.from.text.empty() || !e.to.text.empty();
       return isKnown ? ToText(e.from) + " -> " + ToText(e.to) : std::string();
     }},
    {"count", [](const Event& e) { return Number(e.count); }},
    {"processes", [](const Event& e) { return Processes(e.count); }},
    {"seconds", [](const Event& e) { return Number(e.seconds); }},
    {"jump", [](const Event& e) { return JumpText(e.seconds); }},
    {"", [](const Event&) { return std::string(); }},
}};

std::string FieldText(std::string_view name, const Event& event) {
  std::size_t i = 0;
  while (fields[i].name != name && !fields[i].name.empty()) ++i;
  return fields[i].text(event);
}

// "before|field|after".
std::string Expand(std::string_view slot, const Event& event) {
  const std::size_t first = slot.find('|');
  const std::size_t second = slot.find('|', first + 1);
  const std::string text = FieldText(slot.substr(first + 1, second - first - 1), event);
  if (text.empty()) return "";
  return std::string(slot.substr(0, first)) + text + std::string(slot.substr(second + 1));
}

std::string Fill(std::string_view pattern, const Event& event) {
  std::string text;
  while (!pattern.empty()) {
    const std::size_t open = std::min(pattern.find('{'), pattern.size());
    text += pattern.substr(0, open);
    pattern.remove_prefix(open);
    if (pattern.empty()) break;
    const std::size_t close = pattern.find('}');
    text += Expand(pattern.substr(1, close - 1), event);
    pattern.remove_prefix(close + 1);
  }
  return text;
}

}  // namespace

const KindTraits& TraitsOf(Kind kind) { return traitsTable[static_cast<std::size_t>(kind)]; }

std::string ToText(const Version& version) {
  if (version.text.empty()) return "?";
  return version.IsSure() ? version.text : version.text + "?";
}

std::string InWords(const Event& event) { return Fill(TraitsOf(event.kind).words, event); }

std::string AsTale(const Event& event) { return Fill(TraitsOf(event.kind).tale, event); }

}  // namespace devicelog
