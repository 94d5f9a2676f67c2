#include "tools/tolvar/doctor/captured_log.h"

#include "platform/log.h"

namespace doctor {
namespace {

std::vector<std::string>* captured = nullptr;

}  // namespace

CapturedLog::CapturedLog() { captured = &lines_; }
CapturedLog::~CapturedLog() { captured = nullptr; }

}  // namespace doctor

void Log(std::string_view text) {
  if (doctor::captured != nullptr) doctor::captured->emplace_back(text);
}
