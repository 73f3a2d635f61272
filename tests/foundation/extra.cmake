# Version-resource fixtures: real 32- and 64-bit PE images built at test-build time from the .rc
# and .s sources in fixtures/ with the MinGW-w64 binutils (Debian packages
# binutils-mingw-w64-x86-64 and binutils-mingw-w64-i686). windres preprocesses with the host's
# C preprocessor. Without the tools the images are not built and their tests skip themselves.
find_program(SHARED_MINGW64_WINDRES x86_64-w64-mingw32-windres)
find_program(SHARED_MINGW64_LD x86_64-w64-mingw32-ld)
find_program(SHARED_MINGW64_AS x86_64-w64-mingw32-as)
find_program(SHARED_MINGW32_WINDRES i686-w64-mingw32-windres)
find_program(SHARED_MINGW32_LD i686-w64-mingw32-ld)
find_program(SHARED_RC_PREPROCESSOR cpp)

if(SHARED_MINGW64_WINDRES AND SHARED_MINGW64_LD AND SHARED_MINGW64_AS AND SHARED_MINGW32_WINDRES
   AND SHARED_MINGW32_LD AND SHARED_RC_PREPROCESSOR)
    set(pe_fixture_sources ${CMAKE_CURRENT_LIST_DIR}/fixtures)
    set(pe_fixture_dir ${CMAKE_CURRENT_BINARY_DIR}/pe-fixtures)
    file(MAKE_DIRECTORY ${pe_fixture_dir})
    set(pe_fixtures)

    # rc: source name in fixtures/; image: output file name; windres, ld: the tool set; any further
    # arguments go to ld (--dll for a DLL).
    function(shared_pe_fixture rc image windres ld)
        set(object ${pe_fixture_dir}/${rc}.o)
        add_custom_command(
            OUTPUT ${pe_fixture_dir}/${image}
            COMMAND ${windres} --preprocessor=${SHARED_RC_PREPROCESSOR} -c 1252
                    -i ${pe_fixture_sources}/${rc}.rc -o ${object}
            COMMAND ${ld} ${ARGN} --no-insert-timestamp -e 0 -o ${pe_fixture_dir}/${image}
                    ${object}
            DEPENDS ${pe_fixture_sources}/${rc}.rc
            COMMENT "Building version-resource fixture ${image}"
            VERBATIM)
        set(pe_fixtures ${pe_fixtures} ${pe_fixture_dir}/${image} PARENT_SCOPE)
    endfunction()

    shared_pe_fixture(full64 full64.dll ${SHARED_MINGW64_WINDRES} ${SHARED_MINGW64_LD} --dll)
    shared_pe_fixture(noversion64 noversion64.dll ${SHARED_MINGW64_WINDRES} ${SHARED_MINGW64_LD}
                      --dll)
    shared_pe_fixture(release32 release32.exe ${SHARED_MINGW32_WINDRES} ${SHARED_MINGW32_LD})
    shared_pe_fixture(notranslation32 notranslation32.dll ${SHARED_MINGW32_WINDRES}
                      ${SHARED_MINGW32_LD} --dll)

    add_custom_command(
        OUTPUT ${pe_fixture_dir}/plain64.exe
        COMMAND ${SHARED_MINGW64_AS} -o ${pe_fixture_dir}/plain.o ${pe_fixture_sources}/plain.s
        COMMAND ${SHARED_MINGW64_LD} --no-insert-timestamp -e start -o
                ${pe_fixture_dir}/plain64.exe ${pe_fixture_dir}/plain.o
        DEPENDS ${pe_fixture_sources}/plain.s
        COMMENT "Building version-resource fixture plain64.exe"
        VERBATIM)
    list(APPEND pe_fixtures ${pe_fixture_dir}/plain64.exe)

    add_custom_target(foundation_pe_fixtures DEPENDS ${pe_fixtures})
    add_dependencies(test_foundation foundation_pe_fixtures)
    target_compile_definitions(test_foundation PRIVATE SHARED_PE_FIXTURE_DIR="${pe_fixture_dir}")
else()
    message(STATUS "MinGW-w64 binutils or cpp missing: version-resource fixture tests will skip")
endif()

# warden log: code page 1252 text (0x80-0x9F included) comes out as UTF-8 JSON Lines, a line
# that is not an entry is kept, and --level takes any case.
if(TARGET warden)
    add_test(NAME foundation.warden.log_cp1252
             COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                     "-DARGS=log|${CMAKE_CURRENT_LIST_DIR}/data/cp1252.log|--json"
                     -DEXPECTED=${CMAKE_CURRENT_LIST_DIR}/data/cp1252_log.json.expected
                     -P ${PROJECT_SOURCE_DIR}/tests/positioning/compare_output.cmake)
    add_test(NAME foundation.warden.log_level_any_case
             COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                     "-DARGS=log|${CMAKE_CURRENT_LIST_DIR}/data/cp1252.log|--level|warn"
                     -DEXPECTED=${CMAKE_CURRENT_LIST_DIR}/data/cp1252_log_warn.expected
                     -P ${PROJECT_SOURCE_DIR}/tests/positioning/compare_output.cmake)
    set_tests_properties(foundation.warden.log_cp1252 foundation.warden.log_level_any_case
                         PROPERTIES LABELS "foundation;cli" ENVIRONMENT "TZ=UTC0")
endif()

if(TARGET warden)
    set(fixtures)
    if(TARGET foundation_pe_fixtures)
        set(fixtures -DFIXTURES=${CMAKE_CURRENT_BINARY_DIR}/pe-fixtures)
    endif()
    add_test(NAME foundation.warden.reg_and_version
             COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                     -DSTORE=${CMAKE_CURRENT_BINARY_DIR}/warden-reg-store ${fixtures}
                     -P ${CMAKE_CURRENT_LIST_DIR}/warden_reg_version.cmake)
    set_tests_properties(foundation.warden.reg_and_version PROPERTIES LABELS "foundation;cli")
endif()
