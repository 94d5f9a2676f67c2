#include "tools/cloud/manifest.h"

namespace {

std::string Titled(const Json& entry) { return NameOf(entry) + " " + NameOf(entry, "version"); }

std::string KeysThatDiffer(const Json& one, const Json& other) {
  std::string keys;
  const Json both[] = {one, other};
  for (const Json& entry : both) {
    for (const auto& [key, value] : entry.items()) {
      const bool differs = one.value(key, Json()) != other.value(key, Json());
      const bool isNew = (" " + keys + ",").find(" " + key + ",") == std::string::npos;
      if (differs && isNew) keys += (keys.empty() ? "" : ", ") + key;
    }
  }
  return keys;
}

std::string Change(const Json& one, const Json& other) {
  if (one == other) return "";
  const std::string version = NameOf(other, "version");
  if (NameOf(one, "version") != version) return "~ " + Titled(one) + " -> " + version + "\n";
  return "! " + Titled(one) + " differs in " + KeysThatDiffer(one, other) + "\n";
}

}  // namespace

std::string Diff(const ReleaseFolder& folder, const std::string& from, const std::string& to) {
  const Manifest before = LoadManifest(folder, from);
  const Manifest after = LoadManifest(folder, to);
  std::string text;
  for (const Json& entry : before.Processes()) {
    const Json* next = after.Find(NameOf(entry));
    text += next == nullptr ? "- " + Titled(entry) + "\n" : Change(entry, *next);
  }
  for (const Json& entry : after.Processes()) {
    if (before.Find(NameOf(entry)) == nullptr) text += "+ " + Titled(entry) + "\n";
  }
  return text;
}
