# Every --json answer of warden follows one convention: a single answer is one JSON document, a
# stream one object per line; keys are snake_case; times are ISO 8601 UTC with a trailing Z.
#   cmake -DWARDEN=<exe> -DSOURCE=<source dir> -DWORK=<scratch dir> -P json_conventions.cmake
cmake_policy(SET CMP0054 NEW)
file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/in.txt "52.65798 1.71605\nTG 514 131\n")
set(drive ${SOURCE}/samples/drive.nmea)
set(reg reg|--root|${WORK}/registry)
# kind|arguments separated by |
set(cases
    "document|grid|52.65798|1.71605|--json" "document|grid|TG|51409|13177|--json"
    "lines|grid|--json|-i|${WORK}/in.txt" "lines|coord|--json|51.5|-0.12"
    "lines|checksum|--json|GPLOG,1" "lines|nmea|--json|${drive}"
    "document|week|2006-06-12|--json" "document|time|--tz|UTC0|--json"
    "lines|log|${SOURCE}/tests/foundation/data/cp1252.log|--json"
    "none|${reg}|set|HKCU\\A|Port|3|--dword" "document|${reg}|get|HKCU\\A|Port|--json"
    "document|${reg}|list|HKCU\\A|--json")
set(failures)
foreach(case IN LISTS cases)
    string(REPLACE "|" ";" args "${case}")
    list(POP_FRONT args kind)
    execute_process(COMMAND ${WARDEN} ${args} RESULT_VARIABLE status OUTPUT_VARIABLE out
                    ERROR_VARIABLE err)
    if(NOT status EQUAL 0)
        list(APPEND failures "${case}: exit ${status} ${err}")
        continue()
    endif()
    if(kind STREQUAL "lines")
        string(REGEX REPLACE "\n$" "" out "${out}")
        string(REPLACE ";" "\\;" out "${out}")
        string(REPLACE "\n" ";" documents "${out}")
    elseif(kind STREQUAL "document")
        set(documents "${out}")
    else()
        continue()
    endif()
    foreach(document IN LISTS documents)
        string(JSON type ERROR_VARIABLE error TYPE "${document}")
        if(error OR NOT type STREQUAL "OBJECT")
            list(APPEND failures "${case}: not one JSON object per ${kind}: ${document}")
            break()
        endif()
    endforeach()
    string(REGEX MATCHALL "\"[^\"]*\" *:" keys "${out}")
    foreach(key IN LISTS keys)
        if(NOT key MATCHES "^\"[a-z0-9_]+\" *:$" AND NOT key MATCHES "^\"(GP|[0-9a-f]{8}|[A-Z][a-zA-Z]+)")
            list(APPEND failures "${case}: key ${key} is not snake_case")
        endif()
    endforeach()
    string(REGEX MATCHALL "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]+[^0-9:]" times "${out}")
    foreach(time IN LISTS times)
        if(NOT time MATCHES "Z$" AND NOT time MATCHES "[+-]$")
            list(APPEND failures "${case}: time ${time} is not UTC with Z")
        endif()
    endforeach()
endforeach()
if(failures)
    string(JOIN "\n" text ${failures})
    message(FATAL_ERROR "${text}")
endif()
