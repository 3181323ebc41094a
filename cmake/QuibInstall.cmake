# make install: the two libraries, their headers, a CMake package and a
# pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS QuibTool quibtool_static EXPORT QuibTool)
install(TARGETS quib_platform EXPORT QuibTool)
install(DIRECTORY include/quibtool DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QuibTool)
install(EXPORT QuibTool FILE QuibToolTargets.cmake NAMESPACE QuibTool:: DESTINATION ${package_dir})
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfig.cmake
  "include(\${CMAKE_CURRENT_LIST_DIR}/QuibToolTargets.cmake)\n")
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfigVersion.cmake DESTINATION ${package_dir})

# The prefix is told from where the file lies, so an installed tree can be moved.
file(RELATIVE_PATH QUIB_PREFIX_FROM_PKGCONFIG
  ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(QUIB_PKGCONFIG_LIBS -lQuibTool)
if(NOT WIN32)
  string(APPEND QUIB_PKGCONFIG_LIBS " -lQuibPlatform")
endif()
configure_file(cmake/quibtool.pc.in quibtool.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quibtool.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
