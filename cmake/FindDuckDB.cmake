# Finds DuckDB's C header and shared library and defines the imported target DuckDB::DuckDB.
#
# LUMORA_DUCKDB_ROOT (CMake or environment variable) names a prefix with include/duckdb.h and
# lib/libduckdb; without it the copy that scripts/setup.sh unpacked under build/deps is used.
# The library is linked (or copied) into this build's lib folder, so that a build folder is complete
# and its libraries find each other by $ORIGIN.
if(NOT LUMORA_DUCKDB_ROOT AND DEFINED ENV{LUMORA_DUCKDB_ROOT})
    set(LUMORA_DUCKDB_ROOT "$ENV{LUMORA_DUCKDB_ROOT}")
endif()
set(LUMORA_DUCKDB_ROOT "${LUMORA_DUCKDB_ROOT}" CACHE PATH "Prefix of an installed DuckDB")
if(LUMORA_DUCKDB_ROOT)
    set(_duckdb_prefix "${LUMORA_DUCKDB_ROOT}")
else()
    set(_duckdb_prefix "${CMAKE_CURRENT_SOURCE_DIR}/build/deps/duckdb")
    if(WIN32)
        set(_duckdb_prefix "${CMAKE_CURRENT_SOURCE_DIR}/build/deps/windows/duckdb")
    endif()
endif()

# Not cached: another prefix must be looked at again.
unset(DuckDB_INCLUDE_DIR CACHE)
unset(DuckDB_LIBRARY CACHE)
find_path(DuckDB_INCLUDE_DIR duckdb.h PATHS "${_duckdb_prefix}/include" NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_library(DuckDB_LIBRARY NAMES duckdb PATHS "${_duckdb_prefix}/lib" NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(DuckDB
    REQUIRED_VARS DuckDB_LIBRARY DuckDB_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "No duckdb.h and libduckdb under ${_duckdb_prefix}: run scripts/setup.sh, or set LUMORA_DUCKDB_ROOT to a prefix with include/duckdb.h and lib/libduckdb.so.")

# On Windows what is linked is the import library; the library itself goes where our programs are.
if(DuckDB_FOUND AND WIN32 AND NOT TARGET DuckDB::DuckDB)
    add_library(DuckDB::DuckDB SHARED IMPORTED)
    set_target_properties(DuckDB::DuckDB PROPERTIES
        IMPORTED_IMPLIB "${DuckDB_LIBRARY}"
        IMPORTED_LOCATION "${CMAKE_BINARY_DIR}/bin/duckdb.dll"
        INTERFACE_INCLUDE_DIRECTORIES "${DuckDB_INCLUDE_DIR}")
    file(COPY "${_duckdb_prefix}/bin/duckdb.dll" DESTINATION "${CMAKE_BINARY_DIR}/bin")
endif()

if(DuckDB_FOUND AND NOT TARGET DuckDB::DuckDB)
    file(REAL_PATH "${DuckDB_LIBRARY}" _duckdb_file)
    set(_duckdb_name libduckdb${CMAKE_SHARED_LIBRARY_SUFFIX})
    set(LUMORA_DUCKDB_LIBRARY "${CMAKE_BINARY_DIR}/lib/${_duckdb_name}")
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
    file(CREATE_LINK "${_duckdb_file}" "${LUMORA_DUCKDB_LIBRARY}" COPY_ON_ERROR)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${_duckdb_file}")

    # A library with a versioned soname is looked for under that name at run time.
    if(CMAKE_OBJDUMP)
        execute_process(COMMAND "${CMAKE_OBJDUMP}" -p "${_duckdb_file}"
            OUTPUT_VARIABLE _duckdb_headers ERROR_QUIET)
        if(_duckdb_headers MATCHES "SONAME +([^ \n]+)" AND NOT CMAKE_MATCH_1 STREQUAL _duckdb_name)
            file(CREATE_LINK "${_duckdb_name}" "${CMAKE_BINARY_DIR}/lib/${CMAKE_MATCH_1}" SYMBOLIC)
        endif()
    endif()

    add_library(DuckDB::DuckDB SHARED IMPORTED)
    set_target_properties(DuckDB::DuckDB PROPERTIES
        IMPORTED_LOCATION "${LUMORA_DUCKDB_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${DuckDB_INCLUDE_DIR}")
endif()
