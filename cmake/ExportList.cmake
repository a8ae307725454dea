# cmake/exports.list states everything that libQuorrin.so.1 exports, one name a line:
#
#   function NAME           plain symbol
#   variable NAME           plain symbol
#   c++      NAME SYMBOL    function with a typed (mangled) symbol
#
# The linker's version script and the table that the export test compares with the built library are
# both made from it.

set(QUORRIN_EXPORT_LIST ${CMAKE_CURRENT_LIST_DIR}/exports.list)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${QUORRIN_EXPORT_LIST})

# Calls FUNCTION(kind name symbol) for every export.
function(quorrin_for_each_export callback)
  file(STRINGS ${QUORRIN_EXPORT_LIST} lines REGEX "^[^#]")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "[ \t]+" ";" fields "${line}")
    list(LENGTH fields count)
    list(GET fields 0 kind)
    list(GET fields 1 name)
    set(symbol ${name})
    if(kind STREQUAL "c++")
      list(GET fields 2 symbol)
    elseif(NOT kind MATCHES "^(function|variable)$" OR NOT count EQUAL 2)
      message(FATAL_ERROR "exports.list: cannot read '${line}'")
    endif()
    cmake_language(CALL ${callback} ${kind} ${name} ${symbol})
  endforeach()
endfunction()

function(quorrin_version_script output)
  set_property(GLOBAL PROPERTY QUORRIN_EXPORT_SYMBOLS "")
  function(_quorrin_collect_symbol kind name symbol)
    set_property(GLOBAL APPEND_STRING PROPERTY QUORRIN_EXPORT_SYMBOLS "    ${symbol};\n")
  endfunction()
  quorrin_for_each_export(_quorrin_collect_symbol)
  get_property(symbols GLOBAL PROPERTY QUORRIN_EXPORT_SYMBOLS)
  file(CONFIGURE OUTPUT ${output} CONTENT "{\n  global:\n@symbols@  local:\n    *;\n};\n" @ONLY)
endfunction()
