#include "tools/tolvar/check/cloud/play.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <set>

#include "cloud/http_request.h"
#include "platform/descriptor.h"
#include "platform/digest.h"
#include "process/parse_manifest.h"
#include "tools/tolvar/check/judge.h"
#include "tools/tolvar/product/captured_log.h"
#include "tools/tolvar/product/read_manifest.h"

namespace check {
namespace {

using Verdict = Exchange::Verdict;

constexpr char latest[] = "latest";
constexpr char lastKnownGood[] = "lastknowngood";

std::string Summary(const Answer& answer) {
  if (answer.code != CURLE_OK) {
    return "curl " + std::to_string(answer.code) + ": " + curl_easy_strerror(answer.code);
  }
  std::array<char, 64> text = {};
  (void)std::snprintf(text.data(), text.size(), "%d, %zu bytes, %.2f s", answer.status,
                      answer.body.size(), answer.sec);
  return text.data();
}

[[nodiscard]] bool IsRedirect(const Answer& answer) {
  return answer.status >= 300 && answer.status < 400;
}

// As a device finds it, which takes any time for its own; -1 when the text is none.
std::int64_t SecOf(const std::string& date) {
  struct tm parts = {};
  if (strptime(date.c_str(), "%b %d %H:%M:%S %Y", &parts) == nullptr) return -1;
  return timegm(&parts);
}

std::string Md5Of(const std::vector<char>& bytes) {
  const Descriptor file(memfd_create("tolvar-check", MFD_CLOEXEC));
  for (std::size_t at = 0; at < bytes.size();) {
    const ssize_t count = write(file.Get(), bytes.data() + at, bytes.size() - at);
    if (count <= 0) return "";
    at += static_cast<std::size_t>(count);
  }
  (void)lseek(file.Get(), 0, SEEK_SET);  // of a file in memory
  return Md5OfDescriptor(file.Get());
}

class Device {
 public:
  explicit Device(const Identity& identity) : identity_(identity) {}

  Play Live() {
    const std::string newest = AskForAll(latest);
    const std::string good = AskForAll(lastKnownGood);
    Judge(latest, newest, lastKnownGood, good);
    Judge(lastKnownGood, good, latest, newest);
    for (const char* label : {latest, lastKnownGood}) {
      for (const Process& process : ProcessesOf(label == latest ? newest : good)) {
        AskForOne(label, process);
        for (const Component& component : process.components) Get(component);
      }
    }
    return play_;
  }

 private:
  void Add(Verdict verdict, const std::string& asked, const Answer& answer,
           const std::string& device) {
    play_.exchanges.push_back({verdict, asked, Summary(answer), device});
  }

  // True when the answer is no use to a device, whatever was asked; a row then says so.
  [[nodiscard]] bool IsLost(const std::string& asked, const Answer& answer,
                            const std::string& device) {
    if (answer.code != CURLE_OK) {
      Add(Verdict::Error, asked, answer, device);
    } else if (IsRedirect(answer)) {
      Add(Verdict::Error, asked, answer, "does not follow the redirect; " + device);
    } else if (answer.isCompressed) {
      Add(Verdict::Error, asked, answer, "does not unpack the answer; " + device);
    } else {
      return false;
    }
    return true;
  }

  // The label's manifest; empty when a device cannot use the answer.
  std::string AskForAll(const std::string& label) {
    const std::string asked = "list of \"" + label + "\"";
    Answer answer = Ask(identity_, getProcessesPath, {{"version", label}, {"processname", ""}});
    JudgeCertificate(answer);
    if (IsLost(asked, answer, "keeps what it runs, asks again")) return "";
    const std::string text = ManifestText(answer.body);
    const auto processes = product::ReadManifest(text);
    answer.body.pop_back();  // the text's end
    if (!processes) {
      Add(Verdict::Error, asked, answer, "finds no manifest, keeps what it runs, asks again");
      return "";
    }
    const std::string what = "takes it: " + std::to_string(processes->size()) + " processes";
    const bool isRefusal = answer.status >= 400;
    Add(isRefusal ? Verdict::Warning : Verdict::Ok, asked, answer,
        isRefusal ? what + ", whatever the status" : what);
    return text;
  }

