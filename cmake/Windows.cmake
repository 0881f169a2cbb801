# What a cross build for Windows (preset windows) takes from Debian's packages for Linux: libraries that are
# headers or sources alone. Their headers are linked into a folder of their own, because beside them lie
# those of Linux's C library.
set(_headers "${CMAKE_BINARY_DIR}/third_party")
file(MAKE_DIRECTORY "${_headers}")
foreach(_name IN ITEMS fmt nlohmann CLI utf8proc.h)
    if(NOT EXISTS "/usr/include/${_name}")
        message(FATAL_ERROR "no /usr/include/${_name}: run scripts/setup.sh --windows")
    endif()
    file(CREATE_LINK "/usr/include/${_name}" "${_headers}/${_name}" SYMBOLIC)
endforeach()

foreach(_target IN ITEMS fmt::fmt-header-only nlohmann_json::nlohmann_json CLI11::CLI11)
    add_library(${_target} INTERFACE IMPORTED)
    target_include_directories(${_target} SYSTEM INTERFACE "${_headers}")
endforeach()
target_compile_definitions(fmt::fmt-header-only INTERFACE FMT_HEADER_ONLY=1)

# Debian has no utf8proc for Windows, so that lumora compiles and cannot be linked.
add_library(lumora_terminal INTERFACE)
target_include_directories(lumora_terminal SYSTEM INTERFACE "${_headers}")
target_compile_definitions(lumora_terminal INTERFACE UTF8PROC_STATIC)

set(_googletest /usr/src/googletest)
add_library(gtest_windows STATIC EXCLUDE_FROM_ALL
    ${_googletest}/googletest/src/gtest-all.cc ${_googletest}/googlemock/src/gmock-all.cc)
target_include_directories(gtest_windows SYSTEM
    PUBLIC ${_googletest}/googletest/include ${_googletest}/googlemock/include
    PRIVATE ${_googletest}/googletest ${_googletest}/googlemock)
target_link_libraries(gtest_windows PUBLIC Threads::Threads)
add_library(GTest::gmock ALIAS gtest_windows)
add_library(GTest::gtest_main ALIAS gtest_windows)

# Programs find the libraries of compiler and DuckDB beside ours: see scripts/wine.sh.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
foreach(_name IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${_name}
        OUTPUT_VARIABLE _file OUTPUT_STRIP_TRAILING_WHITESPACE)
    file(REAL_PATH "${_file}" _file)
    file(COPY "${_file}" DESTINATION "${CMAKE_BINARY_DIR}/bin")
endforeach()

# lumora_portable(list) takes from a list the tests that are about another system: they fork, put a function in
# the place of DuckDB's, make pipes or links, change the environment or read /proc. The shell cannot be linked.
string(JOIN "|" LUMORA_NOT_PORTABLE
    "support/(ChildProcess|DuckDBCalls|FileLock|Process|ProcessCounts|StatementFixture)\\.h"
    "<(unistd|sys/.*)\\.h>" "create_(directory_)?symlink|setenv|mkfifo")
set(LUMORA_NOT_PORTABLE_FOLDERS "^tests/(unit/shell|contract/(shell|cursor|backup.*)|stress|load)/")
set(LUMORA_MADE_PORTABLE tests/support/main.cpp tests/support/TempFolder.cpp)
function(lumora_portable listVariable)
    set(kept "")
    foreach(source IN LISTS ${listVariable})
        file(RELATIVE_PATH name "${CMAKE_SOURCE_DIR}" "${source}")
        set(reasons "")
        if(name MATCHES "^tests/" AND NOT name IN_LIST LUMORA_MADE_PORTABLE)
            file(STRINGS "${source}" reasons REGEX "${LUMORA_NOT_PORTABLE}")
        endif()
        if(NOT reasons AND NOT name MATCHES "${LUMORA_NOT_PORTABLE_FOLDERS}")
            list(APPEND kept "${source}")
        endif()
    endforeach()
    set(${listVariable} "${kept}" PARENT_SCOPE)
endfunction()

# A whole test file need not be left out for one test: these names go to the filter of its executable.
set(LUMORA_NOT_ON_WINDOWS
    # mingw frees a thread's variables before it destroys them, the test's own too.
    Pool.MemoryIsTakenAndGivenWhileAThreadEnds Pool.ThreadsThatEndedHoldNoMemory
    # Its file's name has a quotation mark.
    FetchParquet.QuotesPathsAndNames)
