# What a build may choose. Everything else about the product is fixed.

set(TOLVAR_CLOUD_URL "https://cloud.test:8443" CACHE STRING
    "Base URL of the cloud's process API: https, a host, an optional port; no path")
set(TOLVAR_METRICS_LIBRARY "" CACHE FILEPATH
    "The device's metrics client library; empty builds and links the stand-in")
# Off, since it needs CLI11 and nlohmann-json: who integrates the library must not have to get them,
# and a tool that is there or not by what else is installed would be a surprise.
option(TOLVAR_TOOL "Also build and install `tolvar`, the operators' tool" OFF)
option(TOLVAR_DEVELOPER "Also build all tools, the examples and the tests" OFF)
option(TOLVAR_FUZZ "With those, also build the fuzz targets" OFF)

# Request URLs are the base URL plus a path that begins with "/", so a path or a trailing slash
# here would make every request of every device miss: refuse it before it is compiled in.
if(NOT TOLVAR_CLOUD_URL MATCHES "^https://([A-Za-z0-9.-]+|\\[[0-9A-Fa-f:.]+\\])(:[0-9]+)?$")
  message(FATAL_ERROR
    "TOLVAR_CLOUD_URL is \"${TOLVAR_CLOUD_URL}\": it must be https://HOST or https://HOST:PORT, "
    "with no path and no trailing slash")
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE MinSizeRel CACHE STRING "Kind of build" FORCE)
endif()
