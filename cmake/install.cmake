# What `cmake --install` puts where: headers, libraries, the simulated controller, CMake package and pkg-config file.
# All of it finds the rest from where it lies itself, so that an installed tree can be moved.

set(ZIVRA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zivra)

install(TARGETS zivra EXPORT zivra-targets)
install(DIRECTORY include/zivra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
if(ZIVRA_BUILD_SIM)
  install(TARGETS zivra_sim EXPORT zivra-targets)
  file(RELATIVE_PATH ZIVRA_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(zivra_sim_program PROPERTIES INSTALL_RPATH "$ORIGIN/${ZIVRA_BIN_TO_LIB}")
  install(TARGETS zivra_sim_program)
  install(DIRECTORY sim/include/zivra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endif()
install(EXPORT zivra-targets NAMESPACE zivra:: DESTINATION ${ZIVRA_CMAKE_DIR})

configure_package_config_file(cmake/zivra-config.cmake.in zivra-config.cmake INSTALL_DESTINATION ${ZIVRA_CMAKE_DIR})
write_basic_package_version_file(zivra-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zivra-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/zivra-config-version.cmake
  DESTINATION ${ZIVRA_CMAKE_DIR})

# The static library needs what it is made of at the application's link; the shared one keeps it to itself.
if(BUILD_SHARED_LIBS)
  set(ZIVRA_PC_REQUIRES "")
  set(ZIVRA_PC_CFLAGS "")
  set(ZIVRA_PC_LIBS "")
else()
  set(ZIVRA_PC_REQUIRES " fmt jsoncpp libcrypto")
  set(ZIVRA_PC_CFLAGS " -DZIVRA_STATIC")
  set(ZIVRA_PC_LIBS " -pthread")
endif()
file(RELATIVE_PATH ZIVRA_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ZIVRA_PC_TO_PREFIX "${ZIVRA_PC_TO_PREFIX}")
set(ZIVRA_PC_PREFIX "\${pcfiledir}/${ZIVRA_PC_TO_PREFIX}")
configure_file(cmake/zivra.pc.in zivra.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zivra.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
