# Arguments: readme, include_dir, library_dir, work_dir, compiler, flags. The README's first host, built and
# run as the README says, against the simulated reader's built-in card.
cmake_minimum_required(VERSION 3.25)

file(MAKE_DIRECTORY ${work_dir})
execute_process(
  COMMAND awk "/^```c\\+\\+/ { inside = 1; next } /^```/ && inside { exit } inside" ${readme}
  OUTPUT_FILE ${work_dir}/host.cpp COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${compiler} ${flags} ${work_dir}/host.cpp -I${include_dir} -L${library_dir}
    -Wl,-rpath,${library_dir} -lQuorrin -lquorrin-simulator -o ${work_dir}/host
  COMMAND_ERROR_IS_FATAL ANY)
set(ENV{QT_LOGGING_RULES} default.debug=false)
execute_process(COMMAND ${work_dir}/host OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
string(STRIP "${printed}" printed)
file(READ ${readme} page)
string(FIND "${page}" "./host\n${printed}\n" place)
if(printed STREQUAL "" OR place EQUAL -1)
  message(FATAL_ERROR "the README does not show what its host prints: ${printed}")
endif()
