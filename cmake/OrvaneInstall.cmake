# Installation: headers, both libraries, orvctl, pkg-config files and a CMake
# package (find_package(Orvane) gives Orvane::orvane and Orvane::orvane_c).
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/sdk/include/Orvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvane)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/capi/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvane
        FILES_MATCHING PATTERN "*.h")

install(TARGETS Orvane Orvane_C EXPORT OrvaneTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvane)
install(EXPORT OrvaneTargets NAMESPACE Orvane:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvane)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrvaneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/OrvaneConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvane)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvaneConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvaneConfig.cmake ${PROJECT_BINARY_DIR}/OrvaneConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Orvane)

# The .pc files find the prefix relative to themselves, so an installed tree
# can be moved (and installed with --prefix) without editing them.
file(RELATIVE_PATH ORVANE_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
foreach(_pc orvane orvane-c)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${_pc}.pc.in ${PROJECT_BINARY_DIR}/${_pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${_pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
