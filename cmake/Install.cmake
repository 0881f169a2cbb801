# What `make install` and `make package` put where: libraries (DuckDB's beside ours, they find each other by
# $ORIGIN), lumora, the host's headers, a CMake package and a pkg-config file, the licences.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The libraries lie in one folder; a multi-arch folder would only hide it from pkg-config of a prefix.
set(CMAKE_INSTALL_LIBDIR lib)
set(_package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/lumora_duckdb")

if(TARGET lumora_duckdb)
    install(TARGETS lumora_duckdb LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
endif()
if(TARGET lumora)
    install(TARGETS lumora RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
install(DIRECTORY "${CMAKE_BINARY_DIR}/lib/" DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    USE_SOURCE_PERMISSIONS FILES_MATCHING PATTERN "libduckdb*")
if(NOT LUMORA_HOST_ROOT)
    install(TARGETS LShared EXPORT lumora_duckdbTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
    install(DIRECTORY "${CMAKE_SOURCE_DIR}/host/include/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    install(EXPORT lumora_duckdbTargets NAMESPACE lumora_duckdb:: DESTINATION "${_package_folder}")
    configure_package_config_file(
        "${CMAKE_SOURCE_DIR}/cmake/lumora_duckdbConfig.cmake.in"
        "${CMAKE_BINARY_DIR}/generated/lumora_duckdbConfig.cmake"
        INSTALL_DESTINATION "${_package_folder}"
        PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_BINDIR)
    write_basic_package_version_file("${CMAKE_BINARY_DIR}/generated/lumora_duckdbConfigVersion.cmake"
        COMPATIBILITY SameMinorVersion)
    install(FILES
        "${CMAKE_BINARY_DIR}/generated/lumora_duckdbConfig.cmake"
        "${CMAKE_BINARY_DIR}/generated/lumora_duckdbConfigVersion.cmake"
        DESTINATION "${_package_folder}")
    configure_file("${CMAKE_SOURCE_DIR}/cmake/lumora_duckdb.pc.in"
        "${CMAKE_BINARY_DIR}/generated/lumora_duckdb.pc" @ONLY)
    install(FILES "${CMAKE_BINARY_DIR}/generated/lumora_duckdb.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endif()

# Under the package's name, where a Debian system looks for its licence.
set(CMAKE_INSTALL_DOCDIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/lumora-duckdb")
install(FILES docs/lumora.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

# As in the tree, so that their links to each other hold.
file(GLOB _documents CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/docs/*.md")
install(FILES ${_documents} DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
install(FILES README.md CHANGELOG.md LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES "${CMAKE_SOURCE_DIR}/build/deps/duckdb/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    RENAME LICENSE.duckdb OPTIONAL)

# What is linked into a standalone build comes with the terms that Debian's packages state. All of it stands
# in one file, which a Debian package calls copyright.
if(LUMORA_STANDALONE)
    file(READ "${CMAKE_SOURCE_DIR}/LICENSE" _terms)
    set(_terms "lumora_duckdb\n\n${_terms}")
    set(_parts DuckDB "${CMAKE_SOURCE_DIR}/build/deps/duckdb/LICENSE")
    foreach(_part IN ITEMS libfmt nlohmann-json3 libcli11 libedit libbsd libmd libncurses libutf8proc)
        list(APPEND _parts "${_part}" "/usr/share/doc/${_part}-dev/copyright")
    endforeach()
    while(_parts)
        list(POP_FRONT _parts _part _file)
        if(EXISTS "${_file}")
            file(READ "${_file}" _text)
            string(APPEND _terms "\n\n---- ${_part} ----\n\n${_text}")
        else()
            message(WARNING "The package lacks the terms of ${_part}: there is no ${_file}")
        endif()
    endwhile()
    file(WRITE "${CMAKE_BINARY_DIR}/generated/copyright" "${_terms}")
    install(FILES "${CMAKE_BINARY_DIR}/generated/copyright" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
endif()

set(CPACK_PACKAGE_NAME lumora-duckdb)
set(CPACK_PACKAGE_VENDOR "The lumora_duckdb authors")
set(CPACK_PACKAGE_CONTACT "The lumora_duckdb authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE "${CMAKE_SOURCE_DIR}/LICENSE")
set(CPACK_GENERATOR TGZ DEB)
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# Built standalone, nothing but the C and C++ run time is needed.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1")
include(CPack)