  void JudgeCertificate(const Answer& answer) {
    if (answer.code != CURLE_OK || hasCertificate_) return;
    hasCertificate_ = true;
    constexpr std::int64_t monthSec = 30 * 86400;
    const std::int64_t endSec = SecOf(answer.validUntil);
    const bool isOld = endSec >= 0 && endSec - std::int64_t{time(nullptr)} < monthSec;
    play_.exchanges.push_back({isOld ? Verdict::Warning : Verdict::Ok, "certificate",
                               answer.protocol.substr(0, answer.protocol.find(' ')),
                               "trusts it until " + answer.validUntil});
  }

  void Judge(const std::string& label, const std::string& text, const std::string& otherLabel,
             const std::string& otherText) {
    if (text.empty()) return;
    Surroundings beside;
    beside.label = label;
    beside.others = {{otherLabel, ProcessesOf(otherText)}};
    for (Finding& finding : JudgeManifest(text, beside)) {
      finding.document = label;
      play_.findings.push_back(std::move(finding));
    }
  }

  void AskForOne(const std::string& label, const Process& process) {
    const std::string asked = "\"" + process.name + "\" of \"" + label + "\"";
    Answer answer =
        Ask(identity_, getProcessesPath, {{"version", label}, {"processname", process.name}});
    if (IsLost(asked, answer, "cannot roll back")) return;
    const std::vector<Process> list = ProcessesOf(ManifestText(answer.body));
    answer.body.pop_back();  // the text's end
    if (list.empty() || list.front().name != process.name) {
      Add(Verdict::Error, asked, answer, "cannot roll back: the process is not the first listed");
    } else if (list.front().version != process.version) {
      Add(Verdict::Warning, asked, answer, "gets another version than from the list");
    } else {
      Add(Verdict::Ok, asked, answer, "could go to version " + process.version);
    }
  }

  void Get(const Component& component) {
    const std::string what = component.filename + " " + component.version;
    if (!fetched_.insert(what + " " + component.checksum).second) return;
    const std::string url = Locate(component, what);
    if (url.empty()) return;
    const Answer answer = Fetch(identity_, url);
    const std::string asked = "file " + what;
    if (IsLost(asked, answer, "does not start the process, tries again")) return;
    const std::string actual = Md5Of(answer.body);
    if (actual != component.checksum) {
      Add(Verdict::Error, asked, answer,
          "discards it: MD5 " + actual + ", not " + component.checksum + "; tries again");
    } else if (!answer.hasLength) {
      Add(Verdict::Warning, asked, answer, "takes it, with up to twice the memory: no length");
    } else {
      Add(Verdict::Ok, asked, answer, "takes it");
    }
  }

  // The address; empty when there is none that a device should be given.
  std::string Locate(const Component& component, const std::string& what) {
    const std::string asked = "address of " + what;
    const Answer answer = Ask(identity_, getDownloadLocationPath,
                              {{"processname", component.processname},
                               {"filename", component.filename},
                               {"version", component.version}});
    if (IsLost(asked, answer, "does not start the process, tries again")) return "";
    std::string url;
    const product::CapturedLog log;
    if (component.ParseResponse(answer.body, url) != 0) {
      Add(Verdict::Error, asked, answer, "finds no address of this file, tries again");
    } else if (url.rfind("https://", 0) != 0) {
      Add(Verdict::Error, asked, answer, "would fetch it without protection: " + url);
      return "";
    } else {
      Add(Verdict::Ok, asked, answer, "goes to " + url);
    }
    return url;
  }

  const Identity& identity_;
  bool hasCertificate_ = false;
  std::set<std::string> fetched_;  // a file need not be fetched for each label
  Play play_;
};

}  // namespace

Play PlayDevice(const Identity& identity) { return Device(identity).Live(); }

}  // namespace check
