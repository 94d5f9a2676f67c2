#include "tools/tolvar/log/device.h"

#include <array>

namespace devicelog {
namespace {

constexpr std::size_t maxProcesses = 1024;
constexpr std::size_t maxName = 256;
constexpr std::size_t maxText = 2048;  // of a line that is kept as evidence

}  // namespace

using Id = MessageId;
using D = Device;

const std::array<Device::Row, messageCount> Device::handlers = {{
    {Id::BindFailed, &D::OnSocketFailed},
    {Id::NoSocket, &D::OnSocketFailed},
    {Id::NoSocketTimeout, &D::OnSocketFailed},
    {Id::NoConfig, &D::OnSetting},
    {Id::FetchInterval, &D::OnSetting},
    {Id::HeartbeatInterval, &D::OnSetting},
    {Id::ReportInterval, &D::OnSetting},
    {Id::FailureReportInterval, &D::OnSetting},
    {Id::MacAddress, &D::OnIdentity},
    {Id::GotToken, &D::OnToken},
    {Id::NoIdentity, &D::OnNoIdentity},
    {Id::CurlCode, &D::OnCurlCode},
    {Id::ListAnswered, &D::OnListAnswered},
    {Id::NoAnswerForList, &D::OnNoAnswerForList},
    {Id::ParsedComponent, &D::OnParsedComponent},
    {Id::NoList, &D::OnNoList},
    {Id::NewVersion, &D::OnNewVersion},
    {Id::Dropped, &D::OnDropped},
    {Id::GotList, &D::OnGotList},
    {Id::BootstrapLatest, &D::OnDetail},
    {Id::BootstrapLastGood, &D::OnFellBack},
    {Id::LastGoodFailed, &D::OnLastGoodFailed},
    {Id::FetchFailed, &D::OnDetail},
    {Id::LocationAnswered, &D::OnTransfer},
    {Id::ParsedLocation, &D::OnLocation},
    {Id::NoLocation, &D::OnNoLocation},
    {Id::LocationUnusable, &D::OnLocationUnusable},
    {Id::FileAnswered, &D::OnTransfer},
    {Id::NoFile, &D::OnNoFile},
    {Id::NoDirectory, &D::OnNoDirectory},
    {Id::CannotOpen, &D::OnDetail},
    {Id::CannotWrite, &D::OnCannotWrite},
    {Id::Compared, &D::OnCompared},
    {Id::Mismatch, &D::OnMismatch},
    {Id::Downloaded, &D::OnDownloaded},
    {Id::FoundCached, &D::OnFound},
    {Id::FoundAhead, &D::OnFound},
    {Id::FetchedAhead, &D::OnFetchedAhead},
    {Id::NotFetchedAhead, &D::OnNotFetchedAhead},
    {Id::CannotStop, &D::OnDetail},
    {Id::NoComponents, &D::OnNoComponents},
    {Id::Launched, &D::OnLaunched},
    {Id::LaunchSucceeded, &D::OnLaunchSucceeded},
    {Id::LaunchFailed, &D::OnLaunchFailed},
    {Id::HeartbeatLost, &D::OnHeartbeatLost},
    {Id::RolledBack, &D::OnRolledBack},
    {Id::LastGoodUnusable, &D::OnRollbackProblem},
    {Id::LastGoodEmpty, &D::OnRollbackProblem},
    {Id::LastGoodOther, &D::OnRollbackProblem},
    {Id::RollbackFailed, &D::OnRollbackFailed},
    {Id::Report, &D::OnReport},
}};

void Device::Take(const Entry& entry) {
  CheckClock(entry);
  ConcludeRequest(entry);
  ConcludeFetchAhead(entry);
  (this->*handlers[static_cast<std::size_t>(entry.message->id)].handler)(entry);
}

void Device::Finish() { FlushWork({}); }

void Device::ForgetCounts() {
  for (auto& [name, process] : processes_) {
    process.launches = process.restarts = process.rollbacks = 0;
    process.lastFailure.clear();
  }
}

void Device::OnDetail(const Entry& /*entry*/) {}

// Back by more than lines of several writers may be out of order, or ahead by more than any
// interval: a clock that was set. Of many, only the first are told, since then two logs are mixed.
void Device::CheckClock(const Entry& entry) {
  constexpr std::int64_t backSec = 60;
  constexpr std::int64_t aheadSec = std::int64_t{14} * 86'400;
  constexpr std::uint32_t told = 20;
  const Moment previous = newest_;
  newest_ = entry.when;
  if (previous.kind != entry.when.kind || !previous.IsKnown()) return;
  const std::int64_t stepSec = (entry.when.micros - previous.micros) / secondMicros;
  if (stepSec > -backSec && stepSec < aheadSec) return;
  Event& event = Begin(entry, Event::Kind::ClockJumped);
  event.seconds = stepSec;
  event.isNoise = ++clockJumps_ > told;
  Emit();
}

ProcessState& Device::Find(std::string_view name) {
  name = name.substr(0, maxName);
  const auto found = processes_.find(name);
  if (found != processes_.end()) return found->second;
  if (processes_.size() < maxProcesses) {
    ProcessState& process = processes_[std::string(name)];
    if (hasStarted_) process.backoffSec = minBackoffSec;
    return process;
  }
  ++unfollowedNames_;
  unfollowed_ = ProcessState();
  return unfollowed_;
}

void Device::SetState(ProcessState& process, ProcessState::State state, const Moment& when) {
  process.isFresh = false;
  if (process.state == state) return;
  process.state = state;
  process.since = when;
}

namespace {

void Clear(Event& event) {
  event.isNoise = event.isHopeless = false;
  event.from.text.clear();
  event.to.text.clear();
  event.from.known = event.to.known = Version::Known::No;
  event.count = 0;
  event.seconds = 0;
  event.curlCode = 0;
  event.subject.clear();
  event.reason.clear();
}

}  // namespace

void Device::Fill(Event& event, const Entry& entry, Event::Kind kind,
                  std::string_view process) const {
  Clear(event);
  event.kind = kind;
  event.when = entry.when;
  event.process = process.substr(0, maxName);
  if (keepsTexts_) event.text = entry.text.substr(0, maxText);
}

Event& Device::Begin(const Entry& entry, Event::Kind kind, std::string_view process) {
  Fill(event_, entry, kind, process);
  return event_;
}

void Device::Emit() {
  if (sink_) sink_(event_);
}

Event& Device::AddToWork(const Entry& entry, Event::Kind kind) {
  constexpr std::size_t maxWork = 256;
  if (workCount_ == maxWork) FlushWork({});
  if (workCount_ == work_.size()) work_.emplace_back();
  Event& event = work_[workCount_++];
  Fill(event, entry, kind, {});
  return event;
}

// The work was that on `process`, or on one that the log does not name.
void Device::FlushWork(std::string_view process) {
  for (std::size_t i = 0; i < workCount_; ++i) {
    work_[i].process = process.substr(0, maxName);
    if (sink_) sink_(work_[i]);
  }
  workCount_ = fileCount_ = 0;
  foundInPlace_ = foundAhead_ = downloaded_ = 0;
  problem_.clear();
}

}  // namespace devicelog
