# What `cmake --install` puts where, and the packages that `cpack` makes of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS qzCheckExitcode RUNTIME)
install(TARGETS quazen EXPORT quazen-targets ARCHIVE INCLUDES DESTINATION include/quazen)
install(DIRECTORY src/ DESTINATION include/quazen FILES_MATCHING PATTERN "*.h"
  PATTERN companion EXCLUDE)
install(FILES docs/qzCheckExitcode.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md"
  PATTERN "*.svg")
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} USE_SOURCE_PERMISSIONS)

if(QZ_COMPANION)
  install(TARGETS qzframe RUNTIME)
  install(FILES docs/qzframe.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES scripts/completions/qzframe
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()

set(QZ_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/quazen)
install(EXPORT quazen-targets NAMESPACE quazen:: DESTINATION ${QZ_CMAKE_DIR})
configure_package_config_file(cmake/quazen-config.cmake.in
  ${PROJECT_BINARY_DIR}/quazen-config.cmake INSTALL_DESTINATION ${QZ_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quazen-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quazen-config.cmake
  ${PROJECT_BINARY_DIR}/quazen-config-version.cmake DESTINATION ${QZ_CMAKE_DIR})
file(RELATIVE_PATH QZ_UP_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/quazen.pc.in ${PROJECT_BINARY_DIR}/quazen.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quazen.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_CONTACT "The quazen developers <quazen@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Exit-code check of a render farm, and its library")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)  # of qzframe; the tool is static
include(CPack)
