// The device as its log tells it: follows the supervisor line by line and says what happened. The
// one place where lines become events and states; everything that is shown is made of these.
//
// The log names no process on the lines of components, and no version on most lines of processes.
// What can be derived is: the supervisor does one thing at a time, so component lines belong to the
// process that the next line about a process names; a request without an outcome was one for a
// rollback to the version that runs; a fetch ahead without a launch behind it waits because the
// process is busy. What cannot be derived stays unknown.
//
// Memory is bounded whatever the log says: names and files beyond a limit are not followed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/tolvar/log/catalogue.h"
#include "tools/tolvar/log/event.h"
#include "tools/tolvar/log/process_state.h"

namespace devicelog {

// A line of the product, as the catalogue reads it.
struct Entry {
  const Message* message = nullptr;
  Pieces pieces;
  Moment when;
  std::string_view text;  // without the stamp
  bool isCut = false;     // its end was dropped
};

class Device {
 public:
  // Gets each event as it is known, in the order in which they happened; valid during the call.
  using Sink = std::function<void(const Event&)>;

  // `keepsTexts`: whether the sink looks at the events' texts; copying them takes time.
  Device(bool keepsTexts, Sink sink) : keepsTexts_(keepsTexts), sink_(std::move(sink)) {}
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  void Take(const Entry& entry);
  // No line follows: says what only a following line would have brought out.
  void Finish();
  // Sets every counter to 0, states and versions stay.
  void ForgetCounts();

  [[nodiscard]] const ProcessStates& Processes() const { return processes_; }
  [[nodiscard]] std::uint64_t UnfollowedNames() const { return unfollowedNames_; }

 private:
  using Handler = void (Device::*)(const Entry&);
  struct Row {
    MessageId id;
    Handler handler;
  };
  static const std::array<Row, messageCount> handlers;  // in the order of the messages

  // device_supervisor.cpp
  void OnSocketFailed(const Entry& entry);
  void OnSetting(const Entry& entry);
  void OnIdentity(const Entry& entry);
  void OnNoIdentity(const Entry& entry);
  void OnToken(const Entry& entry);
  void SetStarting(const Entry& entry);
  // device_fetch.cpp
  void OnListAnswered(const Entry& entry);
  void OnNoAnswerForList(const Entry& entry);
  void OnParsedComponent(const Entry& entry);
  void OnNoList(const Entry& entry);
  void OnNewVersion(const Entry& entry);
  void OnDropped(const Entry& entry);
  void OnGotList(const Entry& entry);
  void OnFellBack(const Entry& entry);
  void OnLastGoodFailed(const Entry& entry);
  void FailFetch(const Entry& entry, Event::Kind kind, const std::string& reason);
  void ConcludeRequest(const Entry& entry);
  [[nodiscard]] Version ListedVersion(const ProcessState& process) const;
  // device_component.cpp
  void OnCurlCode(const Entry& entry);
  void OnTransfer(const Entry& entry);
  void OnLocation(const Entry& entry);
  void OnNoLocation(const Entry& entry);
  void OnLocationUnusable(const Entry& entry);
  void OnNoFile(const Entry& entry);
  void OnNoDirectory(const Entry& entry);
  void OnCannotWrite(const Entry& entry);
  void OnCompared(const Entry& entry);
  void OnMismatch(const Entry& entry);
  void OnDownloaded(const Entry& entry);
  void OnFound(const Entry& entry);
  void AddFile(const Entry& entry);
  Event& AddToWork(const Entry& entry, Event::Kind kind);
  void FailTransfer(const Entry& entry, bool isOfComponent, std::string_view subject);
  // device_process.cpp
  void OnFetchedAhead(const Entry& entry);
  void OnNotFetchedAhead(const Entry& entry);
  void OnNoComponents(const Entry& entry);
  void OnLaunched(const Entry& entry);
  void OnLaunchSucceeded(const Entry& entry);
  void OnLaunchFailed(const Entry& entry);
  void OnHeartbeatLost(const Entry& entry);
  void OnRolledBack(const Entry& entry);
  void OnRollbackProblem(const Entry& entry);
  void OnRollbackFailed(const Entry& entry);
  void ConcludeFetchAhead(const Entry& entry);
  void TakeOver(ProcessState& process, const Entry& entry);
  static void AdoptVersion(ProcessState& process, const Version& byFiles);
  void NoteFailure(ProcessState& process, const Entry& entry, std::string words);
  [[nodiscard]] Version WorkVersion(const ProcessState& process) const;
  [[nodiscard]] std::string FileSources() const;
  // device_report.cpp
  void OnReport(const Entry& entry);
  void TakeReported(const Entry& entry, const struct ReportedProcess& reported);
  void DropUnreported(const Entry& entry);
  // device.cpp
  void OnDetail(const Entry& entry);
  void CheckClock(const Entry& entry);
  [[nodiscard]] ProcessState& Find(std::string_view name);
  void SetState(ProcessState& process, ProcessState::State state, const Moment& when);
  void Fill(Event& event, const Entry& entry, Event::Kind kind, std::string_view process) const;
  Event& Begin(const Entry& entry, Event::Kind kind, std::string_view process = {});
  void Emit();
  void FlushWork(std::string_view process);

  bool keepsTexts_;
  Sink sink_;
  ProcessStates processes_;
  ProcessState unfollowed_;  // stands in for names beyond the limit
  std::uint64_t unfollowedNames_ = 0;
  Event event_;  // at hand; its texts' memory is used again and again

  // The supervisor.
  bool hasStarted_ = false;  // in this log: what it names from then on is new to it
  bool isStarting_ = false;
  bool hasAddress_ = false;  // of this start
  Moment newest_;
  std::uint32_t clockJumps_ = 0;
  std::uint32_t identityFailures_ = 0;
  std::uint32_t socketFailures_ = 0;

  // The request at hand and the list that the last one brought.
  bool hasRequest_ = false;     // a request was made, how it ended is not known
  bool isAnswered_ = false;     // and it was answered
  bool hasListChanged_ = true;  // since the last fetch
  std::vector<FileVersion> listed_;
  std::size_t listedCount_ = 0;
  std::size_t listedHash_ = 0;
  std::size_t fetchedHash_ = 0;
  std::uint32_t fetchFailures_ = 0;  // in a row
  std::string fetchProblem_;         // of the last of them

  // Work on the components of a process that a later line names.
  std::vector<FileVersion> files_;
  std::size_t fileCount_ = 0;
  std::vector<Event> work_;
  std::size_t workCount_ = 0;
  std::uint32_t foundInPlace_ = 0;
  std::uint32_t foundAhead_ = 0;
  std::uint32_t downloaded_ = 0;
  std::string problem_;              // the last thing that went wrong, in words
  std::string file_;                 // that is being downloaded
  std::string computed_, expected_;  // the last comparison
  int curlCode_ = 0;                 // of a transfer whose request the next line names

  std::string fetchedAhead_;  // the process whose files were just fetched ahead
  std::string fetchAheadProblem_;
  std::uint64_t reports_ = 0;
  bool isFirstReport_ = true;  // since the supervisor started
};

}  // namespace devicelog
