#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/tolvar/check/folder.h"

namespace check {
namespace {

using Versions = std::vector<std::pair<std::string, std::string>>;

}  // namespace

Versions TakenBack(const ReleaseFolder& folder) {
  const auto path = folder.TakenBackPath();
  if (!std::filesystem::exists(path)) return {};
  try {
    return nlohmann::json::parse(TextOf(path)).get<Versions>();
  } catch (const nlohmann::json::exception&) {
    throw std::runtime_error("broken " + path.string() + R"(: it must be [["NAME","VERSION"]...])");
  }
}

void NoteTakenBack(const ReleaseFolder& folder, const std::string& text) {
  const std::vector<Process> good = ProcessesUnder(folder, "lastknowngood");
  const std::vector<Process> now = ProcessesOf(text);
  Versions versions = TakenBack(folder);
  const std::size_t known = versions.size();
  for (const Process& old : ProcessesUnder(folder, "latest")) {
    const Process* next = FindByName(old.name, now);
    const Process* back = FindByName(old.name, good);
    const std::pair<std::string, std::string> left = {old.name, old.version};
    if (next == nullptr || next->version == old.version) continue;
    if (back == nullptr || back->version != next->version) continue;
    if (std::find(versions.begin(), versions.end(), left) != versions.end()) continue;
    versions.push_back(left);
  }
  if (versions.size() == known) return;
  PutText(folder.TakenBackPath(), nlohmann::json(versions).dump() + "\n");
}

}  // namespace check
