# Installs the libraries, the public headers, a pkg-config file and a CMake
# package, so hosts use either `pkg-config baublecore` or
# `find_package(baublecore)` with the target baublecore::baublecore.
include(CMakePackageConfigHelpers)

install(TARGETS pxbase baublecore EXPORT baublecoreTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
)
install(TARGETS bauble RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/baublecore
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/pxbase/include/pxbase
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(BC_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/baublecore)
install(EXPORT baublecoreTargets NAMESPACE baublecore:: DESTINATION ${BC_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/baublecoreConfig.cmake.in
  ${PROJECT_BINARY_DIR}/baublecoreConfig.cmake INSTALL_DESTINATION ${BC_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/baublecoreConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/baublecoreConfig.cmake
  ${PROJECT_BINARY_DIR}/baublecoreConfigVersion.cmake DESTINATION ${BC_CMAKE_DIR})

# The .pc file finds the prefix from its own place, so an installed tree can
# be moved.
file(RELATIVE_PATH BC_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/baublecore.pc.in
  ${PROJECT_BINARY_DIR}/baublecore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/baublecore.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
