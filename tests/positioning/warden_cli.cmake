# Command-line regression tests of warden's device-data subcommands: the bundled sample drive
# decoded as a table and as JSON, coordinate text, checksum repair and the error paths.
include_guard(GLOBAL)
if(NOT TARGET warden)
    return()
endif()

set(warden_cli_dir ${CMAKE_CURRENT_LIST_DIR})
set(warden_cli_drive ${PROJECT_SOURCE_DIR}/samples/drive.nmea)

function(warden_cli_test name)
    cmake_parse_arguments(PARSE_ARGV 1 t "" "ARGS;EXPECTED;EXIT;INPUT;STDERR_MATCH" "")
    set(defines -DWARDEN=$<TARGET_FILE:warden> "-DARGS=${t_ARGS}")
    if(t_EXPECTED)
        list(APPEND defines -DEXPECTED=${warden_cli_dir}/data/${t_EXPECTED})
    endif()
    if(DEFINED t_EXIT)
        list(APPEND defines -DEXIT=${t_EXIT})
    endif()
    if(t_INPUT)
        list(APPEND defines -DINPUT=${t_INPUT})
    endif()
    if(t_STDERR_MATCH)
        list(APPEND defines "-DSTDERR_MATCH=${t_STDERR_MATCH}")
    endif()
    add_test(NAME positioning.warden.${name}
             COMMAND ${CMAKE_COMMAND} ${defines} -P ${warden_cli_dir}/compare_output.cmake)
    set_tests_properties(positioning.warden.${name} PROPERTIES LABELS "positioning;cli")
endfunction()

warden_cli_test(nmea_drive ARGS "nmea|${warden_cli_drive}" EXPECTED drive.expected)
warden_cli_test(nmea_drive_stdin ARGS "nmea|-" INPUT ${warden_cli_drive} EXPECTED drive.expected)
warden_cli_test(nmea_strict ARGS "nmea|--strict|${warden_cli_drive}" EXIT 2)
warden_cli_test(nmea_missing_file ARGS "nmea|${warden_cli_dir}/data/no-such-log.nmea" EXIT 1
                STDERR_MATCH "^warden: cannot open .*no-such-log.nmea: No such file or directory\n$")
warden_cli_test(coord ARGS "coord|51 30 15.5 N|0 7 30 W|52.2053|0.1218" EXPECTED coord.expected)
warden_cli_test(coord_bad ARGS "coord|--lat|x51" EXIT 1
                STDERR_MATCH "^warden: cannot read \"x51\" as a latitude: bad prefix")
warden_cli_test(coord_wrong_hemisphere ARGS "coord|--lon|51 30 N" EXIT 1
                STDERR_MATCH "N or S given for a longitude")
warden_cli_test(checksum ARGS "checksum|$GPLOG,1,120000,010106*00|GPIOP,00000101,00000000,1.2,3.4,12.6"
                EXPECTED checksum.expected)
warden_cli_test(checksum_empty ARGS "checksum|$" EXIT 1 STDERR_MATCH "^warden: empty sentence\n$")
# Lines typed on a UTF-8 terminal (the degree sign is two bytes there, one in the library's code
# page) and one already in code page 1252; a bad line answers "*" and the batch goes on.
warden_cli_test(coord_batch ARGS "coord" INPUT ${warden_cli_dir}/data/coord_batch.input
                EXPECTED coord_batch.expected EXIT 2 STDERR_MATCH "^warden: line 2: cannot read")
# Impossible values are shown but flagged not valid; another talker's RMC decodes on request; a
# GGA sentence is another type, not a rejection; --strict fails on the flagged line.
warden_cli_test(nmea_flagged ARGS "nmea|--json|--any-talker|--strict" EXIT 2
                INPUT ${warden_cli_dir}/data/nmea_flagged.input EXPECTED nmea_flagged.json.expected)
# A real receiver log ($GNRMC, GGA, GSV ...) passes --strict.
set(warden_cli_real_log ${SHARED_TESTDATA_DIR}/nmea/gpsd/ch-4711.log)
if(EXISTS ${warden_cli_real_log})
    warden_cli_test(nmea_real_strict ARGS "nmea|--strict|--any-talker|${warden_cli_real_log}")
endif()
add_test(NAME positioning.warden.json_conventions
         COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden> -DSOURCE=${PROJECT_SOURCE_DIR}
                 -DWORK=${CMAKE_CURRENT_BINARY_DIR}/json_conventions
                 -P ${warden_cli_dir}/json_conventions.cmake)
set_tests_properties(positioning.warden.json_conventions PROPERTIES LABELS "positioning;cli"
                     ENVIRONMENT "TZ=UTC0")
# IANA zone names work as well as POSIX rules.
if(EXISTS /usr/share/zoneinfo/Europe/London)
    warden_cli_test(time_iana ARGS "time|--tz|Europe/London|--year|2026")
endif()
warden_cli_test(unknown_command ARGS "bogus" EXIT 64 STDERR_MATCH "^warden: unknown command \"bogus\"")
