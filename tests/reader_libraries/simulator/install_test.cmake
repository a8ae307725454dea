# Arguments: build_dir, work_dir, libdir, datadir. What a host developer finds after installation.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${work_dir})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build_dir} --prefix ${work_dir}
  COMMAND_ERROR_IS_FATAL ANY)
file(GLOB shipped RELATIVE ${CMAKE_CURRENT_LIST_DIR}/../../../reader_libraries/simulator/profiles
  ${CMAKE_CURRENT_LIST_DIR}/../../../reader_libraries/simulator/profiles/*.toml)
if(NOT shipped)
  message(FATAL_ERROR "no profiles to look for")
endif()
list(TRANSFORM shipped PREPEND ${datadir}/quorrin/profiles/)
foreach(file ${libdir}/libquorrin-simulator.so include/quorrin/reader_library.h ${shipped})
  if(NOT EXISTS ${work_dir}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
