// Any text as the two files that may hold the token; the first "|" stands between them.
#include "cloud/identity.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/stand_ins.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = TextOf(data, size);
  const std::size_t end = text.find('|');
  const std::string first = text.substr(0, end);
  const std::string second = end == std::string::npos ? "" : text.substr(end + 1);
  PutFile("/etc/config/.user_config", first);
  PutFile("/config/.user_config", second);

  std::string token = "before";
  const int result = GetENR(token);
  const std::string all = first + "\n" + second, key = "r_encr=";
  const std::size_t at = all.find(key);
  if (at == std::string::npos) {
    CHECK(result == 1);
    CHECK(token == "before");
    return 0;
  }
  CHECK(result == 0);
  const std::string expected = all.substr(at + key.size(), 16);
  CHECK(token == expected.substr(0, expected.find('\n')));
  return 0;
}
