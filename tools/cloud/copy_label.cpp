#include "tools/cloud/manifest.h"

void CopyLabel(const ReleaseFolder& folder, const std::string& from, const std::string& to) {
  PutText(folder.ManifestPath(to), LoadManifest(folder, from).text);
}
