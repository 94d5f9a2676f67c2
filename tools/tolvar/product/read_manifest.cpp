#include "tools/tolvar/product/read_manifest.h"

#include "process/parse_manifest.h"
#include "tools/tolvar/product/captured_log.h"

namespace product {

std::optional<std::vector<Process>> ReadManifest(const std::string& text) {
  const CapturedLog log;
  std::vector<Process> processes;
  if (ParseManifest(text.c_str(), processes) != 0) return std::nullopt;
  return processes;
}

}  // namespace product
