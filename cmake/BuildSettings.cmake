# Language level, build type, warnings and instrumentation shared by everything that is compiled here.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# -O2 with debug information unless something else is asked for.
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g")
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g")

add_compile_options(-Wall -Wextra -Wshadow -Wconversion)

set(QUORRIN_INSTRUMENTATION "" CACHE STRING "Instrumentation: empty, sanitize, coverage or fuzz")
if(QUORRIN_INSTRUMENTATION STREQUAL "sanitize")
  # Not measured, so built fast: -O1 finds the same faults, and line numbers are what its reports need.
  add_compile_options(-O1 -g1)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(QUORRIN_INSTRUMENTATION STREQUAL "fuzz")
  # Clang's: the sanitizers, and the edge counters by which libFuzzer sees where an input leads.
  add_compile_options(-g1 -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
    -fsanitize-coverage-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/uncounted.list
    -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()  # coverage: the library alone counts

# With CMAKE_UNITY_BUILD, which scripts/test sets, all files of a target are compiled together.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 0)

# A compiler cache, where the machine has one, saves what has been compiled before.
find_program(QUORRIN_CCACHE ccache)
if(QUORRIN_CCACHE)
  foreach(language C CXX)
    if(NOT CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER ${QUORRIN_CCACHE})
    endif()
  endforeach()
endif()
