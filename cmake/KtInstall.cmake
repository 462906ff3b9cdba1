# SPDX-License-Identifier: MIT

# What lets other projects find an installed kt: the CMake package and the pkg-config file. The
# libraries, headers and programs are installed by the lists that define them. Both files find
# their way from where they stand, so an installed tree can be moved.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/kt)
install(EXPORT ktTargets NAMESPACE kt:: DESTINATION ${packageFolder})
configure_package_config_file(packaging/ktConfig.cmake.in ktConfig.cmake
  INSTALL_DESTINATION ${packageFolder})
# Before 1.0 a new minor version may break its users.
write_basic_package_version_file(ktConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktConfig.cmake ${PROJECT_BINARY_DIR}/ktConfigVersion.cmake
  DESTINATION ${packageFolder})

set(pkgconfigFolder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefixFromPkgconfig /prefix/${pkgconfigFolder} /prefix)
configure_file(packaging/kt.pc.in kt.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kt.pc DESTINATION ${pkgconfigFolder})
