// The product's own code that the checks judge with, and what they know of it besides.
#pragma once

#include <string_view>

#include "cloud/identity.h"
#include "component/slots.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "process/process.h"
#include "supervisor/processes.h"

namespace doctor {

// As the product has them in its sources, where nobody else can name them.
inline constexpr char interfaceName[] = "wlan0";
inline constexpr char caBundlePath[] = "/tmp/cacert.pem";
inline constexpr char configPath[] = "/etc/config/.tolvar_config";
inline constexpr const char* tokenPaths[] = {"/etc/config/.user_config", "/config/.user_config"};
inline constexpr std::string_view heartbeatName = "AppHeartbeat";
inline constexpr char libraryName[] = "libtolvar.so";

}  // namespace doctor
