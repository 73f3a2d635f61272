# Windows-specific build glue, included from the top-level CMakeLists.txt. One source tree serves
# both platforms: a file in src/platform/win32/ replaces the file of the same name in
# src/platform/ when building for Windows, src/platform/*Posix.cpp files are left out there, files
# in src/platform/win32/ are never built elsewhere, and those without a namesake are added.

# Picks the sources of a folder for the platform being built. `sources_var` holds the folder's
# globbed sources on entry and the chosen ones on return.
function(shared_platform_sources sources_var folder)
    if(NOT folder STREQUAL "platform")
        return()
    endif()
    set(sources ${${sources_var}})
    if(WIN32)
        file(GLOB windows_sources CONFIGURE_DEPENDS
             ${PROJECT_SOURCE_DIR}/src/platform/win32/*.cpp)
        foreach(windows_source IN LISTS windows_sources)
            get_filename_component(name ${windows_source} NAME)
            list(REMOVE_ITEM sources ${PROJECT_SOURCE_DIR}/src/platform/${name})
        endforeach()
        # A POSIX-only backend named *Posix.cpp is left out whole; its Windows counterpart sits
        # in win32/ under a name of its own.
        list(FILTER sources EXCLUDE REGEX "Posix\\.cpp$")
        list(APPEND sources ${windows_sources})
    endif()
    set(${sources_var} ${sources} PARENT_SCOPE)
endfunction()

# Test sources left out of the Windows build, each for a stated reason:
# - the file-backed registry is POSIX-only; the Windows registry is tested in tests/windows;
# - the others test with POSIX means MinGW lacks (fork and waitpid, zone changes through TZ,
#   poll() on pseudo-terminals and pipes to lrzsz); the code under test runs under them on Linux,
#   and the serial device is tested under Wine in tests/windows.
set(SHARED_POSIX_ONLY_TESTS
    platform/RegistryStoreTest.cpp
    comms/SerialPortDeviceTest.cpp
    comms/ZModemSzTest.cpp
    platform/ChildProcessTest.cpp) # sh and /proc; tests/windows tests cmd.exe and job objects

# Single cases that cannot hold on Windows, per folder as GoogleTest exclusions:
# - zone rules read from TZ and tzfiles; on Windows they come from GetTimeZoneInformation;
# - POSIX positional printf arguments (%2$s), which the Windows C runtime does not know;
# - the C runtime's calendar, which ends before 1970 on Windows;
# - write failures made with file permissions, which the Windows registry does not have.
set(SHARED_WINDOWS_EXCLUDED_CASES_time
    "NCivilTimeTest.ZoneAppliedMatchesLocaltimeWhereTheRulesAgree:NCivilTimeTest.LoadingRules:ClockTest.ZoneNamesComeFromTheZoneRules")
set(SHARED_WINDOWS_EXCLUDED_CASES_framework
    "CStringTest.FormatFitsSizePrefixesToTheArgumentsPassed:COleDateTimeTest.PartsRoundTripAgainstTheCLibraryCalendar")
set(SHARED_WINDOWS_EXCLUDED_CASES_foundation "RegistryFuncsTest.WriteFailuresReturnFalse")
set(SHARED_WINDOWS_EXCLUDED_CASES_platform
    "SystemTimeTest.BreakDownAgreesWithTheCLibraryAcrossCenturies:TimeZoneRulesTest.EnvironmentAndOverride:TimeZoneRulesTest.StateAndTransitionsMatchTheCLibrary")


function(shared_windows_test_sources sources_var folder)
    if(NOT WIN32)
        return()
    endif()
    set(sources ${${sources_var}})
    foreach(test IN LISTS SHARED_POSIX_ONLY_TESTS)
        list(REMOVE_ITEM sources ${PROJECT_SOURCE_DIR}/tests/${test})
    endforeach()
    set(${sources_var} ${sources} PARENT_SCOPE)
endfunction()

if(NOT WIN32)
    return()
endif()

# Text is the ANSI code page throughout; the A entry points are called explicitly, and nothing
# from <windows.h> may drag in min/max macros or the whole of Win32.
add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)

# Executables and DLLs side by side, so that tests and warden find Shared.dll without PATH games.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

if(CMAKE_CROSSCOMPILING)
    # The MinGW runtime DLLs (libstdc++, libgcc, winpthread) live in the cross compiler's folders;
    # Wine finds them through WINEPATH, and the install ships them beside Shared.dll.
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll
                    OUTPUT_VARIABLE stdcxx_dll OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libwinpthread-1.dll
                    OUTPUT_VARIABLE pthread_dll OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libgcc_s_seh-1.dll
                    OUTPUT_VARIABLE gcc_dll OUTPUT_STRIP_TRAILING_WHITESPACE)
    set(SHARED_MINGW_RUNTIME_DLLS ${stdcxx_dll} ${pthread_dll} ${gcc_dll})
    foreach(dll IN LISTS SHARED_MINGW_RUNTIME_DLLS)
        if(NOT EXISTS ${dll})
            message(FATAL_ERROR "MinGW runtime DLL not found: ${dll}")
        endif()
        file(COPY ${dll} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
        install(FILES ${dll} DESTINATION ${CMAKE_INSTALL_BINDIR})
    endforeach()

    # A private Wine prefix per build folder: registry tests must not see or leave state in the
    # user's own prefix, and a fresh folder must work without any manual `winecfg`.
    find_program(SHARED_WINE NAMES wine64 wine PATHS /usr/lib/wine /usr/lib64/wine NO_DEFAULT_PATH)
    find_program(SHARED_WINE NAMES wine64 wine)
    set(SHARED_WINEPREFIX ${PROJECT_BINARY_DIR}/wineprefix)
    if(SHARED_WINE)
        set(CMAKE_CROSSCOMPILING_EMULATOR
            ${CMAKE_COMMAND} -E env WINEPREFIX=${SHARED_WINEPREFIX} WINEDEBUG=-all
            WINEDLLOVERRIDES=mscoree,mshtml= ${SHARED_WINE})
    endif()
endif()

if(CMAKE_CROSSCOMPILING)
    # warden's header-only dependencies come from the build machine. Their own package files
    # would put /usr/include on the cross compiler's search path (and with it the host's C
    # library headers), so each header folder is linked into a private include folder and small
    # package files define the targets over it.
    set(host_headers ${PROJECT_BINARY_DIR}/host-headers)
    foreach(entry "CLI11;CLI11::CLI11;CLI" "nlohmann_json;nlohmann_json::nlohmann_json;nlohmann")
        list(GET entry 0 package)
        list(GET entry 1 target)
        list(GET entry 2 header_folder)
        if(NOT EXISTS /usr/include/${header_folder} OR ${package}_DIR)
            continue()
        endif()
        file(MAKE_DIRECTORY ${host_headers}/include)
        file(CREATE_LINK /usr/include/${header_folder} ${host_headers}/include/${header_folder}
             SYMBOLIC)
        file(WRITE ${host_headers}/${package}/${package}Config.cmake
             "if(NOT TARGET ${target})\n"
             "  add_library(${target} INTERFACE IMPORTED)\n"
             "  set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "
             "${host_headers}/include)\n"
             "endif()\n")
        set(${package}_DIR ${host_headers}/${package} CACHE PATH "" FORCE)
    endforeach()
endif()
