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
