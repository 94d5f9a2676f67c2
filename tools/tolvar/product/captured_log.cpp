#include "tools/tolvar/product/captured_log.h"

#include "platform/log.h"

namespace product {
namespace {

std::vector<std::string>* captured = nullptr;

}  // namespace

CapturedLog::CapturedLog() { captured = &lines_; }
CapturedLog::~CapturedLog() { captured = nullptr; }

}  // namespace product

void Log(std::string_view text) {
  if (product::captured != nullptr) product::captured->emplace_back(text);
}
