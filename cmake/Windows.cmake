# What a cross build for Windows (preset windows) takes from Debian's packages for Linux: libraries that are
# headers or sources alone. Their headers are linked into a folder of their own, because beside them lie
# those of Linux's C library.
set(_headers "${CMAKE_BINARY_DIR}/third_party")
file(MAKE_DIRECTORY "${_headers}")
foreach(_name IN ITEMS fmt nlohmann CLI)
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

# Debian builds utf8proc for Linux alone; its source is one file of C. A line editor there is none: lumora reads
# what is typed by the system's own means (shell/LineEditor.cpp).
enable_language(C)
set(_utf8proc "${CMAKE_SOURCE_DIR}/build/deps/windows/utf8proc")
add_library(utf8proc_windows STATIC "${_utf8proc}/utf8proc.c")
target_include_directories(utf8proc_windows SYSTEM PUBLIC "${_utf8proc}")
target_compile_definitions(utf8proc_windows PUBLIC UTF8PROC_STATIC)
add_library(lumora_terminal INTERFACE)
target_link_libraries(lumora_terminal INTERFACE utf8proc_windows)

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
    "support/(ChildProcess|FileCalls|FileLock|Forked|Killing|Process|ProcessCounts|SmallDisk)\\.h"
    "<(unistd|sys/.*)\\.h>" "create_(directory_)?symlink|setenv|mkfifo")
set(LUMORA_NOT_PORTABLE_FOLDERS "^tests/(contract/(shell|allocation|file_faults)|stress/soak)/")
set(LUMORA_MADE_PORTABLE tests/support/main.cpp)
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
