#include <fcntl.h>

#include <regex>
#include <stdexcept>

#include "platform/descriptor.h"
#include "platform/digest.h"
#include "tools/cloud/publish.h"

std::string ChecksumOf(const std::string& path) {
  (void)OpenFile(path);  // says what is wrong with it
  const Descriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return Md5OfDescriptor(descriptor.Get());
}

ComponentRelease ReadComponent(const std::string& text, const std::string& processVersion) {
  static const std::regex form("([^,]+),([^,]+),(/[^,]*)(?:,([^,]+))?");
  std::smatch parts;
  if (!std::regex_match(text, parts, form)) {
    throw std::runtime_error("component must be FILE,FILENAME,/LOCALPATH[,VERSION]: " + text);
  }
  const std::string version = parts[4].matched ? parts.str(4) : processVersion;
  for (const auto& name : {parts.str(2), version}) {
    if (!IsPathElement(name)) throw std::runtime_error("no plain file name: " + name);
  }
  return {parts[1], parts[2], parts[3], version, ChecksumOf(parts[1])};
}
