#include "component/integrity.h"

#include "platform/digest.h"
#include "platform/files.h"
#include "platform/log.h"

bool CheckIntegrity(const std::string& path, const std::string& checksum) {
  const Descriptor file = OpenForReading(path);
  if (!file.IsOpen()) {
    Log("Failed to open file " + path);
    return false;
  }
  const std::string computed = Md5OfDescriptor(file.Get());
  Log("CheckIntegrity " + computed + " vs. " + checksum);
  return computed == checksum;
}
