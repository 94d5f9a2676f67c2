// Manifests as a cloud sends them.
#pragma once

#include <string>
#include <vector>

#include "tests/kit/text.h"

// A component as a manifest lists it; `bytes` is what its checksum is of.
struct ListedFile {
  std::string filename;
  std::string localpath;
  std::string version;
  std::string bytes;
};

// A process as a manifest lists it.
struct Listed {
  std::string name;
  std::string version;
  std::string entrypoint = "start " + name + " " + version;
  std::vector<ListedFile> files = {};
};

[[nodiscard]] inline std::string ManifestEntry(const ListedFile& file) {
  return "{'filename':'" + file.filename + "','localpath':'" + file.localpath + "','version':'" +
         file.version + "','checksum':'" + Md5(file.bytes) + "'}";
}

[[nodiscard]] inline std::string ManifestEntry(const Listed& process) {
  std::string files;
  for (const ListedFile& file : process.files) {
    files += (files.empty() ? "" : ",") + ManifestEntry(file);
  }
  return "{'processname':'" + process.name + "','version':'" + process.version +
         "','entrypoint':'" + process.entrypoint + "','components':[" + files + "]}";
}

[[nodiscard]] inline std::string Manifest(const std::vector<Listed>& processes) {
  std::string entries;
  for (const Listed& process : processes) {
    entries += (entries.empty() ? "" : ",") + ManifestEntry(process);
  }
  return Json("{'data':{'processes':[" + entries + "]}}");
}
