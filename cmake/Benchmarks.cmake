# benchmarks/*.cpp: one Google Benchmark executable bench_<name> a file. They are not part of the default
# target; `benchmarks` builds them all.
find_package(benchmark REQUIRED)
find_package(SQLite3 REQUIRED)

add_custom_target(benchmarks)
lumora_glob(_sources benchmarks/*.cpp)
foreach(_source IN LISTS _sources)
    get_filename_component(_name "${_source}" NAME_WE)
    set(_target bench_${_name})
    add_executable(${_target} EXCLUDE_FROM_ALL "${_source}")
    set_target_properties(${_target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bench")
    target_include_directories(${_target} PRIVATE "${CMAKE_SOURCE_DIR}/tests" "${CMAKE_SOURCE_DIR}/benchmarks")
    target_compile_definitions(${_target} PRIVATE
        LUMORA_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
        LUMORA_EXTENSION_PATH="${LUMORA_EXTENSION_PATH}"
        LUMORA_FLIGHTS_PATH="${CMAKE_SOURCE_DIR}/build/deps/data/flights-3m.parquet")
    target_link_libraries(${_target} PRIVATE
        ${LUMORA_ROOMS} SQLite::SQLite3 benchmark::benchmark benchmark::benchmark_main
        lumora_warnings ${CMAKE_DL_LIBS})
    if(TARGET lumora_duckdb)
        add_dependencies(${_target} lumora_duckdb)
    endif()
    add_dependencies(benchmarks ${_target})
endforeach()
