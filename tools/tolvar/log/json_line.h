// Events and alarms as JSON, one a line.
#pragma once

#include <string>

#include "tools/tolvar/log/alarm.h"
#include "tools/tolvar/log/event.h"

namespace devicelog {

// With the line end. Bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string JsonLine(const Event& event);
[[nodiscard]] std::string JsonLine(const Alarm& alarm);

}  // namespace devicelog
