#include <cmath>

#include "supervisor/processes.h"
#include "supervisor/to_unsigned.h"
#include "tests/kit/device.h"

namespace {

using ManifestTest = DeviceTest;
using testing::ElementsAre;

TEST_F(ManifestTest, EveryFieldLandsInItsRecord) {
  std::vector<Process> out(3);
  const char* text =
      "\xef\xbb\xbf"
      R"({"status":0,"data":{"extra":[],"processes":[
    {"processname":"streamer","version":"1.2","version":"9","entrypoint":"run &",
     "maxstartuptime":90.9,"maxretries":0,
     "components":[{"filename":"f","localpath":"/p","version":"3","checksum":"c"}]},
    {"processname":"streamer","version":"","entrypoint":"","maxstartuptime":"90",
     "maxretries":null,"Components":7,"components":[]}]}} trailing)";
  ASSERT_EQ(Processes::ParseResponse(text, out), 0);
  EXPECT_THAT(log.Lines(), ElementsAre("Parsed component f, version 3"));
  ASSERT_EQ(out.size(), 2U);
  const Process& first = out[0];
  EXPECT_EQ(first.name + "|" + first.version + "|" + first.entrypoint, "streamer|1.2|run &");
  EXPECT_EQ(first.maxstartuptime, 90U);
  EXPECT_EQ(first.maxretries, 0U);
  ASSERT_EQ(first.components.size(), 1U);
  const Component& component = first.components[0];
  EXPECT_EQ(component.processname + "|" + component.filename + "|" + component.localpath + "|" +
                component.version + "|" + component.checksum,
            "streamer|f|/p|3|c");
  const Process& second = out[1];
  EXPECT_EQ(second.maxstartuptime, 60U);
  EXPECT_EQ(second.maxretries, 5U);
  EXPECT_EQ(second.StateInString(), "stopped");
  EXPECT_EQ(second.backoff, 2);
  EXPECT_EQ(second.nextLaunchTime + second.launchTime + second.lastHeartbeatMs, 0);
  EXPECT_EQ(second.pending, nullptr);
}

TEST_F(ManifestTest, WhatIsNotAManifestFails) {
  const auto process = [](const std::string& fields) {
    return R"({"data":{"processes":[{)" + fields + "}]}}";
  };
  const std::string head = R"("processname":"p","version":"1","entrypoint":"e")";
  const std::string cases[] = {
      "",
      "<html>",
      "[]",
      "null",
      "{}",
      R"({"data":null})",
      R"({"Data":{"processes":[]}})",
      R"({"data":{"processes":{}}})",
      R"({"data":{"processes":["p"]}})",
      R"({"data":{"processes":[[]]}})",
      R"({"data":{"processes":[)",
      process(R"("version":"1","entrypoint":"e","components":[])"),
      process(R"("processname":"p","version":1,"entrypoint":"e","components":[])"),
      process(R"("processname":"p","version":"1","components":[])"),
      process(head),
      process(head + R"(,"components":{})"),
      process(head + R"(,"components":[7])"),
      process(head + R"(,"components":[{"filename":"f","localpath":"/p","version":"3"}])"),
      process(head + R"(,"components":[{"filename":"f","localpath":"/p","checksum":"c"}])"),
      process(head + R"(,"components":[{"filename":"f","version":"3","checksum":"c"}])"),
      process(head + R"(,"components":[{"localpath":"/p","version":"3","checksum":"c"}])"),
  };
  for (const std::string& text : cases) {
    std::vector<Process> out(1);
    EXPECT_EQ(Processes::ParseResponse(text.c_str(), out), 1) << text;
    EXPECT_TRUE(out.empty()) << text;
  }
  std::vector<Process> out;
  const std::string good = ProcessJson("p", "1", {"f 3 /p x"});
  EXPECT_EQ(Processes::ParseResponse(Manifest({good, good, "{}"}).c_str(), out), 1);
  EXPECT_EQ(out.size(), 2U);
  EXPECT_EQ(log.Lines().size(), 2U) << "components read are logged even so";
}

TEST_F(ManifestTest, NumbersAreConvertedAsOnTheTarget) {
  const struct {
    double number;
    std::uint32_t expected;
  } cases[] = {
      {0, 0},
      {0.99, 0},
      {90.9, 90},
      {-0.9, 0},
      {-1, 4294967295},
      {-2.5, 4294967294},
      {2147483647, 2147483647},
      {2147483648, 2147483648},
      {4294967295.5, 4294967295},
      {4294967296, 4294967295},
      {1e300, 4294967295},
      {-2147483648.5, 2147483648},
      {-2147483649, 2147483647},
      {-1e300, 2147483647},
      {std::nan(""), 4294967295},
  };
  for (const auto& [number, expected] : cases) EXPECT_EQ(ToUnsigned(number), expected) << number;
}

}  // namespace
