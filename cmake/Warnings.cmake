# Interface target lumora_warnings: everything of ours is compiled with it, third-party headers are SYSTEM.
option(LUMORA_WERROR "Treat warnings as errors" ON)

add_library(lumora_warnings INTERFACE)
if(MSVC)
    target_compile_options(lumora_warnings INTERFACE /W4 /utf-8 $<$<BOOL:${LUMORA_WERROR}>:/WX>)
else()
    target_compile_options(lumora_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion
        -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wextra-semi
        -Wformat=2 -Wundef -Wimplicit-fallthrough
        $<$<BOOL:${LUMORA_WERROR}>:-Werror>)
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(lumora_warnings INTERFACE -Wthread-safety)
    endif()
endif()

# lumora_link_complete(target): a shared library that leaves no symbol to chance. Clang's sanitizer run time
# lives in the executable, so there a library cannot be complete.
function(lumora_link_complete target)
    if(WIN32 OR APPLE)
        return()
    endif()
    target_link_options(${target} PRIVATE "LINKER:-z,relro,-z,now")
    if(NOT (CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND LUMORA_SANITIZE))
        target_link_options(${target} PRIVATE "LINKER:--no-undefined")
    endif()
endfunction()
