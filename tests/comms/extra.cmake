# Tests of this folder beyond the GoogleTest executable.
include(${CMAKE_CURRENT_LIST_DIR}/warden_receive.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/warden_listen.cmake)
