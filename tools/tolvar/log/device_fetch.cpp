// The list of processes: asked for, answered, compared with what runs.
#include <algorithm>

#include "tools/tolvar/log/curl_code.h"
#include "tools/tolvar/log/device.h"

namespace devicelog {
namespace {

constexpr std::size_t maxListed = 4096;
constexpr std::size_t maxFile = 256;
constexpr std::size_t maxVersion = 64;

// Whether a line with this message can be the outcome of a request for a list.
bool EndsRequest(MessageId id) {
  switch (id) {
    case MessageId::ParsedComponent:
    case MessageId::NoAnswerForList:
    case MessageId::NoList:
    case MessageId::NewVersion:
    case MessageId::Dropped:
    case MessageId::GotList:
    case MessageId::LastGoodFailed:
    case MessageId::RolledBack:
    case MessageId::LastGoodUnusable:
    case MessageId::LastGoodEmpty:
    case MessageId::LastGoodOther:
      return true;
    default:
      return false;
  }
}

}  // namespace

void Device::OnListAnswered(const Entry& entry) {
  hasRequest_ = true;
  isAnswered_ = entry.pieces[1] == "0";
  listedCount_ = 0;
  listedHash_ = 0;
  if (!isAnswered_) FailTransfer(entry, false, entry.pieces[0]);
}

// An answered request with no outcome was one for a rollback, and the version that runs is the one
// known as good. Which process asked is plain when only one is failing.
void Device::ConcludeRequest(const Entry& entry) {
  if (!hasRequest_ || !isAnswered_ || EndsRequest(entry.message->id)) return;
  hasRequest_ = isAnswered_ = false;
  std::string_view process;
  std::size_t failing = 0;
  for (const auto& [name, state] : processes_) {
    if (!state.isFailing) continue;
    process = name;
    ++failing;
  }
  if (failing == 0) return;
  Event& event = Begin(entry, Event::Kind::RollbackToSame, failing == 1 ? process : "");
  event.reason = "the version that fails is the last known good one";
  event.text.clear();  // no line says it
  Emit();
}

void Device::OnParsedComponent(const Entry& entry) {
  if (listedCount_ == maxListed) return;
  if (listedCount_ == listed_.size()) listed_.emplace_back();
  FileVersion& listed = listed_[listedCount_++];
  listed.file = entry.pieces[0].substr(0, maxFile);
  listed.version = entry.pieces[1].substr(0, maxVersion);
  constexpr std::size_t multiplier = 0x01000193;
  const std::hash<std::string_view> hash;
  listedHash_ =
      (listedHash_ * multiplier + hash(entry.pieces[0])) * multiplier + hash(entry.pieces[1]);
}

void Device::FailFetch(const Entry& entry, Event::Kind kind, const std::string& reason) {
  Event& event = Begin(entry, kind);
  event.count = ++fetchFailures_;
  event.isNoise = fetchFailures_ > 1 && reason == fetchProblem_;
  event.reason = reason;
  fetchProblem_ = reason;
  Emit();
  hasRequest_ = isAnswered_ = false;
  problem_.clear();
}

void Device::OnNoAnswerForList(const Entry& entry) {
  if (!hasRequest_)
    problem_ = "no request was sent: the token cannot be read, or memory is missing";
  FailFetch(entry, Event::Kind::FetchFailed, problem_);
}

void Device::OnNoList(const Entry& entry) {
  constexpr std::size_t shown = 120;
  const std::string_view answer = entry.pieces[0];
  std::string reason = answer.empty() ? "an empty answer" : std::string(answer.substr(0, shown));
  if (answer.size() > shown) reason += "...";
  FailFetch(entry, Event::Kind::ManifestUnusable, reason);
}

// The version that the list at hand gives to the process's components, if it gives them one.
Version Device::ListedVersion(const ProcessState& process) const {
  Version version;
  if (process.hasMisleadingComponents) return version;
  const auto isOfProcess = [&](const std::string& file) {
    return std::any_of(process.components.begin(), process.components.end(),
                       [&](const FileVersion& own) { return own.file == file; });
  };
  for (std::size_t i = 0; i < listedCount_; ++i) {
    if (!isOfProcess(listed_[i].file)) continue;
    if (version.text.empty()) version.text = listed_[i].version;
    if (version.text != listed_[i].version) return Version();
  }
  if (!version.text.empty()) version.known = Version::Known::FromComponents;
  return version;
}

void Device::OnNewVersion(const Entry& entry) {
  ProcessState& process = Find(entry.pieces[0]);
  const Version pending = ListedVersion(process);
  Event& event = Begin(entry, Event::Kind::NewVersion, entry.pieces[0]);
  event.from = process.version;
  event.to = pending;
  // As long as it is not switched to, every fetch says it again.
  event.isNoise = process.hasPending && process.pending.text == pending.text;
  hasListChanged_ = hasListChanged_ || !event.isNoise;
  process.hasPending = true;
  process.pending = pending;
  process.isFetchedAhead = process.isFetchedAhead && event.isNoise;
  Emit();
}

void Device::OnDropped(const Entry& entry) {
  ProcessState& process = Find(entry.pieces[0]);
  Event& event = Begin(entry, Event::Kind::Dropped, entry.pieces[0]);
  event.from = process.version;
  event.reason = "no longer in the list, killed";
  Emit();
  SetState(process, ProcessState::State::Dropped, entry.when);
  process.hasPending = process.isWaiting = process.isFailing = false;
  hasListChanged_ = true;
}

void Device::OnGotList(const Entry& entry) {
  hasListChanged_ = hasListChanged_ || listedHash_ != fetchedHash_ || fetchFailures_ > 0;
  Event& event =
      Begin(entry, hasListChanged_ ? Event::Kind::Fetched : Event::Kind::FetchedUnchanged);
  event.isNoise = !hasListChanged_;
  event.count = NumberIn(entry.pieces[0]);
  if (fetchFailures_ > 0) {
    event.reason = "after " + std::to_string(fetchFailures_) + " in vain";
  }
  Emit();
  fetchedHash_ = listedHash_;
  fetchFailures_ = 0;
  hasRequest_ = isAnswered_ = hasListChanged_ = isStarting_ = false;
}

void Device::OnFellBack(const Entry& entry) {
  (void)Begin(entry, Event::Kind::FellBack);
  Emit();
}

// During a start the fetches before it said it all; else it is the reason of a failed rollback.
void Device::OnLastGoodFailed(const Entry& /*entry*/) {
  const std::string transfer = problem_.empty() ? "" : ": " + problem_;
  problem_ = "the last known good version could not be asked for" + transfer;
  hasRequest_ = isAnswered_ = false;
}

}  // namespace devicelog
