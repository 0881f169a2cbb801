# Test executables, one ctest entry each. Labels: unit, contract, load, stress, replay, and threaded for
# those whose file or folder name says thread, stress or concurren; these are what the tsan build runs.
if(NOT TARGET GTest::gmock)
    find_package(GTest REQUIRED)
endif()

lumora_glob(_support_sources tests/support/*.cpp)
if(_support_sources)
    add_library(test_support STATIC ${_support_sources})
    set_target_properties(test_support PROPERTIES CXX_VISIBILITY_PRESET default VISIBILITY_INLINES_HIDDEN OFF)
    set(_scope PUBLIC)
    target_link_libraries(test_support PRIVATE lumora_warnings)
else()
    add_library(test_support INTERFACE)
    set(_scope INTERFACE)
endif()
# Support sees the rooms' headers for the inline handle types alone: executables that load the extension
# link no room.
target_include_directories(test_support ${_scope} "${CMAKE_SOURCE_DIR}/tests" "${CMAKE_SOURCE_DIR}/src")
if(WIN32)
    target_include_directories(test_support ${_scope} "${CMAKE_SOURCE_DIR}/tests/support/windows")
endif()
target_link_libraries(test_support ${_scope}
    LShared DuckDB::DuckDB lumora_fmt nlohmann_json::nlohmann_json GTest::gmock Threads::Threads ${CMAKE_DL_LIBS})
target_compile_definitions(test_support ${_scope}
    LUMORA_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
    LUMORA_EXTENSION_PATH="${LUMORA_EXTENSION_PATH}"
    LUMORA_SHELL_PATH="${LUMORA_SHELL_PATH}"
    LUMORA_VERSION="${PROJECT_VERSION}"
    LUMORA_FLIGHTS_PATH="${CMAKE_SOURCE_DIR}/build/deps/data/flights-3m.parquet")

# Tests are compiled without optimisation, which halves their build and costs nothing that matters: what they
# call is optimised. There is no precompiled header: it saves a third of a cold compile, but ccache could then
# not serve one checkout with what another one compiled, which saves nearly all of it.
add_library(test_options INTERFACE)
if(NOT MSVC)
    # An assertion after `if` is fine: its macro is made for it, but g++ does not see that.
    target_compile_options(test_options INTERFACE -O0 -U_FORTIFY_SOURCE -Wno-dangling-else)
endif()

add_custom_target(threaded_tests COMMENT "Tests that run more than one thread")

# A host is tested with an extension that knows no database.
lumora_glob(_fake_sources tests/support/fake_extension/*.cpp)
add_library(fake_extension MODULE ${_fake_sources})
set_target_properties(fake_extension PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
target_include_directories(fake_extension PRIVATE "${CMAKE_SOURCE_DIR}/host/include")
target_link_libraries(fake_extension PRIVATE test_options lumora_warnings)
target_compile_definitions(test_support ${_scope} LUMORA_FAKE_EXTENSION_PATH="$<TARGET_FILE:fake_extension>")

# lumora_test(name label timeout LIBRARIES ... SOURCES ...)
function(lumora_test name label timeout)
    cmake_parse_arguments(ARG "" "" "LIBRARIES;SOURCES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    # Exports: what a test defines in the place of one of DuckDB's functions holds for a loaded extension.
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests" ENABLE_EXPORTS ON)
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} test_support GTest::gtest_main lumora_warnings test_options)
    foreach(used IN ITEMS lumora_duckdb lumora fake_extension)
        if(TARGET ${used} AND NOT label STREQUAL "unit")
            add_dependencies(${name} ${used})
        endif()
    endforeach()
    set(labels ${label})
    string(REPLACE "${CMAKE_SOURCE_DIR}/" "" relative "${ARG_SOURCES}")
    string(TOLOWER "${relative}" relative)
    if(relative MATCHES "thread|stress|concurren")
        list(APPEND labels threaded)
        add_dependencies(threaded_tests ${name})
    endif()
    list(JOIN LUMORA_NOT_ON_WINDOWS ":" left_out)
    if(left_out)
        set(left_out "--gtest_filter=-${left_out}")
    endif()
    add_test(NAME ${name} COMMAND ${name} ${left_out})
    set_tests_properties(${name} PROPERTIES
        LABELS "${labels}" TIMEOUT ${timeout} ENVIRONMENT "${LUMORA_TEST_ENVIRONMENT}")
    if(WIN32 AND CMAKE_CROSSCOMPILING)
        # A program that dies under Wine may exit with 0, and one whose files were all left out has no test.
        set_tests_properties(${name} PROPERTIES
            PASS_REGULAR_EXPRESSION "\\[  PASSED  \\] [1-9]" FAIL_REGULAR_EXPRESSION "\\[  FAILED  \\]")
    endif()
endfunction()

# --- unit: one executable a room ------------------------------------------------------------------------
foreach(_room IN ITEMS host duckdb_c cursor statement database procedures extension shell)
    lumora_glob(_sources tests/unit/${_room}/*.cpp)
    # The unit tests of our host know its inside.
    if(_sources AND NOT (_room STREQUAL "host" AND LUMORA_HOST_ROOT))
        set(_libraries room_${_room})
        if(_room STREQUAL "host")
            set(_libraries LShared)
        endif()
        lumora_test(unit_${_room} unit 900 LIBRARIES ${_libraries} SOURCES ${_sources})
        if(_room STREQUAL "host")
            target_include_directories(unit_host PRIVATE "${CMAKE_SOURCE_DIR}/host/src")
        endif()
    endif()
endforeach()

# lumora_test_folders(prefix label timeout): one executable for each folder in tests/<label>, which loads the
# library as a host does.
function(lumora_test_folders prefix label timeout)
    lumora_glob(sources tests/${label}/*/*.cpp)
    set(names "")
    foreach(source IN LISTS sources)
        get_filename_component(folder "${source}" DIRECTORY)
        get_filename_component(name "${folder}" NAME)
        list(APPEND names ${name})
        list(APPEND sources_${name} "${source}")
    endforeach()
    list(REMOVE_DUPLICATES names)
    foreach(name IN LISTS names)
        lumora_test(${prefix}_${name} ${label} ${timeout} SOURCES ${sources_${name}})
    endforeach()
