# Arguments: way (pkg_config or find_package), build_dir, work_dir, libdir, compiler, flags.
cmake_minimum_required(VERSION 3.25)

set(tree ${work_dir}/tree)
set(host_source ${CMAKE_CURRENT_LIST_DIR}/host)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Installed at one place and used at another: nothing in the tree may name where it was.
file(REMOVE_RECURSE ${work_dir})
run(${CMAKE_COMMAND} --install ${build_dir} --prefix ${work_dir}/elsewhere)
file(RENAME ${work_dir}/elsewhere ${tree})

foreach(file
    include/quorrin/quorrin.h
    include/quorrin/reader_library.h
    ${libdir}/libQuorrin.so
    ${libdir}/libQuorrin.so.1
    ${libdir}/pkgconfig/quorrin.pc
    ${libdir}/cmake/Quorrin/QuorrinConfig.cmake
    ${libdir}/cmake/Quorrin/QuorrinConfigVersion.cmake)
  if(NOT EXISTS ${tree}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()

if(way STREQUAL "pkg_config")
  set(ENV{PKG_CONFIG_PATH} ${tree}/${libdir}/pkgconfig)
  execute_process(COMMAND pkg-config --cflags --libs quorrin
    OUTPUT_VARIABLE link_flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(link_flags UNIX_COMMAND "${link_flags}")
  set(programs ${work_dir})
  foreach(host host host_without_reader)
    run(${compiler} ${flags} ${host_source}/${host}.cpp -o ${programs}/${host} ${link_flags})
  endforeach()
else()
  run(${CMAKE_COMMAND} -S ${host_source} -B ${work_dir}/build
    -D CMAKE_PREFIX_PATH=${tree} -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_CXX_FLAGS=${flags})
  run(${CMAKE_COMMAND} --build ${work_dir}/build)
  set(programs ${work_dir}/build)
endif()

set(ENV{LD_LIBRARY_PATH} ${tree}/${libdir})
run(${programs}/host)
run(${programs}/host_without_reader)
