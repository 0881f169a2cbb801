# lumora, the command-line host. All of it but main.cpp is the static library room_shell, so that tests
# can link it.
if(NOT TARGET lumora_terminal)
    find_package(CLI11 REQUIRED)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(EDIT REQUIRED IMPORTED_TARGET libedit)
    pkg_check_modules(UTF8PROC REQUIRED IMPORTED_TARGET libutf8proc)
    add_library(lumora_terminal INTERFACE)
endif()
if(CMAKE_CROSSCOMPILING)
    # It came from where the rest of the cross build's libraries come from.
elseif(LUMORA_STANDALONE)
    target_include_directories(lumora_terminal INTERFACE ${EDIT_INCLUDE_DIRS} ${UTF8PROC_INCLUDE_DIRS})
    target_link_libraries(lumora_terminal INTERFACE libedit.a libbsd.a libmd.a libtinfo.a libutf8proc.a)
    target_compile_definitions(lumora_terminal INTERFACE UTF8PROC_STATIC)
else()
    target_link_libraries(lumora_terminal INTERFACE PkgConfig::EDIT PkgConfig::UTF8PROC)
endif()

set(LUMORA_SHELL_PATH "${CMAKE_BINARY_DIR}/bin/lumora${CMAKE_EXECUTABLE_SUFFIX}")
lumora_glob(_shell_sources shell/*.cpp)
list(FILTER _shell_sources EXCLUDE REGEX "/main\\.cpp$")

if(_shell_sources)
    add_library(room_shell STATIC ${_shell_sources})
    set(_scope PUBLIC)
    target_link_libraries(room_shell PRIVATE lumora_warnings)
else()
    add_library(room_shell INTERFACE)
    set(_scope INTERFACE)
endif()
target_include_directories(room_shell ${_scope} "${CMAKE_SOURCE_DIR}/shell")
target_compile_definitions(room_shell ${_scope} LUMORA_VERSION="${PROJECT_VERSION}")
target_link_libraries(room_shell ${_scope}
    LShared lumora_fmt nlohmann_json::nlohmann_json CLI11::CLI11 lumora_terminal
    Threads::Threads ${CMAKE_DL_LIBS})

if(EXISTS "${CMAKE_SOURCE_DIR}/shell/main.cpp")
    add_executable(lumora "${CMAKE_SOURCE_DIR}/shell/main.cpp")
    target_link_libraries(lumora PRIVATE room_shell lumora_warnings)
endif()
# main.cpp may arrive later: its folder is looked at again at every build.
lumora_glob(_shell_main shell/main.cpp)
