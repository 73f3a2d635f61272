# Command-line tests of warden places and warden sets: listings of small hand-made files as a
# table and as JSON, and the one-line errors for missing and foreign files.
include_guard(GLOBAL)
if(NOT TARGET warden)
    return()
endif()

set(places_cli_dir ${CMAKE_CURRENT_LIST_DIR})
set(places_cli_compare ${PROJECT_SOURCE_DIR}/tests/positioning/compare_output.cmake)
set(places_cli_file ${places_cli_dir}/data/two-places.dat)
set(places_cli_sets ${places_cli_dir}/data/two-sets.dat)

function(places_cli_test name)
    cmake_parse_arguments(PARSE_ARGV 1 t "" "ARGS;EXPECTED;EXIT;STDERR_MATCH" "")
    set(defines -DWARDEN=$<TARGET_FILE:warden> "-DARGS=${t_ARGS}")
    if(t_EXPECTED)
        list(APPEND defines -DEXPECTED=${places_cli_dir}/data/${t_EXPECTED})
    endif()
    if(DEFINED t_EXIT)
        list(APPEND defines -DEXIT=${t_EXIT})
    endif()
    if(t_STDERR_MATCH)
        list(APPEND defines "-DSTDERR_MATCH=${t_STDERR_MATCH}")
    endif()
    add_test(NAME places.warden.${name} COMMAND ${CMAKE_COMMAND} ${defines} -P ${places_cli_compare})
    set_tests_properties(places.warden.${name} PROPERTIES LABELS "places;cli")
endfunction()

places_cli_test(places_table ARGS "places|${places_cli_file}" EXPECTED places_table.expected)
places_cli_test(places_json ARGS "places|--json|${places_cli_file}" EXPECTED places_json.expected)
places_cli_test(places_missing ARGS "places|${places_cli_dir}/data/no-such.dat" EXIT 1
                STDERR_MATCH "^warden: cannot open .*no-such.dat\n$")
places_cli_test(places_foreign ARGS "places|${places_cli_sets}" EXIT 1
                STDERR_MATCH "^warden: .*two-sets.dat is not a user-places file \\(.*\\)\n$")
# Sixteen bytes of noise that the library's bare-body reading takes for an empty collection.
places_cli_test(places_noise ARGS "places|${places_cli_dir}/data/noise.bin" EXIT 1
                STDERR_MATCH "^warden: .*noise.bin is not a user-places file \\(no place and no collection header\\)\n$")
places_cli_test(sets_json ARGS "sets|--json|${places_cli_sets}" EXPECTED sets_json.expected)
places_cli_test(sets_foreign ARGS "sets|${places_cli_file}" EXIT 1
                STDERR_MATCH "^warden: .*two-places.dat is not a set-collection file, or it is damaged\n$")
