# The library needs Qt Core alone. What stands around it needs more, as Debian packages it: each part is built
# where all of that is found, unless its option says otherwise; asked for and not found is an error.

find_package(CLI11 QUIET)
find_package(nlohmann_json QUIET)
find_package(OpenSSL 3.0 QUIET COMPONENTS Crypto)
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(PCSCLITE QUIET libpcsclite)
endif()
find_path(QUORRIN_TOMLPLUSPLUS toml++/toml.h DOC "Folder of the headers of toml++")
find_path(QUORRIN_ISO_CODES iso_3166-1.json PATH_SUFFIXES share/iso-codes/json iso-codes/json
  DOC "Folder of the JSON files of the package iso-codes")

# quorrin_optional_part(OPTION WHAT (PACKAGE FOUND)...): sets OPTION to ON or OFF. FOUND is the variable that says
# whether PACKAGE is there.
function(quorrin_optional_part option what)
  set(${option} AUTO CACHE STRING "${what}: ON, OFF, or AUTO: where the packages for it are found")
  set(missing "")
  while(ARGN)
    list(POP_FRONT ARGN package found)
    if(NOT ${found})
      list(APPEND missing ${package})
    endif()
  endwhile()
  list(JOIN missing " " packages)
  if("${${option}}" STREQUAL "AUTO")
    set(${option} ON)
    if(missing)
      set(${option} OFF)
      message(NOTICE "-- Without ${what}: not found ${packages} (names of Debian's packages)")
    endif()
  elseif(${option} AND missing)
    message(FATAL_ERROR "${what}: install ${packages} (names of Debian's packages), or set ${option} to OFF")
  endif()
  set(${option} ${${option}} PARENT_SCOPE)
endfunction()

quorrin_optional_part(QUORRIN_BUILD_SIMULATOR "the simulated reader, its cards, traces and the test bank"
  libtomlplusplus-dev QUORRIN_TOMLPLUSPLUS
  libssl-dev OPENSSL_FOUND
  nlohmann-json3-dev nlohmann_json_FOUND)
quorrin_optional_part(QUORRIN_BUILD_PCSC "libquorrin-pcsc.so, the way to real readers"
  pkg-config PkgConfig_FOUND
  libpcsclite-dev PCSCLITE_FOUND
  libtomlplusplus-dev QUORRIN_TOMLPLUSPLUS)
quorrin_optional_part(QUORRIN_BUILD_TOOLS "the quorrin command and the decoder"
  libcli11-dev CLI11_FOUND
  nlohmann-json3-dev nlohmann_json_FOUND
  iso-codes QUORRIN_ISO_CODES
  libtomlplusplus-dev QUORRIN_TOMLPLUSPLUS
  libssl-dev OPENSSL_FOUND)
if(QUORRIN_BUILD_TOOLS AND NOT QUORRIN_BUILD_SIMULATOR)
  message(NOTICE "-- Without the quorrin command and the decoder: they need the simulated reader and the test bank")
  set(QUORRIN_BUILD_TOOLS OFF)
endif()
