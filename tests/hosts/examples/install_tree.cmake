# Arguments: build_dir, tree. Installed at one place and used at another: nothing in it may name where it was.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${tree} ${tree}-elsewhere)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${build_dir} --prefix ${tree}-elsewhere
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${tree}-elsewhere ${tree})
