#include <cmath>

#include "platform/to_unsigned.h"
#include "supervisor/processes.h"
#include "tests/kit/device.h"

namespace {

using InputTest = DeviceTest;
using testing::ElementsAre;

const std::string configPath = "/etc/config/.tolvar_config";

std::vector<std::uint32_t> Intervals() {
  return {Processes::bootstrapIntervalSec_, Processes::maxHeartbeatIntervalSec_,
          Processes::metricsReportIntervalSec_, Processes::failureReportIntervalSec_};
}

TEST_F(InputTest, EachConfigurationLineThatBeginsWithAKeyIsStoredAndLogged) {
  const std::string fetch = "bootstrap_interval=", beat = "max_heartbeat_interval=";
  const std::string report = "metrics_report_interval=", failure = "failure_" + report;
  Processes::ReadConfig();
  WriteText(configPath + "/inside", "");
  Processes::ReadConfig();
  EXPECT_THAT(Intervals(), ElementsAre(21600, 5, 3600, 600));
  Remove(configPath);
  WriteText(configPath, fetch + "7200\n" + beat + " 100\n" + report + "\n" + failure + "+7\r\n" +
                            fetch + "abc\n" + fetch + "12h\n" + fetch + "-1\n" + fetch +
                            "4294967296\n" + fetch + "-99999999999999999999\n" +
                            " bootstrap_interval=1\nbootstrap_interval =1\n# a remark\n\n" + beat +
                            "10\n" + beat + "20");
  Processes::ReadConfig();
  EXPECT_THAT(log.Lines(),
              ElementsAre("don't have config file " + configPath + ", taking default configuration",
                          fetch + "7200", beat + "100", report + "0", failure + "7", fetch + "0",
                          fetch + "12", fetch + "4294967295", fetch + "2147483647",
                          fetch + "2147483648", beat + "10", beat + "20"));
  EXPECT_THAT(Intervals(), ElementsAre(2147483648, 20, 0, 7));
}

// A byte order mark, unknown and repeated keys, numbers of all kinds and trailing text are taken.
TEST_F(InputTest, EveryFieldOfAManifestLandsInItsRecord) {
  std::vector<Process> out(3);
  const char* text =
      "\xef\xbb\xbf"
      R"({"status":0,"data":{"extra":[],"processes":[
    {"processname":"streamer","version":"1.2","version":"9","entrypoint":"run &",
     "maxstartuptime":90.9,"maxretries":3000000000,
     "components":[{"filename":"f","localpath":"/p","version":"3","checksum":"c"}]},
    {"processname":"streamer","version":"","entrypoint":"","maxstartuptime":"90",
     "maxretries":null,"Components":7,"components":[]}]}} trailing)";
  ASSERT_EQ(Processes::ParseResponse(text, out), 0);
  EXPECT_THAT(log.Lines(), ElementsAre("Parsed component f, version 3"));
  ASSERT_EQ(out.size(), 2U);
  const Process &first = out[0], &second = out[1];
  EXPECT_EQ(first.name + "|" + first.version + "|" + first.entrypoint, "streamer|1.2|run &");
  EXPECT_TRUE(first.maxstartuptime == 90 && first.maxretries == 3'000'000'000);
  const Component& file = first.components.at(0);
  EXPECT_EQ(file.processname + "|" + file.filename + "|" + file.localpath, "streamer|f|/p");
  EXPECT_EQ(file.version + "|" + file.checksum, "3|c");
  EXPECT_TRUE(second.maxstartuptime == 60 && second.maxretries == 5) << "the defaults";
}

// Each word puts a text in the place of the last of another, in a manifest of two processes.
TEST_F(InputTest, OneWrongPlaceSpoilsAManifest) {
  std::istringstream rows(
      "{'data'=> {'data'=><html>{'data' {'data'=>[],{'data' 'data':{=>'data':null,'d':{ "
      "'data'=>'Data' 'processes':[=>'processes':{},'p':[ 'processes'=>'Processes' "
      "{'processname'=>7,{'processname' {'processname'=>[],{'processname' "
      "'processname'=>'Processname' 'version':'1','e=>'version':1,'e 'entrypoint'=>'Entrypoint' "
      "'components':[=>'components':{},'c':[ 'components'=>'Components' "
      "{'filename'=>7,{'filename' 'filename'=>'Filename' 'localpath':'/p'=>'localpath':null "
      "'version':'1'=>'version':1 'checksum'=>'Checksum'");
  for (std::string row; rows >> row;) {
    row = Json(row);
    const std::size_t arrow = row.find("=>");
    std::string text = Manifest("p 1 /p,p 1 /p");
    const std::size_t place = text.rfind(row.substr(0, arrow));
    const std::size_t before = place < text.find("name") ? 0 : 1;  // processes read before it
    (void)text.replace(place, arrow, row.substr(arrow + 2));
    std::vector<Process> out(5);
    EXPECT_EQ(Processes::ParseResponse(text.c_str(), out), 1) << text;
    EXPECT_EQ(out.size(), before) << text;
    EXPECT_EQ(log.Lines().size(), before) << text << ": components read are logged";
  }
}

TEST_F(InputTest, NumbersAreConvertedAsOnTheTarget) {
  std::vector<std::uint32_t> converted;
  for (const double number :
       {0.0, 0.99, 90.9, -0.9, -1.0, -2.5, 2147483647.0, 2147483648.0, 4294967295.5, 4294967296.0,
        1e300, -2147483648.5, -2147483649.0, -1e300, std::nan("")}) {
    converted.push_back(ToUnsigned(number));
  }
  EXPECT_THAT(converted,
              ElementsAre(0, 0, 90, 0, 4294967295, 4294967294, 2147483647, 2147483648, 4294967295,
                          4294967295, 4294967295, 2147483648, 2147483647, 2147483647, 4294967295));
}

TEST_F(InputTest, TheFetchIntervalIsRescaledInSinglePrecision) {
  std::vector<std::uint32_t> rescaled;
  for (const int r : {0, 5, 13, 32, 99, 1200}) rescaled.push_back(RescaledInterval(21600, r));
  EXPECT_THAT(rescaled, ElementsAre(10800, 11339, 12204, 14255, 21492, 10800));
  EXPECT_EQ(RescaledInterval(4294967295, 0), 2147483648U);
  EXPECT_EQ(RescaledInterval(4294967295, 99), 4273492480U);
}

}  // namespace
