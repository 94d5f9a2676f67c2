#include "tools/tolvar/log/page.h"

#include <algorithm>
#include <utility>

namespace devicelog {
namespace {

using Kind = Event::Kind;

constexpr std::size_t maxItems = 400;  // of a lane, bars and marks each
constexpr std::size_t maxLines = 4;
constexpr std::size_t shownText = 200;

std::string EvidenceOf(const Event& event) {
  if (event.text.empty()) return "";
  return "line " + std::to_string(event.when.line) + ": " + event.text.substr(0, shownText);
}

void AddLine(PageBar& bar, const Event& event) {
  const std::string line = EvidenceOf(event);
  if (!line.empty() && bar.lines.size() < maxLines) bar.lines.push_back(line);
}

void Close(PageLane& lane, const Event& event, double at) {
  if (!lane.isOpen) return;
  lane.isOpen = false;
  lane.bars.back().to = at;
  lane.bars.back().until = event.when;
  AddLine(lane.bars.back(), event);
}

std::size_t ColourOf(PageLane& lane, const std::string& version) {
  constexpr std::size_t maxVersions = 60;
  const auto found = std::find(lane.versions.begin(), lane.versions.end(), version);
  const auto index = static_cast<std::size_t>(found - lane.versions.begin());
  if (found == lane.versions.end() && lane.versions.size() < maxVersions)
    lane.versions.push_back(version);
  return index;
}

// A bar takes in the next one.
void Absorb(PageBar& bar, const PageBar& next) {
  bar.to = next.to;
  bar.until = next.until;
  bar.count += next.count;
  bar.state = "mixed";
  bar.version = Version();
}

void Absorb(PageMark& mark, const PageMark& next) { mark.count += next.count; }

bool AreClose(const PageBar& a, const PageBar& b, double shortest) {
  return a.to - a.from < shortest && b.to - b.from < shortest && b.from - a.to < shortest;
}

bool AreClose(const PageMark& a, const PageMark& b, double shortest) {
  return a.kind == b.kind && b.at - a.at < shortest;
}

// Puts together what is shorter and closer than could be seen, until half as many are left.
template <typename Item>
void Thin(std::vector<Item>& items, double whole) {
  for (double shortest = whole / 4000; items.size() > maxItems / 2 && shortest <= whole;
       shortest *= 2) {
    std::vector<Item> kept;
    for (Item& item : items) {
      if (!kept.empty() && AreClose(kept.back(), item, shortest)) {
        Absorb(kept.back(), item);
      } else {
        kept.push_back(std::move(item));
      }
    }
    items = std::move(kept);
  }
}

const char* StateOfReport(const Event& event) {
  for (const char* state : {"running", "failed", "stopped"}) {
    if (event.subject == state) return state;
  }
  return "unknown";
}

bool IsMarked(const Event& event) {
  const bool isOfBars = event.kind == Kind::Launched || event.kind == Kind::Stopped ||
                        event.kind == Kind::VersionReported;
  return !event.isNoise && !isOfBars;
}

}  // namespace

void Page::Take(const Event& event) {
  const double at = axis_.Place(event.when);
  if (event.kind == Kind::SupervisorStarted) LeaveAll(event, at);
  constexpr std::size_t maxLanes = 1024;
  if (lanes_.size() >= maxLanes && lanes_.count(event.process) == 0) return;
  PageLane& lane = lanes_[event.process];
  Follow(lane, event, at);
  if (IsMarked(event)) MarkEvent(lane, event, at);
}

// What ran runs on, but nobody watches it.
void Page::LeaveAll(const Event& event, double at) {
  for (auto& [name, lane] : lanes_) {
    if (!lane.isOpen) continue;
    const Version version = lane.bars.back().version;
    OpenBar(lane, event, at, "unsupervised", version);
  }
}

void Page::OpenBar(PageLane& lane, const Event& event, double at, const char* state,
                   const Version& version) {
  Close(lane, event, at);
  if (lane.bars.size() > maxItems) Thin(lane.bars, at);
  PageBar& bar = lane.bars.emplace_back();
  bar.from = bar.to = at;
  bar.state = state;
  bar.version = version;
  bar.colour = ColourOf(lane, version.text);
  bar.since = bar.until = event.when;
  AddLine(bar, event);
  lane.isOpen = true;
}

// How the event changes what the process does.
void Page::Follow(PageLane& lane, const Event& event, double at) {
  switch (event.kind) {
    case Kind::Launched:
      OpenBar(lane, event, at, "running", event.to);
      return;
    case Kind::LaunchFailed:
      OpenBar(lane, event, at, "failed", event.to);
      return;
    case Kind::HeartbeatLost:
      OpenBar(lane, event, at, "failed", event.from);
      return;
    case Kind::Dropped:
      Close(lane, event, at);
      return;
    case Kind::VersionReported:
      // The report names what ran all along.
      if (lane.isOpen && StateOfReport(event) == std::string(lane.bars.back().state)) {
        lane.bars.back().version = event.to;
        lane.bars.back().colour = ColourOf(lane, event.to.text);
      } else {
        OpenBar(lane, event, at, StateOfReport(event), event.to);
      }
      return;
    default:
      return;
  }
}

void Page::MarkEvent(PageLane& lane, const Event& event, double at) {
  if (lane.marks.size() > maxItems) Thin(lane.marks, at);
  lane.marks.push_back({at, event.kind, 1, event.when, InWords(event), EvidenceOf(event)});
}

}  // namespace devicelog
