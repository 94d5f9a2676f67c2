// Work on components: where each file came from, or why it did not.
#include <algorithm>

#include "tools/tolvar/log/curl_code.h"
#include "tools/tolvar/log/device.h"

namespace devicelog {
namespace {

constexpr std::size_t maxFiles = 64;
constexpr std::size_t maxFile = 256;
constexpr std::size_t maxVersion = 64;
constexpr std::string_view emptyMd5 = "d41d8cd98f00b204e9800998ecf8427e";

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool DifferOnlyInCapitals(std::string_view a, std::string_view b) {
  return a != b && std::equal(a.begin(), a.end(), b.begin(), b.end(),
                              [](char x, char y) { return Lower(x) == Lower(y); });
}

}  // namespace

// The line behind it says which transfer it was.
void Device::OnCurlCode(const Entry& entry) {
  curlCode_ = static_cast<int>(NumberIn(entry.pieces[0]));
}

void Device::FailTransfer(const Entry& entry, bool isOfComponent, std::string_view subject) {
  problem_ = curlCode_ == 0 ? "the transfer failed" : CurlText(curlCode_);
  Event& event = isOfComponent ? AddToWork(entry, Event::Kind::TransferFailed)
                               : Begin(entry, Event::Kind::TransferFailed);
  event.subject = subject.substr(0, maxFile);
  event.reason = problem_;
  event.curlCode = curlCode_;
  event.isNoise = !isOfComponent && fetchFailures_ > 0;
  curlCode_ = 0;
  if (!isOfComponent) Emit();
}

void Device::OnTransfer(const Entry& entry) {
  if (entry.pieces[1] != "0") FailTransfer(entry, true, entry.pieces[0]);
}

void Device::OnLocation(const Entry& entry) { file_ = entry.pieces[0].substr(0, maxFile); }

void Device::OnNoLocation(const Entry& entry) {
  const std::string why =
      problem_.empty() ? "the token cannot be read, or memory is missing" : problem_;
  problem_ = "the cloud could not be asked for " + std::string(entry.pieces[0].substr(0, maxFile)) +
             " (" + why + ")";
}

void Device::OnLocationUnusable(const Entry& entry) {
  const std::string file(entry.pieces[0].substr(0, maxFile));
  problem_ = "the cloud does not say where " + file + " in this version is";
  Event& event = AddToWork(entry, Event::Kind::ComponentBad);
  event.subject = file;
  event.reason =
      "the cloud does not say where it is: " + std::string(entry.pieces[1].substr(0, 120));
}

void Device::OnNoFile(const Entry& entry) {
  problem_ = std::string(entry.pieces[0].substr(0, maxFile)) + " could not be downloaded (" +
             problem_ + ")";
}

void Device::OnNoDirectory(const Entry& entry) {
  problem_ = "the folder " + std::string(entry.pieces[0].substr(0, maxFile)) + " could not be made";
}

void Device::OnCannotWrite(const Entry& entry) {
  Event& event = AddToWork(entry, Event::Kind::StorageFailed);
  event.subject = entry.pieces[0].substr(0, maxFile);
  event.reason = problem_;
  problem_ = event.subject + " could not be written";
}

void Device::OnCompared(const Entry& entry) {
  computed_ = entry.pieces[0].substr(0, maxVersion);
  expected_ = entry.pieces[1].substr(0, maxVersion);
}

void Device::OnMismatch(const Entry& entry) {
  Event& event = AddToWork(entry, Event::Kind::ComponentBad);
  event.subject = entry.pieces[0].substr(0, maxFile);
  if (DifferOnlyInCapitals(computed_, expected_)) {
    event.reason = "its MD5 is " + computed_ + ", the list has it in capitals: it can never verify";
    event.isHopeless = true;
  } else if (computed_ == emptyMd5) {
    event.kind = Event::Kind::StorageFailed;
    event.reason =
        "the file is empty after its download: the storage is full, or it is empty in the cloud";
  } else {
    event.reason = "its MD5 is " + computed_ + ", the list says " + expected_;
  }
  problem_ = event.subject + " does not verify: " + event.reason;
}

void Device::AddFile(const Entry& entry) {
  if (fileCount_ == maxFiles) return;
  if (fileCount_ == files_.size()) files_.emplace_back();
  files_[fileCount_].file = entry.pieces[0].substr(0, maxFile);
  files_[fileCount_++].version = entry.pieces[1].substr(0, maxVersion);
}

void Device::OnDownloaded(const Entry& entry) {
  AddFile(entry);
  ++downloaded_;
  Event& event = AddToWork(entry, Event::Kind::Downloaded);
  event.subject = entry.pieces[0].substr(0, maxFile);
  event.to.text = entry.pieces[1].substr(0, maxVersion);
}

void Device::OnFound(const Entry& entry) {
  AddFile(entry);
  ++(entry.message->id == MessageId::FoundAhead ? foundAhead_ : foundInPlace_);
}

}  // namespace devicelog
