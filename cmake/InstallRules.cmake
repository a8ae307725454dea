# What `cmake --install` puts in place: library, headers, pkg-config file, CMake package.

include(CMakePackageConfigHelpers)

install(TARGETS quorrin EXPORT QuorrinTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/quorrin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Quorrin)
install(EXPORT QuorrinTargets NAMESPACE Quorrin:: DESTINATION ${package_dir})
configure_package_config_file(cmake/QuorrinConfig.cmake.in ${PROJECT_BINARY_DIR}/QuorrinConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuorrinConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuorrinConfig.cmake ${PROJECT_BINARY_DIR}/QuorrinConfigVersion.cmake
  DESTINATION ${package_dir})

# The pkg-config file finds its tree from its own place, so that an installed tree can be moved.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
  set(pc_prefix "\${pcfiledir}/${pc_to_prefix}")
endif()
configure_file(cmake/quorrin.pc.in ${PROJECT_BINARY_DIR}/quorrin.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorrin.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
