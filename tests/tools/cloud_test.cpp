#include "supervisor/processes.h"
#include "tests/kit/device.h"
#include "tools/cloud/api.h"
#include "tools/cloud/publish.h"

constexpr char processesPath[] = "/device/process/get_processes";
constexpr char locationPath[] = "/device/process/get_download_location";

struct CloudTest : DeviceTest {
  // How many warnings came with it, or -1 when it was refused.
  int Publish(const std::string& name, const std::string& version) const {
    const std::string file = "/run/app,bin,/opt/app/bin";
    std::string error;
    const auto plan =
        PlanPublish(service.folder, {"latest", name, version, "/opt/a &", {}, {}, {file}}, error);
    if (!plan || !CarryOut(service.folder, *plan, error)) return -1;
    return static_cast<int>(PublishWarnings(*plan).size());
  }
  [[nodiscard]] std::string Ask(const std::string& path, const std::string& fields) const {
    const std::string identity = R"({"mac":"02005e102030","enr":"e","sc":"s","sv":"v","ts":"1",)";
    return HandleRequest(service, "POST", path, identity + fields + "}").body;
  }
  const standin::Service service = {{"/run/releases"}, "https://files.test:8444"};
};

TEST_F(CloudTest, WhatIsPublishedIsReadByTheDevice) {
  using testing::HasSubstr;
  WriteText("/run/app", "bytes");
  EXPECT_EQ(Publish("streamer", "1") + Publish("recorder", "1") + Publish("streamer", "2 "), 0);
  std::vector<Process> all;
  const std::string fields = R"("version":"latest","processname":")";
  EXPECT_EQ(Processes::ParseResponse(Ask(processesPath, fields + '"').c_str(), all), 0);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].name + all[0].version, "streamer2 ") << "replaced in its place";
  EXPECT_EQ(all[0].components[0].checksum, Md5("bytes"));
  EXPECT_THAT(Ask(processesPath, fields + "recorder\""),
              AllOf(HasSubstr("recorder"), Not(HasSubstr("streamer"))));
  EXPECT_THAT(Ask(processesPath, R"("version":"latest")"), HasSubstr("400"));
  EXPECT_THAT(Ask(locationPath, R"("processname":"p","filename":"bin","version":"2 ")"),
              HasSubstr(R"("url":"https://files.test:8444/files/bin/2%20")"));
  EXPECT_EQ(ReadText(HandleRequest(service, "GET", "/files/bin/2 ", "").file.value()), "bytes");
  EXPECT_EQ(HandleRequest(service, "GET", "/files/../../app", "").status, 400);
  EXPECT_EQ(Publish("stream", "1"), 1) << "killing it would kill the other";
  Remove("/run/app");
  EXPECT_EQ(Publish("streamer", "3"), -1);
}
