#include "supervisor/processes.h"
#include "tests/kit/device.h"
#include "tools/cloud/api.h"
#include "tools/cloud/publish.h"

namespace {

using standin::HandleRequest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CloudTest : public DeviceTest {
 protected:
  CloudTest() { WriteText("/run/streamer", "bytes"); }

  standin::PublishRequest Release(const std::string& name, const std::string& version) {
    standin::PublishRequest request;
    request.label = "latest";
    request.name = name;
    request.version = version;
    request.entrypoint = "/opt/app/" + name + " &";
    request.components = {"/run/streamer,bin,/opt/app/streamer"};
    return request;
  }
  // "" when it was published, else why not.
  std::string Publish(const standin::PublishRequest& request) {
    std::string error;
    const auto plan = PlanPublish(service.folder, request, error);
    if (!plan) return error;
    warnings = PublishWarnings(*plan);
    return CarryOut(service.folder, *plan, error) ? "" : error;
  }
  standin::Answer Ask(const std::string& path, const std::string& fields) {
    const std::string identity = R"({"mac":"02005e102030","enr":"e","sc":"s","sv":"v","ts":"1",)";
    return HandleRequest(service, "POST", path, identity + fields + "}");
  }

  const standin::Service service = {{"/run/releases"}, "https://files.test:8444"};
  std::vector<std::string> warnings;
};

TEST_F(CloudTest, WhatIsPublishedIsListedAndServedAtOnce) {
  EXPECT_EQ(Publish(Release("streamer", "1.0")), "");
  EXPECT_EQ(Publish(Release("recorder", "1.0")), "");
  EXPECT_EQ(Publish(Release("streamer", "1 1")), "");
  EXPECT_THAT(warnings, IsEmpty());

  // Read as the device reads it: the process is replaced in its place.
  std::vector<Process> listed;
  const auto answer = Ask(processesPath, R"("version":"latest","processname":"")");
  EXPECT_EQ(answer.status, 200);
  ASSERT_EQ(Processes::ParseResponse(answer.body.c_str(), listed), 0);
  ASSERT_EQ(listed.size(), 2U);
  EXPECT_EQ(listed[0].name + listed[0].version, "streamer1 1");
  EXPECT_EQ(listed[0].components[0].checksum, Md5("bytes"));
  const auto one = Ask(processesPath, R"("version":"latest","processname":"recorder")");
  ASSERT_EQ(Processes::ParseResponse(one.body.c_str(), listed), 0);
  ASSERT_EQ(listed.size(), 1U);
  EXPECT_EQ(listed[0].name, "recorder");

  const Component component = {"streamer", "bin", "", "1 1", ""};
  std::string url;
  const auto location = Ask(locationPath, R"("processname":"p","filename":"bin","version":"1 1")");
  ASSERT_EQ(component.ParseResponse(Bytes(location.body), url), 0);
  EXPECT_EQ(url, "https://files.test:8444/files/bin/1%201");
  const auto file = HandleRequest(service, "GET", "/files/bin/1 1", "");
  ASSERT_TRUE(file.file.has_value());
  EXPECT_EQ(ReadText(*file.file), "bytes");
  EXPECT_THAT(location.note, testing::Not(HasSubstr("enr")));
}

TEST_F(CloudTest, WrongRequestsGetAJsonError) {
  EXPECT_EQ(Publish(Release("streamer", "1.0")), "");
  WriteText("/run/releases/broken/manifest.json", "{");
  WriteText("/run/secret", "secret");
  const struct {
    std::string path;
    std::string fields;
    int status;
  } cases[] = {
      {processesPath, R"("version":"latest")", 400},
      {processesPath, R"("version":7,"processname":"")", 400},
      {processesPath, R"("version":"../releases/latest","processname":"")", 400},
      {processesPath, R"("version":"none","processname":"")", 404},
      {processesPath, R"("version":"broken","processname":"")", 500},
      {processesPath, R"(nonsense)", 400},
      {locationPath, R"("processname":"p","filename":"..","version":"secret")", 400},
      {locationPath, R"("processname":"p","filename":"bin","version":"9")", 404},
      {"/device", R"("a":"b")", 404},
  };
  for (const auto& [path, fields, status] : cases) {
    const auto answer = Ask(path, fields);
    EXPECT_EQ(answer.status, status) << fields;
    EXPECT_THAT(answer.body, HasSubstr(R"({"error":{"code":)")) << fields;
  }
  EXPECT_EQ(HandleRequest(service, "GET", processesPath, "").status, 405);
  EXPECT_EQ(HandleRequest(service, "GET", "/files/../secret", "").status / 100, 4);
}

TEST_F(CloudTest, ABadReleaseChangesNothing) {
  EXPECT_EQ(Publish(Release("streamer", "1.0")), "");
  const std::string manifest = ReadText("/run/releases/latest/manifest.json");
  const auto broken = [this](const auto& edit) {
    standin::PublishRequest request = Release("streamer", "2.0");
    edit(request);
    return Publish(request);
  };
  EXPECT_NE(broken([](auto& r) { r.components = {"/run/none,bin,/opt/x"}; }), "");
  EXPECT_NE(broken([](auto& r) { r.components = {"/run/streamer,bin,opt/x"}; }), "");
  EXPECT_NE(broken([](auto& r) { r.components = {"/run/streamer,a/b,/opt/x"}; }), "");
  EXPECT_NE(broken([](auto& r) { r.name = std::string(132, 'n'); }), "");
  EXPECT_NE(broken([](auto& r) { r.maxretries = "many"; }), "");
  EXPECT_EQ(ReadText("/run/releases/latest/manifest.json"), manifest);
  EXPECT_FALSE(Exists("/run/releases/files/bin/2.0"));
}

TEST_F(CloudTest, WarnsOfNamesThatKillingWouldMiss) {
  EXPECT_EQ(Publish(Release("cam", "1")), "");
  for (const char* name : {"camera", "a-name-longer-than-15", "c.m"}) {
    EXPECT_EQ(Publish(Release(name, "1")), "");
    EXPECT_EQ(warnings.size(), 1U) << name;
  }
}

}  // namespace
