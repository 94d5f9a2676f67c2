// Everything that power cuts, cards and clouds can leave behind and answer, against the model.
#include "process/process.h"
#include "tests/cloud/curl_recorder.h"
#include "tests/component/torn_files_model.h"
#include "tests/kit/device.h"

namespace {

const std::string copies[] = {kind::nothing,    "",        "t",   "the rig",
                              "the right byte", "other",   right, kind::unreadable,
                              kind::folder,     kind::pipe};
constexpr std::size_t kinds = std::size(copies);

const CurlAnswer located = {location, CURLE_OK};
const CurlAnswer fetched = {right, CURLE_OK};
const CurlAnswer page = {"<html>", CURLE_OK};
const CurlAnswer shortened = {right.substr(0, 7), CURLE_OK};
const CurlAnswer cut = {"{\"data", CURLE_PARTIAL_FILE};
const CurlAnswer down = {"", CURLE_COULDNT_CONNECT};

const Surroundings surroundings[] = {
    {"AllIsWell", located, fetched, ""},
    {"LocationIsAPage", page, fetched, ""},
    {"LocationIsCut", cut, fetched, ""},
    {"CloudIsDown", down, fetched, ""},
    {"FileIsAPage", located, page, ""},
    {"FileIsShort", located, shortened, ""},
    {"FileIsCut", located, cut, ""},
    {"FileServerIsDown", located, down, ""},
    {"NothingIsCopied", located, fetched, "cp"},
    {"CloudIsDownAndNothingIsCopied", down, down, "cp"},
    {"NothingIsRemoved", located, fetched, "rm"},
};

class TornFilesTest : public DeviceTest, public testing::WithParamInterface<Surroundings> {
 protected:
  TornFilesTest() {
    process.name = "app";
    process.entrypoint = "true";
    process.components = {{"app", "file", live, "1", checksum}};
    traceCalls = true;
    fakeShell.onCommand = [this](const std::string& command) { return Run(command); };
    curlRecorder.answer = [](const CurlRequest& request) {
      return request.json.empty() ? GetParam().file : GetParam().location;
    };
    DropCapabilities();
  }

  // Does what the real shell does, which some combinations ask, but much faster.
  bool Run(const std::string& command) {
    std::string name, option, path, to;
    std::istringstream(command) >> name >> option >> path >> to;
    if (name == "true") ExpectRightBytesAtStart();
    const bool starts = name != GetParam().notStarted;
    fakeShell.passThrough = starts && number % 11 == 0 && (name == "cp" || name == "rm");
    if (!starts || fakeShell.passThrough) return starts;
    std::error_code failure;
    if (name == "cp") {
      std::filesystem::copy(path, to, std::filesystem::copy_options::overwrite_existing, failure);
    }
    if (name == "rm") std::filesystem::remove(path, failure);
    return true;
  }
  // But where a copy cannot replace what is in its place.
  static void ExpectRightBytesAtStart() {
    const std::string there = LiesAt(live);
    if (there == kind::folder || there == kind::unreadable) return;
    EXPECT_EQ(there, right);
  }
  void Compare(const char* operation, bool succeeded, bool expected) {
    EXPECT_EQ(succeeded, expected) << operation;
    EXPECT_EQ(log.Text(), std::exchange(model.log, {})) << operation;
    EXPECT_EQ(TreeUnder("/media"), model.files) << operation;
  }

  Process process;
  Model model = {GetParam(), {}, {}};
  std::size_t number = 0;  // of the combination
};

TEST_P(TornFilesTest, OnlyAWholeCopyIsUsed) {
  // Each kind at each of the three places; the first of the caches is a device without a card. In
  // the emulator, where it takes long, every seventh: still each kind at each place.
  constexpr std::size_t step = sizeof(void*) == 4 ? 7 : 1;
  for (; number < kinds * kinds * (1 + kinds) && !HasFailure(); number += step) {
    Tree tree = {{live, copies[number % kinds]}, {slot, copies[number / kinds % kinds]}};
    const std::size_t cached = number / kinds / kinds;
    if (cached > 0) tree.insert({{card, kind::folder}, {cache, copies[cached - 1]}});
    SCOPED_TRACE(testing::PrintToString(tree));
    model.files = Lay("/media", tree);
    const bool launched = process.Launch() == 0;
    Compare("launch", launched, model.Launch());
    model.files = Lay("/media", tree);
    const bool waits = process.components[0].PreDownloaded(false);
    Compare("look at the slot", waits, model.IsValid(slot));
    const bool preDownloaded = process.PreDownload() == 0;
    Compare("pre-download", preDownloaded, model.PreDownload());
  }
}

INSTANTIATE_TEST_SUITE_P(, TornFilesTest, testing::ValuesIn(surroundings),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