endfunction()

# --- contract: through the loaded library -----------------------------------------------------------------
lumora_test_folders(contract contract 1200)

# --- load: entry points, exports, double init, load and unload -------------------------------------------
lumora_glob(_sources tests/load/*.cpp)
if(_sources)
    lumora_test(load_tests load 900 SOURCES ${_sources})
endif()

# What the library for Windows exports, its linker's own tool tells.
if(WIN32 AND CMAKE_OBJDUMP)
    add_test(NAME exports COMMAND "${CMAKE_COMMAND}" -D "OBJDUMP=${CMAKE_OBJDUMP}"
        -D "LIBRARY=${LUMORA_EXTENSION_PATH}" -P "${CMAKE_SOURCE_DIR}/tests/load/windows_exports.cmake")
endif()

# --- stress: one executable a file or folder --------------------------------------------------------------
lumora_test_folders(stress stress 1800)
lumora_glob(_sources tests/stress/*.cpp)
foreach(_source IN LISTS _sources)
    get_filename_component(_name "${_source}" NAME_WE)
    lumora_test(stress_${_name} stress 1800 LIBRARIES ${LUMORA_ROOMS} SOURCES "${_source}")
endforeach()

# --- consumer: the project of docs/embedding.md against an installation -----------------------------------
# A consumer is built without sanitizers, so only a library without them serves it.
if(NOT LUMORA_SANITIZE AND NOT LUMORA_HOST_ROOT AND NOT CMAKE_CROSSCOMPILING AND TARGET lumora_duckdb AND TARGET lumora)
    add_test(NAME consumer COMMAND "${CMAKE_COMMAND}"
        -D "SOURCE=${CMAKE_SOURCE_DIR}" -D "BUILD=${CMAKE_BINARY_DIR}" -D "WORK=${CMAKE_BINARY_DIR}/tests/consumer"
        -D "COMPILER=${CMAKE_CXX_COMPILER}" -P "${CMAKE_SOURCE_DIR}/tests/consumer/run.cmake")
    set_tests_properties(consumer PROPERTIES LABELS contract TIMEOUT 600)
endif()

# --- documents: every console block of them runs and prints what they show --------------------------------
if(NOT LUMORA_SANITIZE AND TARGET lumora AND TARGET lumora_duckdb)
    find_package(Python3 COMPONENTS Interpreter REQUIRED)
    set(_programs "${CMAKE_BINARY_DIR}/bin")
    if(WIN32 AND CMAKE_CROSSCOMPILING)
        # What the documents call by its name goes through Wine.
        set(_programs "${CMAKE_BINARY_DIR}/tests/bin")
        file(CONFIGURE OUTPUT "${_programs}/lumora" @ONLY
            CONTENT "#!/bin/sh\nexec '@CMAKE_CROSSCOMPILING_EMULATOR@' '@LUMORA_SHELL_PATH@' \"$@\"\n")
        file(CHMOD "${_programs}/lumora" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    endif()
    lumora_glob(_documents *.md docs/*.md)
    # A document that gets its first block becomes a test at the next build.
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${_documents})
    foreach(_document IN LISTS _documents)
        file(STRINGS "${_document}" _blocks REGEX "^```console")
        if(NOT _blocks)
            continue()
        endif()
        get_filename_component(_name "${_document}" NAME_WE)
        string(TOLOWER "document_${_name}" _name)
        add_test(NAME ${_name} COMMAND "${Python3_EXECUTABLE}" "${CMAKE_SOURCE_DIR}/tests/docs/run_examples.py"
            "${_programs}" "${_document}")
        set_tests_properties(${_name} PROPERTIES LABELS contract TIMEOUT 600)
    endforeach()
endif()
