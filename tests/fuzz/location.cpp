// Any bytes as the answer with a component's location: taken for the version that was asked for and
// for no other.
#include "component/component.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/stand_ins.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  loggedLines = 0;
  const std::vector<char> body(data, data + size);
  Component component = {"p", "f", "/f", "1", ""};
  std::string url = "before";
  if (component.ParseResponse(body, url) != 0) {
    CHECK(loggedLines == 0);
    CHECK(url == "before");
    return 0;
  }
  CHECK(loggedLines == 1);
  component.version = "2";
  CHECK(component.ParseResponse(body, url) == 1);
  return 0;
}
