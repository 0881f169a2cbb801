# Installs a build into a fresh prefix and builds the project of docs/embedding.md against it, once by
# find_package and once by pkg-config, outside of the tree's own build. What it prints must be what the
# document says.
#
#   cmake -D SOURCE=… -D BUILD=… -D WORK=… -D COMPILER=… -P run.cmake
cmake_policy(SET CMP0057 NEW)

function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGV}: ${result}\n${output}\n${errors}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# code_block(LANGUAGE): the document's one block of that language.
function(code_block language variable)
    file(READ "${SOURCE}/docs/embedding.md" text)
    string(FIND "${text}" "```${language}\n" start)
    if(start EQUAL -1)
        message(FATAL_ERROR "docs/embedding.md has no block of ${language}")
    endif()
    string(LENGTH "```${language}\n" skipped)
    math(EXPR start "${start} + ${skipped}")
    string(SUBSTRING "${text}" ${start} -1 text)
    string(FIND "${text}" "```" end)
    string(SUBSTRING "${text}" 0 ${end} text)
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(expect_output program)
    run("${program}")
    if(NOT output STREQUAL expected)
        message(FATAL_ERROR "${program} printed\n${output}instead of\n${expected}")
    endif()
endfunction()

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}/project")
set(prefix "${WORK}/prefix")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${prefix}")

code_block(cmake project)
code_block(cpp program)
code_block(text expected)
file(WRITE "${WORK}/project/CMakeLists.txt" "${project}")
file(WRITE "${WORK}/project/main.cpp" "${program}")
run("${CMAKE_COMMAND}" -S "${WORK}/project" -B "${WORK}/build" -G Ninja
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${COMPILER}")
run("${CMAKE_COMMAND}" --build "${WORK}/build")
expect_output("${WORK}/build/my_host")

set(ENV{PKG_CONFIG_PATH} "${prefix}/lib/pkgconfig")
run(pkg-config --cflags --libs lumora_duckdb)
string(STRIP "${output}" flags)
separate_arguments(flags)
run(pkg-config --variable=extension lumora_duckdb)
string(STRIP "${output}" extension)
run("${COMPILER}" "-DEXTENSION_PATH=\"${extension}\"" "${WORK}/project/main.cpp" -o "${WORK}/by_pkg_config"
    ${flags} "-Wl,-rpath,${prefix}/lib" -ldl)
expect_output("${WORK}/by_pkg_config")

# The installed lumora finds the installed extension.
run("${prefix}/bin/lumora" --mode jsonlines -c "SELECT 42 AS answer")
if(NOT output STREQUAL "{\"answer\":42}\n")
    message(FATAL_ERROR "the installed lumora printed ${output}")
endif()
