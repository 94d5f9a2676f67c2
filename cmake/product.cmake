# The plug-in and the library across its boundary.

add_library(tolvar_base INTERFACE)
target_link_libraries(tolvar_base INTERFACE
  CURL::libcurl PkgConfig::cjson OpenSSL::Crypto Threads::Threads tolvar_warnings)

# Everything but the OS boundary: the tests link it against fakes of that boundary.
add_library(tolvar_core STATIC
  supervisor/processes.cpp supervisor/read_config.cpp supervisor/launch_all.cpp
  supervisor/reconcile.cpp supervisor/health.cpp
  health/heartbeat_channel.cpp health/heartbeat_supervision.cpp health/metrics_report.cpp
  process/process.cpp process/launch_stop.cpp process/step_state.cpp process/rollback.cpp
  process/parse_manifest.cpp
  component/acquire.cpp component/download.cpp component/slots.cpp component/integrity.cpp
  cloud/session.cpp cloud/write_body.cpp cloud/transport.cpp cloud/process_api.cpp
  cloud/identity.cpp
  platform/digest.cpp platform/files.cpp platform/json.cpp platform/lines.cpp
  platform/memory.cpp platform/shell_word.cpp)
target_link_libraries(tolvar_core PUBLIC tolvar_base)
target_compile_definitions(tolvar_core PRIVATE TOLVAR_CLOUD_URL="${TOLVAR_CLOUD_URL}"
  TOLVAR_CLIENT_SC="${TOLVAR_CLIENT_SC}" TOLVAR_CLIENT_SV="${TOLVAR_CLIENT_SV}")

if(TOLVAR_METRICS_LIBRARY)
  add_library(tolvar_metrics SHARED IMPORTED)
  set_target_properties(tolvar_metrics PROPERTIES
    IMPORTED_LOCATION "${TOLVAR_METRICS_LIBRARY}" IMPORTED_NO_SONAME ON)
else()
  add_library(tolvar_metrics SHARED platform/metrics_standin.cpp)
  target_link_libraries(tolvar_metrics PRIVATE tolvar_warnings)
endif()
target_link_libraries(tolvar_core PUBLIC tolvar_metrics)

set(exported_names "${CMAKE_CURRENT_SOURCE_DIR}/cmake/exported_names.map")
add_library(tolvar SHARED entry/entry.cpp platform/clock.cpp platform/log.cpp platform/shell.cpp)
target_link_libraries(tolvar PRIVATE tolvar_core)
target_link_options(tolvar PRIVATE "LINKER:--version-script=${exported_names}")
set_target_properties(tolvar PROPERTIES LINK_DEPENDS "${exported_names}")
