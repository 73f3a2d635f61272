# Runs a Windows program under Wine and compares its standard output, byte for byte, against an
# expected file (the one the Linux build is checked against):
#   cmake -DWINE=<wine> -DPREFIX=<wineprefix> -DPROGRAM=<exe> -DARGS=<args separated by |>
#         -DEXPECTED=<file> -P compare_under_wine.cmake
string(REPLACE "|" ";" args "${ARGS}")
set(ENV{WINEPREFIX} ${PREFIX})
set(ENV{WINEDEBUG} -all)
set(ENV{WINEDLLOVERRIDES} "mscoree,mshtml=")
execute_process(COMMAND ${WINE} ${PROGRAM} ${args} OUTPUT_VARIABLE out ERROR_VARIABLE err
                RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ${args}: exit status ${status}\n${err}")
endif()
file(READ ${EXPECTED} expected)
if(NOT out STREQUAL expected)
    get_filename_component(name ${EXPECTED} NAME)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}.wine "${out}")
    message(FATAL_ERROR "output differs from ${EXPECTED}; see ${name}.wine")
endif()
