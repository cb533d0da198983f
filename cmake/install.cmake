# Installs the two libraries, the headers and a CMake package for find_package(tavlib).

include(CMakePackageConfigHelpers)

install(TARGETS tavlib tavlib_static EXPORT tavlib-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/tavlib DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT tavlib-targets NAMESPACE tavlib:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavlib)

file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/tavlib-config.cmake
  "include(CMakeFindDependencyMacro)\nfind_dependency(Threads)\n"
  "include(\${CMAKE_CURRENT_LIST_DIR}/tavlib-targets.cmake)\n")
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/tavlib-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/tavlib-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/tavlib-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavlib)
