#include "supervisor/processes.h"
#include "tests/kit/device.h"
#include "tools/cloud/api.h"
#include "tools/cloud/publish.h"

constexpr char processesPath[] = "/device/process/get_processes";
constexpr char locationPath[] = "/device/process/get_download_location";

struct CloudTest : DeviceTest {
  // How many warnings came with it, or -1 when it was refused.
  int Publish(const std::string& name, const std::string& version,
              const std::string& component = "/run/app,bin,/opt/app/bin") const {
    WriteText("/run/app", "bytes");
    std::string error;
    const auto plan = PlanPublish(
        service.folder, {"latest", name, version, "/opt/a &", {}, {}, {component}}, error);
    if (!plan || !CarryOut(service.folder, *plan, error)) return -1;
    return static_cast<int>(PublishWarnings(*plan).size());
  }
  [[nodiscard]] standin::Answer Ask(const std::string& path, const std::string& fields) const {
    const std::string identity = R"({"mac":"02005e102030","enr":"e","sc":"s","sv":"v","ts":"1",)";
    return HandleRequest(service, "POST", path, identity + fields + "}");
  }
  const standin::Service service = {{"/run/releases"}, "https://files.test:8444"};
};

TEST_F(CloudTest, WhatIsPublishedIsReadByTheDevice) {
  EXPECT_EQ(Publish("streamer", "1") + Publish("recorder", "1") + Publish("streamer", "2 "), 0);
  std::vector<Process> all, one;
  const std::string fields = R"("version":"latest","processname":")";
  EXPECT_EQ(Processes::ParseResponse(Ask(processesPath, fields + '"').body.c_str(), all), 0);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].name + all[0].version, "streamer2 ") << "replaced in its place";
  EXPECT_EQ(all[0].components[0].checksum, Md5("bytes"));
  const auto answer = Ask(processesPath, fields + "recorder\"");
  EXPECT_EQ(Processes::ParseResponse(answer.body.c_str(), one), 0);
  ASSERT_EQ(one.size(), 1U);
  EXPECT_EQ(one[0].name, "recorder");
  std::string url;
  const auto location = Ask(locationPath, R"("processname":"p","filename":"bin","version":"2 ")");
  EXPECT_EQ((Component{"p", "bin", "", "2 ", ""}.ParseResponse(Bytes(location.body), url)), 0);
  EXPECT_EQ(url, "https://files.test:8444/files/bin/2%20");
  EXPECT_EQ(ReadText(HandleRequest(service, "GET", "/files/bin/2 ", "").file.value()), "bytes");
  EXPECT_EQ(HandleRequest(service, "GET", "/files/../../app", "").status, 400);
  EXPECT_EQ(Ask(processesPath, R"("version":"latest")").status, 400);
  EXPECT_EQ(Publish("streamer", "3", "/run/none,bin,/opt/x"), -1);
  EXPECT_EQ(Publish("stream", "1"), 1) << "killing it would kill the other";
}
