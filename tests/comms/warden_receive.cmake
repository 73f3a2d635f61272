# Command-line checks of "warden receive" against lrzsz's sz (skipped when sz is missing).
include_guard(GLOBAL)
if(NOT TARGET warden)
    return()
endif()
add_test(NAME comms.warden.receive
         COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/warden_receive.sh $<TARGET_FILE:warden>)
set_tests_properties(comms.warden.receive PROPERTIES LABELS "comms;cli" SKIP_RETURN_CODE 77
                     TIMEOUT 120)
