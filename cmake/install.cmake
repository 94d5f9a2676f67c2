# What goes onto a device and onto a developer's machine, and the packages of it.

include(GNUInstallDirs)
set_target_properties(tolvar PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS tolvar LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
if(NOT TOLVAR_METRICS_LIBRARY)
  install(TARGETS tolvar_metrics LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
endif()
if(TARGET tolvar-tool)
  install(TARGETS tolvar-tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
install(FILES entry/tolvar.h client/tolvar_heartbeat.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tolvar")
install(FILES README.md CHANGELOG.md LICENSE docs/tolvar_config.sample
        DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" FILES_MATCHING PATTERN "*.md" PATTERN "*.yaml")

# The client header, for pkg-config and for CMake: find_package(tolvar-client), tolvar::client.
# Relative, so that a package works wherever it is unpacked.
file(RELATIVE_PATH to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/client.pc.in tolvar-client.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/tolvar-client.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
add_library(client INTERFACE)
target_include_directories(client INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tolvar>")
install(TARGETS client EXPORT tolvar-client)
install(EXPORT tolvar-client NAMESPACE tolvar:: FILE tolvar-clientConfig.cmake
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/tolvar-client")

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_CONTACT "tolvar maintainers <maintainers@tolvar.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Process supervisor and component updater, as a plug-in")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  set(package_architecture amd64)
else()
  set(package_architecture "${CMAKE_SYSTEM_PROCESSOR}")
endif()
set(CPACK_PACKAGE_FILE_NAME "tolvar-${PROJECT_VERSION}-${package_architecture}")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${package_architecture}")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libc6, libcjson1, libcurl4, libgcc-s1, libssl3, libstdc++6, procps")
include(CPack)
