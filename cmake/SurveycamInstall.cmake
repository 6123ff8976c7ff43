# Installs the library, its umbrella header, a CMake package and a pkg-config
# file (each layer installs its own public headers).
include(CMakePackageConfigHelpers)

install(TARGETS surveycam EXPORT surveycamTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/surveycam.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/surveycam)
install(EXPORT surveycamTargets NAMESPACE surveycam:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/surveycam)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/surveycamConfig.cmake.in
  ${PROJECT_BINARY_DIR}/surveycamConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/surveycam)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/surveycamConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/surveycamConfig.cmake ${PROJECT_BINARY_DIR}/surveycamConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/surveycam)
file(RELATIVE_PATH SURVEYCAM_PC_TO_PREFIX
  ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" SURVEYCAM_PC_TO_PREFIX "${SURVEYCAM_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/surveycam.pc.in ${PROJECT_BINARY_DIR}/surveycam.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/surveycam.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
