// A process's life: fetched ahead, launched, failed, rolled back.
#include <algorithm>

#include "tools/tolvar/log/device.h"

namespace devicelog {
namespace {

using State = ProcessState::State;

constexpr std::int64_t maxBackoffSec = 64;

// Whether the message is one of a launch, as it follows a fetch ahead unless the process is busy.
bool IsOfLaunch(MessageId id) {
  return id == MessageId::Launched || id == MessageId::LaunchSucceeded ||
         id == MessageId::LaunchFailed || id == MessageId::NoComponents ||
         id == MessageId::CannotStop;
}

}  // namespace

void Device::ConcludeFetchAhead(const Entry& entry) {
  if (fetchedAhead_.empty() || entry.message->isOfComponent) return;
  const std::string name = std::move(fetchedAhead_);
  fetchedAhead_.clear();
  if (IsOfLaunch(entry.message->id) && entry.pieces[0] == name) return;
  ProcessState& process = Find(name);
  Event& event = Begin(entry, Event::Kind::WaitingBusy, name);
  event.isNoise = process.isWaiting;
  event.from = process.version;
  event.to = process.pending;
  event.text.clear();  // no line says it
  process.isWaiting = true;
  Emit();
}

void Device::OnFetchedAhead(const Entry& entry) {
  ProcessState& process = Find(entry.pieces[0]);
  if (process.pending.text.empty()) process.pending = WorkVersion(process);
  // While it waits, a fetch that brings the same version again fetches ahead again.
  const bool isRepeated = process.isWaiting && process.isFetchedAhead;
  for (std::size_t i = 0; i < workCount_; ++i) work_[i].isNoise |= process.isWaiting;
  FlushWork(entry.pieces[0]);
  process.hasPending = process.isFetchedAhead = true;
  Event& event = Begin(entry, Event::Kind::FetchedAhead, entry.pieces[0]);
  event.isNoise = isRepeated || process.isWaiting;
  event.from = process.version;
  event.to = process.pending;
  Emit();
  fetchedAhead_ = entry.pieces[0];
}

void Device::OnNotFetchedAhead(const Entry& entry) {
  const std::string reason = problem_;
  FlushWork(entry.pieces[0]);
  ProcessState& process = Find(entry.pieces[0]);
  process.hasPending = true;
  Event& event = Begin(entry, Event::Kind::FetchAheadFailed, entry.pieces[0]);
  event.to = process.pending;
  event.reason = reason;
  event.isNoise = process.isWaiting && reason == fetchAheadProblem_;
  fetchAheadProblem_ = reason;
  Emit();
}

// Why the launch that the next line gives up failed.
void Device::OnNoComponents(const Entry& entry) {
  const std::string reason = problem_;
  FlushWork(entry.pieces[0]);
  problem_ = reason.empty() ? "a component is missing" : reason;
}

// A launch with a version waiting means that the process was stopped and the version took over.
void Device::TakeOver(ProcessState& process, const Entry& entry) {
  if (!process.hasPending) return;
  if (process.state != State::Dropped) {
    Event& event = Begin(entry, Event::Kind::Stopped, entry.pieces[0]);
    event.from = process.version;
    event.reason = "for " + (process.pending.text.empty() ? "another version"
                                                          : devicelog::ToText(process.pending));
    event.text.clear();  // no line says it
    Emit();
  }
  process.version = process.pending;
  process.pending = Version();
  process.hasPending = process.isFetchedAhead = process.isWaiting = false;
  process.isFailing = false;
  process.backoffSec = minBackoffSec;
  process.failuresInRow = 0;
}

// The version of all files that the work at hand brought, if they have the same.
Version Device::WorkVersion(const ProcessState& process) const {
  if (fileCount_ == 0 || process.hasMisleadingComponents) return Version();
  const auto end = files_.begin() + static_cast<std::ptrdiff_t>(fileCount_);
  const bool same = std::all_of(files_.begin(), end, [this](const FileVersion& file) {
    return file.version == files_.front().version;
  });
  return same ? Version{files_.front().version, Version::Known::FromComponents} : Version();
}

std::string Device::FileSources() const {
  std::string sources;
  const auto add = [&sources](std::uint32_t count, const char* words) {
    if (count == 0) return;
    sources += sources.empty() ? "files " : ", ";
    sources += words;
  };
  add(foundInPlace_, "in place or on the card");
  add(foundAhead_, "fetched ahead");
  add(downloaded_, "downloaded");
  return sources;
}

// What the files of a launch say about a version that is not known for sure, or no longer.
void Device::AdoptVersion(ProcessState& process, const Version& byFiles) {
  const bool isSure = process.version.IsSure() && !process.isFresh;
  if (isSure || (byFiles.text.empty() && !process.isFresh)) return;
  process.version = byFiles;
}

void Device::OnLaunched(const Entry& entry) {
  ProcessState& process = Find(entry.pieces[0]);
  const Version byFiles = WorkVersion(process);
  const std::string sources = FileSources();
  if (fileCount_ > 0) {
    process.components.assign(files_.begin(),
                              files_.begin() + static_cast<std::ptrdiff_t>(fileCount_));
  }
  FlushWork(entry.pieces[0]);
  const Version before = process.version;
  const bool isSwitch = process.hasPending;
  TakeOver(process, entry);
  AdoptVersion(process, byFiles);
  const bool isRestart = process.isFailing && !isSwitch;
  if (isRestart) ++process.restarts;
  ++process.launches;
  process.isFailing = false;
  process.isLaunching = process.wasLaunchedSinceReport = true;
  process.backoffSec = minBackoffSec;
  process.failuresInRow = 0;
  SetState(process, State::Running, entry.when);
  process.since = entry.when;
  Event& event = Begin(entry, Event::Kind::Launched, entry.pieces[0]);
  if (isSwitch) event.from = before;
  event.to = process.version;
  if (isRestart) event.count = process.restarts;
  event.reason = sources;
  Emit();
}

void Device::OnLaunchSucceeded(const Entry& entry) {
  if (!Find(entry.pieces[0]).isLaunching) OnLaunched(entry);  // the line before it was lost
  Find(entry.pieces[0]).isLaunching = false;
}

void Device::NoteFailure(ProcessState& process, const Entry& entry, std::string words) {
  process.lastFailure = std::move(words);
  process.lastFailureAt = entry.when;
  process.isFailing = true;
  SetState(process, State::Failed, entry.when);
}

void Device::OnLaunchFailed(const Entry& entry) {
  ProcessState& process = Find(entry.pieces[0]);
  std::string reason = problem_.empty() ? "the shell could not be run" : problem_;
  const Version byFiles = WorkVersion(process);
  FlushWork(entry.pieces[0]);
  TakeOver(process, entry);
  AdoptVersion(process, byFiles);
  ++process.launches;
  ++process.failuresInRow;
  process.wasLaunchedSinceReport = true;
  process.backoffSec = std::min(2 * process.backoffSec, maxBackoffSec);
  NoteFailure(process, entry, reason);
  Event& event = Begin(entry, Event::Kind::LaunchFailed, entry.pieces[0]);
  event.to = process.version;
  event.reason = reason;
  event.seconds = process.backoffSec;
  event.count = process.failuresInRow;
  Emit();
}

void Device::OnHeartbeatLost(const Entry& entry) {
  ProcessState& process = Find(entry.pieces[0]);
  NoteFailure(process, entry, "heartbeat lost");
  Event& event = Begin(entry, Event::Kind::HeartbeatLost, entry.pieces[0]);
  event.from = process.version;
  event.count = NumberIn(entry.pieces[1]);
  Emit();
}

void Device::OnRolledBack(const Entry& entry) {
  constexpr std::size_t maxVersion = 64;
  ProcessState& process = Find(entry.pieces[0]);
  process.pending = {std::string(entry.pieces[1].substr(0, maxVersion)),
                     Version::Known::FromRollback};
  process.hasPending = true;
  process.isFetchedAhead = false;
  ++process.rollbacks;
  hasRequest_ = isAnswered_ = false;
  Event& event = Begin(entry, Event::Kind::RolledBack, entry.pieces[0]);
  event.from = process.version;
  event.to = process.pending;
  Emit();
}

void Device::OnRollbackProblem(const Entry& entry) {
  hasRequest_ = isAnswered_ = false;
  switch (entry.message->id) {
    case MessageId::LastGoodEmpty:
      problem_ = "the cloud knows no last known good version of it";
      return;
    case MessageId::LastGoodOther:
      problem_ =
          "the cloud answered with the process " + std::string(entry.pieces[1].substr(0, 256));
      return;
    default:
      problem_ = "the cloud's answer is no list: " + std::string(entry.pieces[0].substr(0, 120));
  }
}

void Device::OnRollbackFailed(const Entry& entry) {
  Event& event = Begin(entry, Event::Kind::RollbackFailed, entry.pieces[0]);
  event.from = Find(entry.pieces[0]).version;
  event.reason = problem_;
  Emit();
  problem_.clear();
}

}  // namespace devicelog
