// One file that a managed process needs on the device.
//
// A component's file has up to three copies: the live file at `localpath`, a cache slot on the SD
// card and a pre-download slot beside the live file (component/slots.h has their paths). A copy
// counts only when it is readable and its MD5 equals `checksum`.
//
// Values, copied freely; the operations change files, never the record. They run on the main loop's
// thread and block for as long as hashing, the shell and the cloud take. No two of them may work on
// the same `localpath` at the same time.
#pragma once

#include <string>
#include <vector>

class Component {
 public:
  std::string processname;  // the process that owns it
  std::string filename;     // its name in the cloud; "name" in messages
  std::string localpath;    // absolute path at which the process expects the file
  std::string version;      // its own version, independent of the process's
  std::string checksum;     // MD5 of the file, 32 lowercase hexadecimal digits

  // Makes the component valid at `localpath`: from the file in place, the cache slot, the
  // pre-download slot (which is then removed) or a fresh download, which also fills the cache slot
  // when the SD card is mounted. 0: valid; 1: the fresh download failed (its messages say where).
  // Logs "Found cached component: ..." or "Found pre-downloaded component: ..." for the sources
  // that need no download.
  [[nodiscard]] int Download() const;

  // Fetches the component into the pre-download slot, unless a valid copy is at `localpath` or in
  // the cache slot. A slot that is valid already is fetched again. 0: nothing to do or fetched;
  // 1: the download failed.
  [[nodiscard]] int PreDownload() const;

  // True when a valid copy is at `localpath` or in the cache slot. With `copyToLocal` the cache
  // slot's copy is also put at `localpath`, and true then says that the copy could be started.
  [[nodiscard]] bool LocallyCached(bool copyToLocal) const;

  // The same for the pre-download slot alone; `localpath` is not looked at.
  [[nodiscard]] bool PreDownloaded(bool copyToLocal) const;

  // Removes the pre-download slot; a failure goes unnoticed.
  void ClearPreDownload() const;

  // One attempt to fetch the component from the cloud, write it to `path` and verify it: 0 when all
  // of that succeeded, else 1 with one line that says which step failed. A file that does not
  // verify stays at `path`; nobody uses it without checking it again.
  [[nodiscard]] int DownloadToPath(const std::string& path) const;

  // Reads the cloud's answer to a download-location request, `body`, which must name exactly this
  // component and version: 0 with the address in `url`, else 1 with `url` as it was. Logs the
  // "Parsed component info: ..." line on success and nothing on failure.
  [[nodiscard]] int ParseResponse(const std::vector<char>& body, std::string& url) const;
};
