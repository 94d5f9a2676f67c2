// Any bytes as a device's log: read, followed and shown in every way.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <string_view>

#include "tests/fuzz/check.h"
#include "tools/tolvar/log/explain.h"
#include "tools/tolvar/log/json_line.h"
#include "tools/tolvar/log/page.h"
#include "tools/tolvar/log/view.h"
#include "tools/tolvar/log/why.h"

using namespace devicelog;

static void CheckSafe(const std::string& text) {
  const auto isUnsafe = [](char c) { return c != '\n' && static_cast<unsigned char>(c) < ' '; };
  CHECK(std::none_of(text.begin(), text.end(), isUnsafe));
}

static void CheckOneLine(const std::string& json) {
  CHECK(json.find('\n') == json.size() - 1);
  CheckSafe(json);
}

static int FileOf(const std::uint8_t* data, std::size_t size) {
  static const int file = memfd_create("log", 0);
  if (ftruncate(file, pwrite(file, data, size, 0)) != 0 || lseek(file, 0, SEEK_SET) != 0)
    std::abort();
  return file;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The page takes the longest. Were it a bit of the input's, the fuzzer would learn to set it.
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const bool asPage = std::hash<std::string_view>()(input) % 32 == 0;
  const unsigned ways = *data++;
  const Paint paint(false);
  Why why("cam");
  Page page;
  View::Options options;
  options.nowMicros = 1'732'536'000 * secondMicros;
  if (ways & 1U) options.since = Since::Parse("12:00", options.nowMicros);
  View view(options, [&](const Event& event) {
    if (ways & 16U) CheckSafe(EventText(event, paint));
    why.Take(event);
    if ((ways & 6U) == 2) CheckOneLine(JsonLine(event));
    if (asPage) page.Take(event);
  });
  static LineReader reader(-1);  // its memory would be made anew each time
  reader.Restart(FileOf(data, size - 1));
  LineReader::Line line;
  while (reader.Next(line)) view.Take(line);
  if (reader.Last(line)) {
    if (ways & 8U) CheckSafe(ExplainLine(line.text));
    view.Take(line);
  }
  view.Finish();
  CHECK(view.Summary().recognised <= view.Summary().lines);
  const std::vector<Alarm> alarms = view.Alarms();
  CheckSafe(AlarmText(alarms, paint) + SummaryText(view.Summary()));
  CheckSafe(TableText(view.Processes(), {}, view.Summary().last, paint, ways));
  const auto cam = view.Processes().find("cam");
  if (cam != view.Processes().end()) CheckSafe(why.Text(cam->second, alarms));
  if (asPage) CHECK(!page.Text(view, {}).empty());
  return 0;
}
