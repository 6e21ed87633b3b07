# Installs the library, its header, the CMake package (tov::tov) and the pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS tov EXPORT tovTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/tov.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/tov)
install(EXPORT tovTargets NAMESPACE tov:: FILE tovTargets.cmake DESTINATION ${packageDir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tovConfig.cmake.in ${PROJECT_BINARY_DIR}/tovConfig.cmake
    INSTALL_DESTINATION ${packageDir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tovConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tovConfig.cmake ${PROJECT_BINARY_DIR}/tovConfigVersion.cmake
    DESTINATION ${packageDir})

# The prefix stands relative to the file, so that an installation may be moved or staged.
file(RELATIVE_PATH prefixFromPc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefixFromPc "${prefixFromPc}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/tov.pc.in ${PROJECT_BINARY_DIR}/tov.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tov.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
