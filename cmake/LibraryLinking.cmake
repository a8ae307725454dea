include(CheckLinkerFlag)
separate_arguments(shared_linker_flags UNIX_COMMAND "${CMAKE_SHARED_LINKER_FLAGS}")
check_linker_flag(CXX "${shared_linker_flags};LINKER:-z,undefs" QUORRIN_LINKER_KNOWS_UNDEFS)  # gold does not

# quorrin_link_as_library(TARGET): how the library itself is compiled and linked.
#
# Only the listed names leave it, and its own calls stay inside it: a host may have functions of the same
# everyday names. Variables keep normal binding, so that hosts built without PIC can use them through copy
# relocations. The reader functions stay undefined and are resolved lazily, at their first call.
#
# Distributions bring flags of their own (-z now, -z defs, -Bsymbolic, -fno-plt), which would undo this. Of
# two flags that contradict each other the last one wins; what stands among the libraries comes behind all
# of them, whatever the generator.
function(quorrin_link_as_library target)
  target_compile_options(${target} PRIVATE -fplt)
  target_link_options(${target} PRIVATE
    LINKER:--version-script=${PROJECT_BINARY_DIR}/exports.map
    LINKER:--as-needed)
  target_link_libraries(${target} PRIVATE
    $<BUILD_INTERFACE:quorrin_qt>
    -Wl,-Bsymbolic-functions
    -Wl,-z,lazy
    $<$<BOOL:${QUORRIN_LINKER_KNOWS_UNDEFS}>:-Wl,-z,undefs>)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${PROJECT_BINARY_DIR}/exports.map)
endfunction()
