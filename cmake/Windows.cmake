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

# What has a twin for Windows beside it, and what only tests need that are left out.
set(LUMORA_POSIX_SUPPORT
    ChildProcess.cpp FileCalls.cpp FileLock.cpp Forked.cpp Process.cpp ProcessCounts.cpp SmallDisk.cpp)
list(TRANSFORM LUMORA_POSIX_SUPPORT PREPEND tests/support/)

# Test files that are about another system's calls, by how their names begin.
set(LUMORA_NOT_PORTABLE
    tests/contract/allocation/
    tests/contract/backup/full_disk_test.cpp
    tests/contract/database/foreign_process_test.cpp
    tests/contract/file_faults/
    tests/contract/procedures/BadInputTest.cpp
    tests/contract/procedures/BesideDatabaseTest.cpp
    tests/contract/shell/
    tests/load/ExportsTest.cpp
    tests/load/PrivateDatabaseTest.cpp
    tests/load/ProcessEndTest.cpp
    tests/stress/backup_crash.cpp
    tests/stress/database_crash.cpp
    tests/stress/restore_crash.cpp
    tests/stress/rows_crash.cpp
    tests/stress/soak/)

# A whole test file need not be left out for one test: these names go to the filter of its executable.
set(LUMORA_NOT_ON_WINDOWS
    ColumnReaderTest.AgreesOnVariantsOfUnionsInUnionsThatHoldNull
    DatabaseFile.ACommitMadeThroughALinkIsSeenThroughTheFileAfterAKill
    DatabaseFile.ADeviceAndAPipeAreRefusedWithoutWaiting
    DatabaseFile.AFileThatSqlAttachedIsLeftAlone
    DatabaseFile.ALinkToNothingMakesTheFileAtItsTarget
    DatabaseFile.APathInAMissingFolderIsDuckDbsError
    DatabaseFile.AReplacedFileIsRefusedWhileTheOldOneIsOpen
    DatabaseFile.AnEmptyFileBecomesADatabaseUnlessALogOrALockSaysThatItIsNone
    DatabaseFile.UsersOfOneFileShareOneInstanceUnderAnyName
    Drop.CreateInAMissingFolderFailsAndMakesNothing
    Drop.IsRefusedWhileAnotherObjectHasTheFileOpen
    Drop.RefusesAFileThatAnotherProcessHasOpen
    Drop.RefusesAFolderAndAPipeWhichStay
    Drop.ThroughALinkRemovesTheDatabaseAndCreateMakesItAtTheSamePlace
    EntryPoints.AThousandTimesLoadedAndUnloadedLeaveNothingBehind
    EntryPoints.LoadingAndBindingDoNothingElse
    EntryPoints.WithoutMemoryForTheExtensionObjectNothingIsInstalled
    ExtensionObject.KnowsWhichDatabasesAreOpenUnderAnySpelling
    ExtensionObject.LooksIntoAFileOfAnotherProcessAndNotIntoOneOfItsOwn
    ExtensionObject.TakesNoFolderPipeDeviceOrMissingFileForADatabase
    FetchDuckDB.ReadsAFileWhosePathHasQuotes
    FetchParquet.QuotesPathsAndNames
    FileTest.AFileCannotBeMadeWhereItMayNotBe
    FileTest.DeleteRemovesAFileAndNothingElse
    FileTest.OpeningAgainClosesFirst
    FileTest.TheMessageIsTheSystems
    FileTest.WhatIsNoFileCannotBeOpenedAndLeavesNoDescriptor
    LocationTest.ACircleOfLinksEnds
    LocationTest.AFileThatIsNotThereHasTheKeyThatItWillHave
    LocationTest.LinksAreResolvedEvenWhenNothingIsBehindThem
    NestedValues.RandomTypesAndValuesAreRebuiltExactly
    OneInstance.*
    OpenClose.AnyPathWorks
    OpenClose.ObjectsOnOneFileShareOneInstance
    Pool.MemoryIsTakenAndGivenWhileAThreadEnds
    Pool.ThreadsThatEndedHoldNoMemory
    RestoreDatabase.IntoPathsWithQuotesBlanksAndUnicodeWorks
    RestoreDatabase.IsRefusedWhileTheTargetIsOpen
    RestoreDatabase.KeepsThePermissionsOfTheFile
    RestoreDatabase.ReadsABackupThatWasMoved
    RestoreDatabase.ThroughALinkReplacesTheFileBehindIt)

# Nothing is left out without a word: the page says of each why.
file(READ "${CMAKE_SOURCE_DIR}/docs/coverage.md" _page)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/docs/coverage.md")
foreach(_name IN LISTS LUMORA_NOT_PORTABLE LUMORA_NOT_ON_WINDOWS)
    string(FIND "${_page}" "`${_name}`" _place)
    if(_place EQUAL -1)
        message(FATAL_ERROR "docs/coverage.md does not say why `${_name}` is left out on Windows")
    endif()
endforeach()
foreach(_name IN LISTS LUMORA_NOT_PORTABLE)
    file(GLOB _found "${CMAKE_SOURCE_DIR}/${_name}*")
    if(NOT _found)
        message(FATAL_ERROR "${_name} is left out on Windows and is not there")
    endif()
endforeach()

# lumora_portable(list) takes from a list of sources what is not for Windows.
function(lumora_portable listVariable)
    set(kept "")
    foreach(source IN LISTS ${listVariable})
        file(RELATIVE_PATH name "${CMAKE_SOURCE_DIR}" "${source}")
        set(place -1)
        foreach(start IN LISTS LUMORA_NOT_PORTABLE LUMORA_POSIX_SUPPORT)
            string(FIND "${name}" "${start}" place)
            if(place EQUAL 0)
                break()
            endif()
        endforeach()
        if(NOT place EQUAL 0)
            list(APPEND kept "${source}")
        endif()
    endforeach()
    set(${listVariable} "${kept}" PARENT_SCOPE)
endfunction()
