# Command-line checks of "warden listen" on pseudo-terminals.
include_guard(GLOBAL)
if(NOT TARGET warden)
    return()
endif()
find_package(Python3 COMPONENTS Interpreter QUIET)
if(NOT Python3_Interpreter_FOUND)
    return()
endif()
add_test(NAME comms.warden.listen
         COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_LIST_DIR}/warden_listen.py
                 $<TARGET_FILE:warden>)
set_tests_properties(comms.warden.listen PROPERTIES LABELS "comms;cli" TIMEOUT 60)
