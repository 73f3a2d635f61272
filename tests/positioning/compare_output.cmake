# Runs warden once and checks its exit status, its standard output against an expected file and
# its standard error against a pattern. Used by warden_cli.cmake:
#   cmake -DWARDEN=<exe> -DARGS=<args separated by |> [-DINPUT=<file for stdin>]
#         [-DEXPECTED=<file>] [-DEXIT=<status>] [-DSTDERR_MATCH=<regex>] -P compare_output.cmake
string(REPLACE "|" ";" args "${ARGS}")
if(NOT DEFINED EXIT)
    set(EXIT 0)
endif()
set(input_option)
if(INPUT)
    set(input_option INPUT_FILE ${INPUT})
endif()
execute_process(COMMAND ${WARDEN} ${args} ${input_option}
                OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status)
if(NOT status EQUAL EXIT)
    message(FATAL_ERROR "warden ${args}: exit status ${status}, expected ${EXIT}\n${err}")
endif()
if(EXPECTED)
    file(READ ${EXPECTED} expected)
    if(NOT out STREQUAL expected)
        get_filename_component(name ${EXPECTED} NAME)
        file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}.actual "${out}")
        message(FATAL_ERROR "warden ${args}: output differs from ${EXPECTED}; actual output "
                            "written to ${CMAKE_CURRENT_BINARY_DIR}/${name}.actual")
    endif()
endif()
if(STDERR_MATCH AND NOT err MATCHES "${STDERR_MATCH}")
    message(FATAL_ERROR "warden ${args}: standard error does not match '${STDERR_MATCH}':\n${err}")
endif()
if(NOT STDERR_MATCH AND NOT err STREQUAL "")
    message(FATAL_ERROR "warden ${args}: unexpected standard error:\n${err}")
endif()
