// The time line as a page: lanes of bars and marks. Keeps what it draws in memory, a bounded number
// of bars and marks for each process: where there are more, short ones next to each other become
// one.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/tolvar/log/axis.h"
#include "tools/tolvar/log/event.h"
#include "tools/tolvar/log/view.h"

namespace devicelog {

struct PageBar {
  double from = 0, to = 0;  // on the axis
  const char* state = "";   // "running", "failed", "stopped", "unsupervised", "unknown", "mixed"
  Version version;
  std::size_t colour = 0;   // one for each version of the process
  std::uint32_t count = 1;  // of states in one "mixed"
  Moment since, until;
  std::vector<std::string> lines;  // evidence
};

struct PageMark {
  double at = 0;
  Event::Kind kind = Event::Kind::Detail;
  std::uint32_t count = 1;
  Moment when;
  std::string words;
  std::string line;
};

struct PageLane {
  std::vector<PageBar> bars;
  std::vector<PageMark> marks;
  bool isOpen = false;                // the last bar goes on
  std::vector<std::string> versions;  // the first few, a colour each
};

class Page {
 public:
  // All events, those that the time line leaves out as well.
  void Take(const Event& event);

  // The page's text. `last`: the log's last moment, up to which open bars reach.
  [[nodiscard]] std::string Text(const View& view, const NameFilter& names);

 private:
  void Follow(PageLane& lane, const Event& event, double at);
  void OpenBar(PageLane& lane, const Event& event, double at, const char* state,
               const Version& version);
  void MarkEvent(PageLane& lane, const Event& event, double at);
  void LeaveAll(const Event& event, double at);

  Axis axis_;
  std::map<std::string, PageLane> lanes_;  // by process; "": the supervisor's own
};

}  // namespace devicelog
