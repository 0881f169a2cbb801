# fuzz/*.cpp defines LLVMFuzzerTestOneInput each. Under the preset fuzz a file becomes a libFuzzer target
# fuzz_<name>; under any other it becomes replay_<name>, a test that runs the kept corpus
# fuzz/corpus/<name>/ and the empty input through it.
lumora_glob(_sources fuzz/*.cpp)
add_custom_target(fuzzers)
foreach(_source IN LISTS _sources)
    get_filename_component(_name "${_source}" NAME_WE)
    if(LUMORA_SANITIZE STREQUAL "fuzz")
        set(_target fuzz_${_name})
        add_executable(${_target} "${_source}")
        target_link_options(${_target} PRIVATE -fsanitize=fuzzer)
    else()
        set(_target replay_${_name})
        add_executable(${_target} "${_source}" "${CMAKE_SOURCE_DIR}/fuzz/support/replay_main.cpp")
        add_test(NAME ${_target} COMMAND ${_target} "${CMAKE_SOURCE_DIR}/fuzz/corpus/${_name}")
        set_tests_properties(${_target} PROPERTIES
            LABELS replay TIMEOUT 900 ENVIRONMENT "${LUMORA_TEST_ENVIRONMENT}")
    endif()
    target_sources(${_target} PRIVATE "${CMAKE_SOURCE_DIR}/fuzz/support/end_of_process.cpp")
    target_link_options(${_target} PRIVATE LINKER:--wrap=LLVMFuzzerTestOneInput)
    add_dependencies(fuzzers ${_target})
    foreach(_used IN ITEMS lumora_duckdb lumora)
        if(TARGET ${_used})
            add_dependencies(${_target} ${_used})
        endif()
    endforeach()
    # Exports: the functions of DuckDB's that are counted stand in the executable, for the extension too.
    set_target_properties(${_target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/fuzz" ENABLE_EXPORTS ON)
    # fuzz/support and tests/support go by the same name: the fuzzers' own comes first.
    target_include_directories(${_target} BEFORE PRIVATE "${CMAKE_SOURCE_DIR}/fuzz" "${CMAKE_SOURCE_DIR}/tests")
    target_link_libraries(${_target} PRIVATE ${LUMORA_ROOMS} room_shell test_support lumora_warnings)
endforeach()
