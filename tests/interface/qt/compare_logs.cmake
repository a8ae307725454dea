# Arguments: qt5, qt6: the program that logs, by each.
cmake_minimum_required(VERSION 3.25)
set(ENV{QT_LOGGING_RULES} default.debug=true)
foreach(major 5 6)
  # As hexadecimal digits: not every line is text.
  execute_process(COMMAND ${qt${major}} ERROR_FILE log.qt${major} COMMAND_ERROR_IS_FATAL ANY)
  file(READ log.qt${major} lines_${major} HEX)
endforeach()
string(LENGTH "${lines_5}" size)
if(size LESS 1000 OR NOT lines_5 STREQUAL lines_6)
  message(FATAL_ERROR "the logs differ:\nQt 5: ${lines_5}\nQt 6: ${lines_6}")
endif()
