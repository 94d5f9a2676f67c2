#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using ConfigTest = DeviceTest;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr char path[] = "/etc/config/.tolvar_config";

TEST_F(ConfigTest, WithoutAFileTheDefaultsStay) {
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(),
              ElementsAre("don't have config file /etc/config/.tolvar_config, taking default "
                          "configuration"));
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 21600U);
  EXPECT_EQ(Processes::maxHeartbeatIntervalSec_, 5U);
  EXPECT_EQ(Processes::metricsReportIntervalSec_, 3600U);
  EXPECT_EQ(Processes::failureReportIntervalSec_, 600U);
}

TEST_F(ConfigTest, EachLineThatBeginsWithAKeyIsStoredAndLogged) {
  const struct {
    const char* line;
    const char* logged;  // null: skipped
  } cases[] = {
      {"bootstrap_interval=7200", "bootstrap_interval=7200"},
      {"max_heartbeat_interval= 100", "max_heartbeat_interval=100"},
      {"metrics_report_interval=", "metrics_report_interval=0"},
      {"failure_metrics_report_interval=+7\r", "failure_metrics_report_interval=7"},
      {"bootstrap_interval=abc", "bootstrap_interval=0"},
      {"bootstrap_interval=12h", "bootstrap_interval=12"},
      {"bootstrap_interval=-1", "bootstrap_interval=4294967295"},
      {"bootstrap_interval=4294967296", "bootstrap_interval=2147483647"},
      {"bootstrap_interval=-99999999999999999999", "bootstrap_interval=2147483648"},
      {" bootstrap_interval=1", nullptr},
      {"bootstrap_interval =1", nullptr},
      {"# a remark", nullptr},
      {"", nullptr},
      {"max_heartbeat_interval=10", "max_heartbeat_interval=10"},
      {"max_heartbeat_interval=20", "max_heartbeat_interval=20"},  // without a line feed
  };
  std::string text;
  std::vector<std::string> expected;
  for (const auto& [line, logged] : cases) {
    text += (text.empty() ? "" : "\n") + std::string(line);
    if (logged != nullptr) expected.emplace_back(logged);
  }
  WriteText(path, text);
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(), ElementsAreArray(expected));
  EXPECT_EQ(Processes::bootstrapIntervalSec_, 2147483648U);
  EXPECT_EQ(Processes::maxHeartbeatIntervalSec_, 20U);
  EXPECT_EQ(Processes::metricsReportIntervalSec_, 0U);
  EXPECT_EQ(Processes::failureReportIntervalSec_, 7U);
}

TEST_F(ConfigTest, AFileWithoutLinesAndADirectoryChangeNothing) {
  WriteText(path, "");
  Processes::ReadConfig();
  Remove(path);
  WriteText(std::string(path) + "/inside", "");
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(), ElementsAre());
}

}  // namespace
