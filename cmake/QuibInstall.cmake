# make install: the libraries, their headers, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME library)

install(TARGETS QuibTool quibtool_static EXPORT QuibTool)
install(TARGETS quib_platform EXPORT QuibTool)
if(NOT WIN32)
  install(TARGETS quib_platform_static EXPORT QuibTool)
endif()
install(DIRECTORY include/quibtool DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QuibTool)
install(EXPORT QuibTool FILE QuibToolTargets.cmake NAMESPACE QuibTool:: DESTINATION ${package_dir})
configure_package_config_file(cmake/QuibToolConfig.cmake.in QuibToolConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/QuibToolConfigVersion.cmake DESTINATION ${package_dir})

# The prefix is told from where the file lies, so an installed tree can be moved.
file(RELATIVE_PATH QUIB_PREFIX_FROM_PKGCONFIG
  ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
# What the static form needs besides is private.
if(WIN32)
  set(QUIB_PKGCONFIG_LIBS "-lQuibTool")
  set(QUIB_PKGCONFIG_PRIVATE "-lgdi32 -luser32 -lstdc++")
else()
  set(QUIB_PKGCONFIG_LIBS "-lQuibTool -lQuibPlatform")
  set(QUIB_PKGCONFIG_PRIVATE "-lstdc++ -lm")
endif()
configure_file(cmake/quibtool.pc.in quibtool.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quibtool.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
