# What the decoder and the quorrin command need besides the library: CLI11, nlohmann-json and the JSON
# files of iso-codes, as Debian packages them. The tools are built where all of it is found, unless
# QUORRIN_BUILD_TOOLS says otherwise; asked for and not found is an error that names the package.

find_package(CLI11 QUIET)
find_package(nlohmann_json QUIET)
find_path(QUORRIN_ISO_CODES iso_3166-1.json PATH_SUFFIXES share/iso-codes/json iso-codes/json
  DOC "Folder of the JSON files of the package iso-codes")

set(missing_packages "")
if(NOT CLI11_FOUND)
  list(APPEND missing_packages libcli11-dev)
endif()
if(NOT nlohmann_json_FOUND)
  list(APPEND missing_packages nlohmann-json3-dev)
endif()
if(NOT QUORRIN_ISO_CODES)
  list(APPEND missing_packages iso-codes)
endif()

if(missing_packages)
  set(all_found OFF)
else()
  set(all_found ON)
endif()
option(QUORRIN_BUILD_TOOLS "Build the decoder and the quorrin command" ${all_found})
if(QUORRIN_BUILD_TOOLS AND missing_packages)
  list(JOIN missing_packages " " missing_packages)
  message(FATAL_ERROR "The tools need ${missing_packages}: install what is missing, or set "
    "QUORRIN_BUILD_TOOLS to OFF")
endif()
