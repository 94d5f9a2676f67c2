#include "tools/cloud/manifest.h"

void CopyLabel(const ReleaseFolder& folder, const std::string& from, const std::string& to) {
  folder.RequireRoot();
  const Descriptor turn = folder.Lock();
  PutManifest(folder, to, LoadManifest(folder, from).text);
}
