# The host layer, the rooms of the extension and the extension itself. Files are globbed at every build:
# adding one needs no edit here, and a room without sources is an interface target.

# lumora_glob(variable pattern...): sorted sources, looked for again at every build.
function(lumora_glob outVariable)
    set(patterns "")
    foreach(pattern IN LISTS ARGN)
        list(APPEND patterns "${CMAKE_SOURCE_DIR}/${pattern}")
    endforeach()
    file(GLOB found CONFIGURE_DEPENDS ${patterns})
    if(COMMAND lumora_portable)
        lumora_portable(found)
    endif()
    set(${outVariable} "${found}" PARENT_SCOPE)
endfunction()

# --- host ---------------------------------------------------------------------------------------------
if(LUMORA_HOST_ROOT)
    find_library(LUMORA_HOST_LIBRARY NAMES LShared PATHS "${LUMORA_HOST_ROOT}/lib" NO_DEFAULT_PATH REQUIRED)
    add_library(LShared SHARED IMPORTED GLOBAL)
    set_target_properties(LShared PROPERTIES
        IMPORTED_LOCATION "${LUMORA_HOST_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${LUMORA_HOST_ROOT}/include")
else()
    lumora_glob(_host_sources host/src/*.cpp)
    if(_host_sources)
        add_library(LShared SHARED ${_host_sources})
        target_include_directories(LShared
            PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/host/include> $<INSTALL_INTERFACE:include> PRIVATE "${CMAKE_SOURCE_DIR}/host/src")
        target_compile_definitions(LShared PRIVATE LSHARED_BUILD)
        target_link_libraries(LShared
            PRIVATE lumora_warnings lumora_fmt nlohmann_json::nlohmann_json PUBLIC Threads::Threads)
        lumora_link_complete(LShared)
        if(WIN32)
            set_target_properties(LShared PROPERTIES PREFIX "")
        endif()
        # Calls within the library stay within it: no other definition of its functions is wanted.
        if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT WIN32)
            target_compile_options(LShared PRIVATE -fno-semantic-interposition)
            if(NOT APPLE)
                target_link_options(LShared PRIVATE "LINKER:-Bsymbolic-functions")
            endif()
        endif()
    else()
        add_library(LShared INTERFACE)
        target_include_directories(LShared
            INTERFACE $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/host/include> $<INSTALL_INTERFACE:include>)
    endif()
endif()

# --- rooms --------------------------------------------------------------------------------------------
set(LUMORA_ROOMS "")

# lumora_room(folder dependency...): static library room_<folder> of src/<folder>.
function(lumora_room folder)
    lumora_glob(sources src/${folder}/*.cpp)
    set(target room_${folder})
    if(sources)
        add_library(${target} STATIC ${sources})
        set(scope PUBLIC)
        target_link_libraries(${target} PRIVATE lumora_warnings)
    else()
        add_library(${target} INTERFACE)
        set(scope INTERFACE)
    endif()
    target_include_directories(${target} ${scope} "${CMAKE_SOURCE_DIR}/src")
    target_compile_definitions(${target} ${scope} LUMORA_VERSION="${PROJECT_VERSION}")
    target_link_libraries(${target} ${scope} ${ARGN} lumora_fmt)
    set(LUMORA_ROOMS ${LUMORA_ROOMS} ${target} PARENT_SCOPE)
endfunction()

lumora_room(duckdb_c LShared DuckDB::DuckDB nlohmann_json::nlohmann_json)
lumora_room(cursor room_duckdb_c)
lumora_room(statement room_cursor)
lumora_room(database room_statement)
lumora_room(procedures room_duckdb_c)
lumora_room(extension room_procedures room_database)

# --- the extension ------------------------------------------------------------------------------------
set(LUMORA_EXTENSION_PATH "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/lumora_duckdb${CMAKE_SHARED_LIBRARY_SUFFIX}")
get_target_property(_extension_type room_extension TYPE)
if(_extension_type STREQUAL "STATIC_LIBRARY")
    # An empty source list is not a target; the rooms bring everything.
    file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/generated/lumora_duckdb.cpp" CONTENT "")
    add_library(lumora_duckdb MODULE "${CMAKE_BINARY_DIR}/generated/lumora_duckdb.cpp")
    set_target_properties(lumora_duckdb PROPERTIES PREFIX "" OUTPUT_NAME lumora_duckdb)
    target_link_libraries(lumora_duckdb PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,room_extension>")
    if(NOT WIN32 AND NOT APPLE)
        set(_exports "${CMAKE_SOURCE_DIR}/cmake/exports.map")
        target_link_options(lumora_duckdb PRIVATE "LINKER:--version-script=${_exports}")
        set_target_properties(lumora_duckdb PROPERTIES LINK_DEPENDS "${_exports}")
    endif()
    lumora_link_complete(lumora_duckdb)
endif()
