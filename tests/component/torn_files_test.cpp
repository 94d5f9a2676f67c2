// Everything that power cuts, cards and clouds can leave behind and answer, against a model of what
// a pre-download and a start make of it: result, files, and the log with the command lines.
#include "process/process.h"
#include "tests/cloud/curl_recorder.h"
#include "tests/kit/device.h"

namespace fs = std::filesystem;

const std::string right = "the right bytes", sum = Md5(right), url = "https://cloud.test:8443/f";
const std::string request = R"("processname":"app","filename":"file","version":"1"})";
const std::string whole = R"({"data":{"filename":"file","version":"1","url":")" + url + R"("}})";
const std::string named = " component: name file, version 1";
const std::string live = "/media/app/file", slot = "/media/app/file.predownload";
const std::string card = "/media/mmc", cache = "/media/mmc/.ota/2368f511";
const std::string copies[] = {absent,  "",    "t",        "the rig", "the right byte",
                              "other", right, unreadable, folder};

// What a transfer brings, and libcurl's code.
std::pair<std::string, int> Answered(const std::string& how, const std::string& body) {
  if (how == "down") return {"", 7};
  if (how == "page") return {"<html>", 0};
  return {how == "good" ? body : body.substr(0, 7), how == "cut" ? 18 : 0};
}

struct Model {
  std::pair<std::string, int> location, file;
  std::string broken;
  Files files;
  std::string log;

  bool Say(const std::string& line, bool result = true) { return log += line + "\n", result; }
  bool Fail(const std::string& line) { return Say(line, false); }
  bool Run(const std::string& text) { return Say("$ " + text, text.find(broken + " ") != 0); }
  std::string At(const std::string& path) { return files.count(path) == 0 ? absent : files[path]; }
  bool Put(const std::string& path, const std::string& bytes) {
    files[fs::path(path).parent_path()] = folder;
    if (At(path) == folder || At(path) == unreadable) return false;
    return files[path] = bytes, true;
  }
  bool Valid(const std::string& path) {
    const std::string bytes = At(path), read = bytes == folder ? "" : bytes;
    return bytes != absent && bytes != unreadable &&
           Say("CheckIntegrity " + Md5(read) + " vs. " + sum, bytes == right);
  }
  // A copy that was started counts: whether it succeeded shows only in the next check.
  bool Copy(const std::string& from, const std::string& to) {
    files[fs::path(to).parent_path()] = folder;
    const std::string end = At(to) == folder ? to + from.substr(from.rfind('/')) : to;
    return Run("cp -a " + from + " " + to) && (Put(end, files[from]) || true);
  }
  bool Transfer(const std::string& what, int code) {
    if (code != 0) Say("Curl return code " + std::to_string(code));
    return Say(what + ", status " + (code == 0 ? "0" : "2"), code == 0);
  }
  bool Fetch(const std::string& path) {
    const auto& [answer, code] = location;
    return (Transfer("Get download location from domain https://cloud.test:8443", code) ||
            Fail("GetDownloadLocation failed for component file of process app")) &&
           (answer == whole ||
            Fail("Parse download url failed for component file, response " + answer)) &&
           Say("Parsed component info: name file, version 1, url " + url) &&
           (Transfer("Get response from url " + url, file.second) ||
            Fail("GetResponse failed for component file")) &&
           (Put(path, file.first) ||
            Fail("Failed to open file " + path + "\nWriteToPath failed for path " + path)) &&
           (Valid(path) || Fail("CheckIntegrity failed for path " + path + ", checksum " + sum)) &&
           Say("Downloaded" + named);
  }
  bool Download() {
    if (Valid(live) || (Valid(cache) && Copy(cache, live))) return Say("Found cached" + named);
    if (Valid(slot) && Copy(slot, live)) {
      return Say("Found pre-downloaded" + named) && (!Run("rm -f " + slot) || files.erase(slot));
    }
    return Fetch(live) && (At(card) == absent || Copy(live, cache) || true);
  }
  bool Launch() {
    Run("pkill -9 app");
    return (Download() || Fail("Failed to get components for process app")) && Run("true") &&
           Say("Launched process app");
  }
  bool PreDownload() {
    const bool done = Valid(live) || Valid(cache) || Fetch(slot);
    const std::string how = done ? "Pre-download all" : "Failed to pre-download";
    return Say(how + " components for process app", done);
  }
};

struct TornFilesTest : DeviceTest, testing::WithParamInterface<std::string> {
  TornFilesTest() {
    process.name = "app";
    process.entrypoint = "true";
    process.components = {{"app", "file", live, "1", sum}};
    traceCalls = true;
    fakeShell.onCommand = [this](const std::string& command) { return Run(command); };
    curlRecorder.answer = [this](const CurlRequest& asked) {
      const bool located = asked.json.find(request) < asked.json.size();
      const auto& [body, code] = located ? model.location : model.file;
      return CurlAnswer{body, CURLcode(code)};
    };
  }
  // Does what the real shell does, which some combinations ask, but much faster.
  bool Run(const std::string& command) {
    std::string name, option, path, to;
    std::istringstream(command) >> name >> option >> path >> to;
    // No start without the file, but where a copy cannot replace what is in its place.
    const bool replaceable = !fs::is_directory(live) && access(live.c_str(), W_OK) == 0;
    EXPECT_TRUE(name != "true" || ReadText(live) == right || !replaceable);
    fakeShell.passThrough = number % 11 == 0 && (name == "cp" || name == "rm");
    if (name == model.broken || fakeShell.passThrough) return name != model.broken;
    std::error_code failure;
    if (name == "cp") fs::copy(path, to, fs::copy_options::overwrite_existing, failure);
    return name != "rm" || unlink(path.c_str()) == 0;
  }
  void Compare(int result, bool done) {
    EXPECT_EQ(result, done ? 0 : 1);
    EXPECT_EQ(log.Text(), std::exchange(model.log, {}));
    EXPECT_EQ(FilesUnder("/media"), model.files);
  }

  Process process;
  Model model;
  std::size_t number = 0;  // of the combination
};

TEST_P(TornFilesTest, AreTakenOnlyWhenWhole) {
  std::istringstream(GetParam()) >> model.location.first >> model.file.first >> model.broken;
  model.location = Answered(model.location.first, whole);
  model.file = Answered(model.file.first, right);
  DropCapabilities();
  // Of nine copies everywhere; the first tenth has no card.
  for (; number < 9 * 9 * 10; ++number) {
    Files files = {{live, copies[number % 9]}, {slot, copies[number / 9 % 9]}};
    if (number >= 9 * 9) files.insert({{card, folder}, {cache, copies[number / 9 / 9 - 1]}});
    model.files = LayFiles("/media", files);
    Compare(process.Launch(), model.Launch());
    model.files = LayFiles("/media", files);
    Compare(process.components[0].PreDownloaded(false) ? 0 : 1, model.Valid(slot));
    Compare(process.PreDownload(), model.PreDownload());
    ASSERT_FALSE(HasFailure()) << testing::PrintToString(files);
  }
}

// How the cloud answers for the location and for the file, and the command that cannot be started.
const std::string surroundings[] = {"good good",    "page",         "cut",         "down",
                                    "good page",    "good short",   "good cut",    "good down",
                                    "good good cp", "down down cp", "good good rm"};
INSTANTIATE_TEST_SUITE_P(, TornFilesTest, testing::ValuesIn(surroundings));
