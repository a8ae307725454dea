# What `cmake --install` puts in place: library, headers, pkg-config file, CMake package.

include(CMakePackageConfigHelpers)

install(TARGETS quorrin EXPORT QuorrinTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/quorrin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Quorrin)
install(EXPORT QuorrinTargets NAMESPACE Quorrin:: DESTINATION ${package_dir})
set(QUORRIN_PROFILES_DIR ${CMAKE_INSTALL_DATADIR}/quorrin/profiles)
configure_package_config_file(cmake/QuorrinConfig.cmake.in ${PROJECT_BINARY_DIR}/QuorrinConfig.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS QUORRIN_PROFILES_DIR)
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

# quorrin_install_component(TARGET COMPONENT DESCRIPTION LIBS VARIABLES): what stands beside the library is
# found as Quorrin::COMPONENT by find_package(Quorrin COMPONENTS COMPONENT), and as quorrin-COMPONENT by
# pkg-config.
function(quorrin_install_component target component description libs variables)
  if(NOT TARGET ${target})
    return()
  endif()
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${component})
  install(TARGETS ${target} EXPORT Quorrin-${component} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(EXPORT Quorrin-${component} NAMESPACE Quorrin:: DESTINATION ${package_dir})
  set(pc_name "Quorrin ${component}")
  set(pc_description "${description}")
  set(pc_libs "${libs}")
  set(pc_variables "${variables}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/component.pc.in
    ${PROJECT_BINARY_DIR}/quorrin-${component}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/quorrin-${component}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

# A reader library comes after the library, whose imports it serves: linkers that drop unneeded libraries
# look at them in this order.
set(with_library "-lQuorrin -Wl,--allow-shlib-undefined")
set(share "\${prefix}/${CMAKE_INSTALL_DATADIR}/quorrin")
quorrin_install_component(quorrin_simulator simulator "simulated reader with test cards"
  "${with_library} -lquorrin-simulator" "profilesdir=${share}/profiles\n")
quorrin_install_component(quorrin_pcsc pcsc "PC/SC readers" "${with_library} -lquorrin-pcsc" "")
quorrin_install_component(quorrin_testbank testbank "test bank for test cards"
  "-lquorrin-testbank" "rulesdir=${share}/bank\n")
