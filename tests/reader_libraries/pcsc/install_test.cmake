# Arguments: build_dir, work_dir, libdir. What a host developer finds after installation.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${work_dir})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build_dir} --prefix ${work_dir}
  COMMAND_ERROR_IS_FATAL ANY)
foreach(file libquorrin-pcsc.so libquorrin-pcsc.so.1 pkgconfig/quorrin-pcsc.pc
    cmake/Quorrin/Quorrin-pcsc.cmake)
  if(NOT EXISTS ${work_dir}/${libdir}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
