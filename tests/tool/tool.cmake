# Command-line tests of warden's exports and map, which check the files by reading them back with
# other programs (gpsbabel, GDAL, xmllint, headless Chromium); each skips when its programs are
# missing.
if(NOT TARGET warden)
    return()
endif()
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_Interpreter_FOUND)
    return()
endif()
foreach(script exports map)
    add_test(NAME tool.${script}
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/${script}_test.py
                     $<TARGET_FILE:warden> ${PROJECT_SOURCE_DIR} ${SHARED_TESTDATA_DIR})
    set_tests_properties(tool.${script} PROPERTIES SKIP_RETURN_CODE 77 LABELS "tool;cli" TIMEOUT 120)
endforeach()
