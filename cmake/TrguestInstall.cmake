# Install rules, pkg-config file and CMake package config.

include(CMakePackageConfigHelpers)

install(TARGETS trguest trplatform trguest_headers EXPORT trguestTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS trguest_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/trguest DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/trplatform
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT trguestTargets NAMESPACE trguest::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/trguest)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/trguestConfig.cmake.in
  ${PROJECT_BINARY_DIR}/trguestConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/trguest)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/trguestConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/trguestConfig.cmake
              ${PROJECT_BINARY_DIR}/trguestConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/trguest)

# The pkg-config file names the prefix relative to its own directory.
file(RELATIVE_PATH TRGUEST_PC_TO_PREFIX "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" TRGUEST_PC_TO_PREFIX "${TRGUEST_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/trguest.pc.in ${PROJECT_BINARY_DIR}/trguest.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/trguest.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
