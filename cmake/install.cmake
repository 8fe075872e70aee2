# Installation: bin/, lib/, include/, share/tessaron/ (the configuration directory), man pages, and the
# package files by which other projects find the engine.
include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_DATADIR}/tessaron)

if(TARGET tessaron)
  install(TARGETS tessaron RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  install(TARGETS tessaron_pictures LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tessaron COMPONENT runtime)
endif()
install(TARGETS tessaron_engine EXPORT tessaronTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/tessaron DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
# The host kit, for programs that embed the engine: #include "hostkit/host_kit.h".
install(TARGETS hostkit EXPORT tessaronTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_INCLUDEDIR}/tessaron)
install(FILES hostkit/host_kit.h hostkit/window.h hostkit/plugin_library.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessaron/hostkit COMPONENT development)
file(GLOB config_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/config/*.text)
list(FILTER config_files EXCLUDE REGEX "/t_log\\.text$")
install(FILES ${config_files} DESTINATION ${config_dir} COMPONENT runtime)
file(GLOB effect_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/effects/*.text)
install(FILES ${effect_files} DESTINATION ${config_dir}/effects COMPONENT runtime)
file(GLOB man_pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/*.1)
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES README.md CHANGELOG.md docs/language.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

# The engine looks beside its library for a store of settings; the installation puts its own
# configuration directory there.
install(CODE "
  file(WRITE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${config_dir}/registry\"
       \"Software\\\\Holvane\\\\Tessaron AE\\\\1.10\\\\ConfigDir=\${CMAKE_INSTALL_PREFIX}/${config_dir}\\n\")
" COMPONENT runtime)

install(EXPORT tessaronTargets NAMESPACE tessaron:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tessaron
        COMPONENT development)
configure_package_config_file(cmake/tessaronConfig.cmake.in ${CMAKE_BINARY_DIR}/tessaronConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tessaron)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/tessaronConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_file(cmake/tessaron.pc.in ${CMAKE_BINARY_DIR}/tessaron.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/tessaronConfig.cmake ${CMAKE_BINARY_DIR}/tessaronConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tessaron COMPONENT development)
install(FILES ${CMAKE_BINARY_DIR}/tessaron.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
