# LUMORA_SANITIZE: empty, "asan" (address and undefined), "tsan", "fuzz" (asan with libFuzzer's coverage)
# or "coverage". It is set by the presets and applies to every target of this build.
#
# LUMORA_TEST_ENVIRONMENT is the list of NAME=VALUE that every test of this build runs with. Of a suite
# that fails only the failures are shown: whoever shortens a log keeps its beginning.
set(LUMORA_SANITIZE "" CACHE STRING "asan, tsan, fuzz, coverage or empty")
set(LUMORA_TEST_ENVIRONMENT GTEST_BRIEF=1)

if(LUMORA_SANITIZE STREQUAL "")
    return()
endif()

# The dynamic type check compares type_info by address. Interfaces are inline classes with hidden
# visibility, so each library has its own type_info of them, and every call across a library's border
# would be reported.
set(_undefined -fsanitize=undefined -fno-sanitize=vptr,function -fno-sanitize-recover=all)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(_undefined -fsanitize=undefined -fno-sanitize=vptr -fno-sanitize-recover=all)
endif()

if(LUMORA_SANITIZE STREQUAL "asan")
    set(_flags -fsanitize=address ${_undefined})
elseif(LUMORA_SANITIZE STREQUAL "fuzz")
    set(_flags -fsanitize=fuzzer-no-link,address ${_undefined})
elseif(LUMORA_SANITIZE STREQUAL "tsan")
    set(_flags -fsanitize=thread)
elseif(LUMORA_SANITIZE STREQUAL "coverage")
    set(_flags --coverage -fprofile-update=atomic)
else()
    message(FATAL_ERROR "LUMORA_SANITIZE: '${LUMORA_SANITIZE}' is none of asan, tsan, fuzz, coverage")
endif()

add_compile_options(${_flags} -fno-omit-frame-pointer)
add_link_options(${_flags})

find_program(LUMORA_SYMBOLIZER NAMES llvm-symbolizer-14 llvm-symbolizer)
if(LUMORA_SANITIZE MATCHES "asan|fuzz")
    list(APPEND LUMORA_TEST_ENVIRONMENT
        "ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1:check_initialization_order=1"
        "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1"
        "ASAN_SYMBOLIZER_PATH=${LUMORA_SYMBOLIZER}"
        "UBSAN_SYMBOLIZER_PATH=${LUMORA_SYMBOLIZER}"
        "LSAN_SYMBOLIZER_PATH=${LUMORA_SYMBOLIZER}")
elseif(LUMORA_SANITIZE STREQUAL "tsan")
    # DuckDB's library is not instrumented: what it does inside is not ours to judge, and its locks are
    # still seen because they are functions of the C library.
    list(APPEND LUMORA_TEST_ENVIRONMENT
        "TSAN_OPTIONS=ignore_noninstrumented_modules=1:halt_on_error=0:exitcode=66:second_deadlock_stack=1:history_size=7:external_symbolizer_path=${LUMORA_SYMBOLIZER}")
endif()
