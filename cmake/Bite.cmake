# Shows that this build's sanitizers report what they are there for: each planted mistake is a test that
# passes when its report appears.
if(LUMORA_SANITIZE STREQUAL "asan")
    set(_planted
        use-after-free "AddressSanitizer: heap-use-after-free"
        heap-overflow "AddressSanitizer: heap-buffer-overflow"
        use-after-return "AddressSanitizer: stack-use-after-return"
        leak "LeakSanitizer: detected memory leaks"
        signed-overflow "runtime error: signed integer overflow")
elseif(LUMORA_SANITIZE STREQUAL "tsan")
    set(_planted race "ThreadSanitizer: data race")
elseif(LUMORA_SANITIZE STREQUAL "fuzz")
    # scripts/fuzz.sh runs it before the fuzzers, which must be able to find what is in there.
    add_executable(fuzz_planted "${CMAKE_SOURCE_DIR}/tests/bite/planted_input.cpp")
    target_link_options(fuzz_planted PRIVATE -fsanitize=fuzzer)
    target_include_directories(fuzz_planted PRIVATE "${CMAKE_SOURCE_DIR}/fuzz")
    target_link_libraries(fuzz_planted PRIVATE lumora_warnings)
    set_target_properties(fuzz_planted PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    add_dependencies(fuzzers fuzz_planted)
    return()
else()
    return()
endif()

add_executable(planted "${CMAKE_SOURCE_DIR}/tests/bite/planted.cpp")
set_target_properties(planted PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
target_compile_options(planted PRIVATE -O0)
target_link_libraries(planted PRIVATE lumora_warnings Threads::Threads)
add_dependencies(threaded_tests planted)
while(_planted)
    list(POP_FRONT _planted _mistake _report)
    add_test(NAME bite_${_mistake} COMMAND planted ${_mistake})
    set_tests_properties(bite_${_mistake} PROPERTIES
        LABELS "bite;threaded" TIMEOUT 120 ENVIRONMENT "${LUMORA_TEST_ENVIRONMENT}"
        PASS_REGULAR_EXPRESSION "${_report}")
endwhile()

# The same for the kept inputs of the fuzzers: a replay that meets a mistake fails.
if(LUMORA_SANITIZE STREQUAL "asan")
    add_executable(replay_planted
        "${CMAKE_SOURCE_DIR}/tests/bite/planted_input.cpp" "${CMAKE_SOURCE_DIR}/fuzz/support/replay_main.cpp")
    set_target_properties(replay_planted PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
    target_include_directories(replay_planted PRIVATE "${CMAKE_SOURCE_DIR}/fuzz")
    target_link_libraries(replay_planted PRIVATE lumora_warnings)
    file(WRITE "${CMAKE_BINARY_DIR}/tests/planted_inputs/heap-overflow" "over")
    add_test(NAME bite_replay COMMAND replay_planted "${CMAKE_BINARY_DIR}/tests/planted_inputs")
    set_tests_properties(bite_replay PROPERTIES
        LABELS bite TIMEOUT 120 ENVIRONMENT "${LUMORA_TEST_ENVIRONMENT};LUMORA_PLANTED=heap-overflow"
        PASS_REGULAR_EXPRESSION "AddressSanitizer: heap-buffer-overflow")
endif()
