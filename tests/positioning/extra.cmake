# Tests of this folder beyond the GoogleTest executable.
include(${CMAKE_CURRENT_LIST_DIR}/warden_cli.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/grid_cli.cmake)
