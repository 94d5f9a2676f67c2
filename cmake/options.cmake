# What a build may choose. Everything else about the product is fixed.

set(TOLVAR_CLOUD_URL "https://cloud.test:8443" CACHE STRING
    "Base URL of the cloud's process API: https, a host, an optional port; no path")
set(TOLVAR_CLIENT_SC "5c0f3e9a7d214b68a1e2c7f09b3d6e45" CACHE STRING
    "First client credential, sent as \"sc\": 32 lowercase hexadecimal digits")
set(TOLVAR_CLIENT_SV "3f8b21c6e0d94a7f85b6c2d1e9a04f73" CACHE STRING
    "Second client credential, sent as \"sv\": 32 lowercase hexadecimal digits")
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

foreach(credential TOLVAR_CLIENT_SC TOLVAR_CLIENT_SV)
  string(LENGTH "${${credential}}" length)
  if(NOT length EQUAL 32 OR NOT ${credential} MATCHES "^[0-9a-f]+$")
    message(FATAL_ERROR
      "${credential} is \"${${credential}}\": it must be 32 lowercase hexadecimal digits")
  endif()
endforeach()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE MinSizeRel CACHE STRING "Kind of build" FORCE)
endif()
