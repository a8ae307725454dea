# Arguments: source_dir, build_dir, compiler, library (its file name), command and python (empty: not asked).
cmake_minimum_required(VERSION 3.25)

function(printed_by result)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

function(first_match result file pattern)
  file(READ ${source_dir}/${file} text)
  set(CMAKE_MATCH_1 "nothing")
  string(REGEX MATCH "${pattern}" ignored "${text}")
  set(${result} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

# What the header means to a compiler.
set(probe ${build_dir}/tests/interface/version/probe.c)
file(WRITE ${probe} "#include <quorrin/version.h>\n"
  "text QUORRIN_VERSION_STRING\n"
  "numbers QUORRIN_VERSION_MAJOR QUORRIN_VERSION_MINOR QUORRIN_VERSION_PATCH\n")
printed_by(preprocessed ${compiler} -E -P -I${source_dir}/include ${probe})
string(REGEX MATCH "text \"(.*)\"" ignored "${preprocessed}")
set(version ${CMAKE_MATCH_1})
string(REGEX MATCH "numbers ([0-9]+) ([0-9]+) ([0-9]+)" ignored "${preprocessed}")

set(places "the numbers in version.h")
set(versions "${CMAKE_MATCH_1}.${CMAKE_MATCH_2}.${CMAKE_MATCH_3}")
macro(says place its_version)
  list(APPEND places "${place}")
  list(APPEND versions "${its_version}")
endmacro()

string(REPLACE "libQuorrin.so." "" behind_the_name ${library})
says("the library's file name" "${behind_the_name}")

file(GLOB pkg_config_files ${build_dir}/*.pc)
foreach(file IN LISTS pkg_config_files)
  printed_by(text pkg-config --modversion ${file})
  says(${file} "${text}")
endforeach()

include(${build_dir}/QuorrinConfigVersion.cmake)
says("the CMake package" "${PACKAGE_VERSION}")

if(command)
  printed_by(text ${command} --version)
  string(REPLACE "quorrin " "" text "${text}")
  says("quorrin --version" "${text}")
endif()

if(python)
  printed_by(text ${CMAKE_COMMAND} -E env PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=${source_dir}/hosts/python
    ${python} -c "import quorrin\nprint(quorrin.__version__)")
  says("the Python package" "${text}")
  printed_by(text ${CMAKE_COMMAND} -E env PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=${source_dir}/hosts/python
    ${python} -c "import build_wheel\nprint(build_wheel.VERSION)")
  says("the Python wheel" "${text}")
endif()

first_match(text debian/changelog "^quorrin \\(([^)]*)\\)")
says("debian/changelog" "${text}")
first_match(text CHANGELOG.md "## ([0-9.]+)")
says("CHANGELOG.md" "${text}")

foreach(place its_version IN ZIP_LISTS places versions)
  if(NOT its_version STREQUAL version)
    message(SEND_ERROR "quorrin/version.h says ${version}, ${place} says ${its_version}")
  endif()
endforeach()
