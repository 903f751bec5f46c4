# What `cmake --install` gives a consumer: library, headers, man page, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

install(TARGETS emantle EXPORT eMantleTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/emantle DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
install(FILES ${PROJECT_SOURCE_DIR}/docs/man/emantle.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/eMantle)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/eMantleConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/eMantleConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/eMantleConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(EXPORT eMantleTargets NAMESPACE eMantle:: DESTINATION ${package_folder})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/eMantleConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/eMantleConfigVersion.cmake
        DESTINATION ${package_folder})

# The file finds its prefix from its own place, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/emantle.pc.in ${CMAKE_CURRENT_BINARY_DIR}/emantle.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/emantle.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
