#include "component/component.h"
#include "component/integrity.h"
#include "component/slots.h"
#include "platform/files.h"
#include "platform/log.h"

namespace {

bool HasValidCopy(const std::string& path, const std::string& checksum) {
  return FileExists(path) && CheckIntegrity(path, checksum);
}

// Whether `slot` holds a valid copy and, with `copyToLocal`, could be copied over the live file.
bool UseSlot(const std::string& slot, const Component& component, bool copyToLocal) {
  if (!HasValidCopy(slot, component.checksum)) return false;
  return !copyToLocal || CopyToPath(component.localpath, slot) == 0;
}

}  // namespace

int Component::Download() const {
  if (LocallyCached(true)) {
    Log("Found cached component: name " + filename + ", version " + version);
    return 0;
  }
  if (PreDownloaded(true)) {
    Log("Found pre-downloaded component: name " + filename + ", version " + version);
    ClearPreDownload();
    return 0;
  }
  if (DownloadToPath(localpath) != 0) return 1;
  if (SDCardMounted()) {
    // A cache that could not be filled costs a later download, nothing else.
    (void)CopyToPath(CachedPath(localpath), localpath);
  }
  return 0;
}

int Component::PreDownload() const {
  if (LocallyCached(false)) return 0;
  return DownloadToPath(PreDownloadPath(localpath));
}

bool Component::LocallyCached(bool copyToLocal) const {
  if (HasValidCopy(localpath, checksum)) return true;
  return UseSlot(CachedPath(localpath), *this, copyToLocal);
}

bool Component::PreDownloaded(bool copyToLocal) const {
  return UseSlot(PreDownloadPath(localpath), *this, copyToLocal);
}

void Component::ClearPreDownload() const {
  // A slot that stays costs space until the next one overwrites it.
  (void)RemovePath(PreDownloadPath(localpath));
}
