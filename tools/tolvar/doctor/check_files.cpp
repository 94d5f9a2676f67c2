// `cp -a` and `rm -f`, run as the product runs them.
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "tools/tolvar/doctor/checks.h"
#include "tools/tolvar/doctor/product.h"
#include "tools/tolvar/doctor/trial.h"

namespace doctor {
namespace {

constexpr mode_t trialMode = 0751;

std::string BytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

mode_t ModeOf(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

[[nodiscard]] bool Write(const std::string& path, const std::string& text) {
  return WriteFile(path, {text.begin(), text.end()}) == 0 && BytesOf(path) == text;
}

Finding NotTried() {
  return Warning("could not be tried: nothing can be written to /tmp",
                 "make /tmp writable, with some room");
}

}  // namespace

Finding CheckCopy(const Options& /*options*/) {
  const Quiet quiet;
  const TrialFolder folder;
  const std::string from = folder.From();
  const std::string to = folder.To();
  if (!folder.IsThere() || !Write(from, "new") || !Write(to, "the old one")) return NotTried();
  if (chmod(from.c_str(), trialMode) != 0) return NotTried();
  if (CopyToPath(to, from) != 0 || BytesOf(to) != "new") {
    return Bad("\"cp -a\" copies nothing: a file fetched ahead or from the card is not used",
               "put a cp that knows -a into the PATH of the host");
  }
  if (ModeOf(to) == trialMode) return Ok("\"cp -a\" replaces a file and keeps modes");
  return Bad("\"cp -a\" does not keep the file's mode: a copied program may not start",
             "put a cp that knows -a into the PATH of the host");
}

Finding CheckRemove(const Options& /*options*/) {
  const Quiet quiet;
  const TrialFolder folder;
  if (!folder.IsThere() || !Write(folder.From(), "old")) return NotTried();
  if (RemovePath(folder.From()) == 0 && !FileExists(folder.From())) {
    return Ok("\"rm -f\" removes files");
  }
  return Warning("\"rm -f\" removes nothing: used .predownload files stay and take room",
                 "put rm into the PATH of the host");
}

}  // namespace doctor
