# Installs the library for pkg-config (util_zvg.pc) and CMake (util_zvg::util_zvg).
include(CMakePackageConfigHelpers)

set_target_properties(util_zvg PROPERTIES
  PUBLIC_HEADER ${PROJECT_SOURCE_DIR}/include/util_zvg.h)
install(TARGETS util_zvg
  EXPORT util_zvg-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(ZVG_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/util_zvg)
install(EXPORT util_zvg-targets NAMESPACE util_zvg:: DESTINATION ${ZVG_CMAKE_DIR})
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/util_zvg-config.cmake.in
  ${PROJECT_BINARY_DIR}/util_zvg-config.cmake
  INSTALL_DESTINATION ${ZVG_CMAKE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/util_zvg-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/util_zvg-config.cmake
  ${PROJECT_BINARY_DIR}/util_zvg-config-version.cmake
  DESTINATION ${ZVG_CMAKE_DIR})

# The prefix is found from where the .pc file is, so that `cmake --install --prefix` just works.
file(RELATIVE_PATH ZVG_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/util_zvg.pc.in ${PROJECT_BINARY_DIR}/util_zvg.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/util_zvg.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
