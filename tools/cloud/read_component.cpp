#include <fcntl.h>

#include <regex>
#include <stdexcept>

#include "platform/descriptor.h"
#include "platform/digest.h"
#include "tools/cloud/publish.h"

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
  const std::string source = parts[1];
  (void)OpenFile(source);  // says what is wrong with it
  const Descriptor descriptor(open(source.c_str(), O_RDONLY | O_CLOEXEC));
  return {source, parts[2], parts[3], version, Md5OfDescriptor(descriptor.Get())};
}
