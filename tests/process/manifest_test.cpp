// What is made of a manifest's text.
#include <cmath>

#include "platform/to_unsigned.h"
#include "process/parse_manifest.h"
#include "tests/kit/device.h"

namespace {

using testing::ElementsAre;

using ManifestTest = DeviceTest;

// A byte order mark, text after it and unknown and repeated keys change nothing.
TEST_F(ManifestTest, EveryFieldLandsInItsRecord) {
  const std::string text =
      "\xef\xbb\xbf"
      R"({"status": 0, "data": {"extra": [], "processes": [
    {"processname": "streamer", "version": "1.2", "version": "9", "entrypoint": "run &",
     "maxstartuptime": 90.9, "maxretries": 3000000000, "components": [
      {"filename": "engine", "localpath": "/run/engine", "version": "3", "checksum": "c5"}]},
    {"processname": "streamer", "version": "", "entrypoint": "", "components": []}
    ]}} trailing)";
  std::vector<Process> out(3);
  ASSERT_EQ(ParseManifest(text.c_str(), out), 0);
  EXPECT_THAT(log.Lines(), ElementsAre("Parsed component engine, version 3"));
  ASSERT_EQ(out.size(), 2U) << "what was there before is gone";
  EXPECT_EQ(out[0].name, "streamer");
  EXPECT_EQ(out[0].version, "1.2");
  EXPECT_EQ(out[0].entrypoint, "run &");
  EXPECT_EQ(out[0].maxstartuptime, 90U);
  EXPECT_EQ(out[0].maxretries, 3'000'000'000U);
  ASSERT_EQ(out[0].components.size(), 1U);
  EXPECT_EQ(out[0].components[0].processname, "streamer");
  EXPECT_EQ(out[0].components[0].filename, "engine");
  EXPECT_EQ(out[0].components[0].localpath, "/run/engine");
  EXPECT_EQ(out[0].components[0].version, "3");
  EXPECT_EQ(out[0].components[0].checksum, "c5");
  EXPECT_EQ(out[1].name, "streamer");
  EXPECT_EQ(out[1].maxstartuptime, 60U) << "the default";
  EXPECT_EQ(out[1].maxretries, 5U) << "the default";
}

TEST_F(ManifestTest, ANumberOfAnotherTypeOrKeyCountsAsAbsent) {
  const struct {
    const char* member;
    std::uint32_t startup, retries;
  } rows[] = {
      {"'maxstartuptime':7,'maxretries':8", 7, 8},
      {"'maxstartuptime':'7','maxretries':'8'", 60, 5},
      {"'maxstartuptime':null,'maxretries':true", 60, 5},
      {"'Maxstartuptime':7,'MAXRETRIES':8", 60, 5},
      {"'maxstartuptime':-1,'maxretries':1e300", 4294967295, 4294967295},
      {"'maxstartuptime':7,'maxstartuptime':9,'maxretries':8,'maxretries':9", 7, 8},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.member);
    const std::string begun = "{'processname':'p','version':'1','entrypoint':'e','components':[]";
    const std::string text = "{'data':{'processes':[" + begun + "," + row.member + "}]}}";
    std::vector<Process> out;
    ASSERT_EQ(ParseManifest(Json(text).c_str(), out), 0);
    EXPECT_EQ(out.at(0).maxstartuptime, row.startup);
    EXPECT_EQ(out.at(0).maxretries, row.retries);
  }
}

// What makes a manifest of two processes one that is none.
const struct {
  const char* right;            // in its last place
  const char* wrong;            // in place of it
  std::size_t processesBefore;  // that were read before it
} spoilings[] = {
    {"{'data'", "<html>{'data'", 0},
    {"{'data'", "[],{'data'", 0},
    {"'data':{", "'data':null,'d':{", 0},
    {"'data':{", "'data':[],'d':{", 0},
    {"'data'", "'Data'", 0},
    {"'processes':[", "'processes':{},'p':[", 0},
    {"'processes'", "'Processes'", 0},
    {"{'processname'", "7,{'processname'", 1},
    {"{'processname'", "[],{'processname'", 1},
    {"'processname'", "'Processname'", 1},
    {"'processname':'p'", "'processname':7", 1},
    {"'version':'1'", "'version':1", 1},
    {"'version':'1'", "'Version':'1'", 1},
    {"'entrypoint'", "'Entrypoint'", 1},
    {"'entrypoint':'e'", "'entrypoint':{}", 1},
    {"'components':[", "'components':{},'c':[", 1},
    {"'components'", "'Components'", 1},
    {"{'filename'", "7,{'filename'", 1},
    {"'filename'", "'Filename'", 1},
    {"'localpath':'/p'", "'localpath':null", 1},
    {"'localpath'", "'Localpath'", 1},
    {"'version':'2'", "'version':2", 1},
    {"'version':'2'", "'Version':'2'", 1},
    {"'checksum'", "'Checksum'", 1},
    {"]}}", "]}", 0},
};

TEST_F(ManifestTest, OneWrongPlaceSpoilsIt) {
  const Listed process = {"p", "1", "e", {{"f", "/p", "2", ""}}};
  for (const auto& row : spoilings) {
    std::string text = Manifest({process, process});
    const std::string right = Json(row.right);
    ASSERT_NE(text.rfind(right), std::string::npos) << right;
    (void)text.replace(text.rfind(right), right.size(), Json(row.wrong));
    SCOPED_TRACE(text);
    std::vector<Process> out(5);
    EXPECT_EQ(ParseManifest(text.c_str(), out), 1);
    EXPECT_EQ(out.size(), row.processesBefore);
    EXPECT_EQ(log.Lines().size(), row.processesBefore) << "each with a component, which is logged";
  }
}

TEST_F(ManifestTest, NumbersAreConvertedAsOnTheTarget) {
  const struct {
    double number;
    std::uint32_t converted;
  } rows[] = {
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
      {-2147483649.0, 2147483647},
      {-1e300, 2147483647},
      {std::nan(""), 4294967295},
  };
  for (const auto& row : rows) EXPECT_EQ(ToUnsigned(row.number), row.converted) << row.number;
}

}  // namespace
