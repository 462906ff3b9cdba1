# SPDX-License-Identifier: MIT

# Installs what lets other projects find kt: the CMake package, the pkg-config file, the licence.
# Each folder installs its own libraries, headers and programs. Both package files use paths
# relative to themselves, so an installed tree can be moved.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/kt)
install(EXPORT ktTargets NAMESPACE kt:: DESTINATION ${packageFolder})
configure_package_config_file(packaging/ktConfig.cmake.in ktConfig.cmake
  INSTALL_DESTINATION ${packageFolder})
# Before 1.0 a new minor version may change interfaces.
write_basic_package_version_file(ktConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktConfig.cmake ${PROJECT_BINARY_DIR}/ktConfigVersion.cmake
  DESTINATION ${packageFolder})

set(pkgconfigFolder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefixFromPkgconfig /prefix/${pkgconfigFolder} /prefix)
configure_file(packaging/kt.pc.in kt.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kt.pc DESTINATION ${pkgconfigFolder})

install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kt)
