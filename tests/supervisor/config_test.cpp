// The intervals that the device's configuration names.
#include <new>

#include "supervisor/processes.h"
#include "tests/fakes/scarcity.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;

const std::string path = "/etc/config/.tolvar_config";

struct ConfigTest : DeviceTest {
  // The fetch of the set, the newest heartbeat, reports, reports of failures.
  static std::vector<std::uint32_t> Intervals() {
    return {Processes::bootstrapIntervalSec_, Processes::maxHeartbeatIntervalSec_,
            Processes::metricsReportIntervalSec_, Processes::failureReportIntervalSec_};
  }
};

TEST_F(ConfigTest, WithoutAReadableFileTheDefaultsStay) {
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(),
              ElementsAre("don't have config file " + path + ", taking default configuration"));
  EXPECT_THAT(Intervals(), ElementsAre(21600, 5, 3600, 600));
  std::filesystem::create_directories(path);
  Processes::ReadConfig();
  EXPECT_EQ(log.Text(), "") << "a folder is there";
  EXPECT_THAT(Intervals(), ElementsAre(21600, 5, 3600, 600));
}

TEST_F(ConfigTest, EachKeyHasItsIntervalAndIsLogged) {
  WriteText(path,
            "bootstrap_interval=7200\nmax_heartbeat_interval=10\nmetrics_report_interval=30\n"
            "failure_metrics_report_interval=40");
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(),
              ElementsAre("bootstrap_interval=7200", "max_heartbeat_interval=10",
                          "metrics_report_interval=30", "failure_metrics_report_interval=40"));
  EXPECT_THAT(Intervals(), ElementsAre(7200, 10, 30, 40));
}

TEST_F(ConfigTest, ALaterLineOverwritesAnEarlierOne) {
  WriteText(path, "bootstrap_interval=1\n\n# a remark\nbootstrap_interval=2\n");
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(), ElementsAre("bootstrap_interval=1", "bootstrap_interval=2"));
  EXPECT_THAT(Intervals(), ElementsAre(2, 5, 3600, 600));
}

TEST_F(ConfigTest, NumbersAreTakenAsTheTargetReadsThem) {
  const struct {
    const char* number;
    std::uint32_t stored;
  } rows[] = {
      {"", 0},
      {"abc", 0},
      {"12h", 12},
      {" 100", 100},
      {"+7\r", 7},
      {"-1", 4294967295},
      {"2147483647", 2147483647},
      {"2147483648", 2147483647},
      {"4294967296", 2147483647},
      {"-2147483649", 2147483648},
      {"-99999999999999999999", 2147483648},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.number);
    WriteText(path, std::string("bootstrap_interval=") + row.number + "\n");
    Processes::ReadConfig();
    EXPECT_EQ(Processes::bootstrapIntervalSec_, row.stored);
    EXPECT_THAT(log.Lines(), ElementsAre("bootstrap_interval=" + std::to_string(row.stored)));
  }
}

TEST_F(ConfigTest, OnlyALineThatBeginsWithAKeyCounts) {
  for (const char* line :
       {" bootstrap_interval=1", "bootstrap_interval =1", "my_bootstrap_interval=1",
        "#bootstrap_interval=1", "Bootstrap_interval=1", "bootstrap_interval"}) {
    WriteText(path, line);
    Processes::ReadConfig();
    EXPECT_EQ(log.Text(), "") << line;
    EXPECT_THAT(Intervals(), ElementsAre(21600, 5, 3600, 600)) << line;
  }
}

// Else the intervals would be others for as long as the device runs.
TEST_F(ConfigTest, MissingMemoryIsNotTakenForTheEndOfTheFile) {
  const std::string longLine = "bootstrap_interval=" + std::string(99, '0') + "7";
  WriteText(path, longLine + "\nmax_heartbeat_interval=" + std::string(99, '0') + "8\n");
  long refusals = 0;
  for (bool done = false; !done; ++refusals) {
    scarcity.toComeFirst = refusals;
    scarcity.toFail = 1;
    try {
      Processes::ReadConfig();
      done = true;
    } catch (const std::bad_alloc&) {  // asked for again
    }
    scarcity.toFail = 0;
  }
  EXPECT_GT(refusals, 3) << "several places could run out of it";
  EXPECT_THAT(Intervals(), ElementsAre(7, 8, 3600, 600));
}

}  // namespace
