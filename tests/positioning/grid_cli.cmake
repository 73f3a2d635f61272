# Command-line regression tests of "warden grid": both directions, a position with no letters,
# and the error paths.
include_guard(GLOBAL)
include(${CMAKE_CURRENT_LIST_DIR}/warden_cli.cmake)
if(NOT TARGET warden)
    return()
endif()

warden_cli_test(grid_latlong ARGS "grid|52.65798|1.71605|--digits|4" EXPECTED grid_latlong.expected)
warden_cli_test(grid_shetland ARGS "grid|60.5|-1.2" EXPECTED grid_shetland.expected)
warden_cli_test(grid_ref ARGS "grid|TG|51409|13177" EXPECTED grid_ref.expected)
warden_cli_test(grid_outside ARGS "grid|0|0" EXIT 1
                STDERR_MATCH "^warden: 0.000000, 0.000000 is outside the National Grid\n$")
warden_cli_test(grid_bad_ref ARGS "grid|TI 1234 5678" EXIT 1
                STDERR_MATCH "^warden: not a grid reference: \"TI 1234 5678\"")
warden_cli_test(grid_bad_number ARGS "grid|52x|1" EXIT 1
                STDERR_MATCH "^warden: not a latitude in decimal degrees: \"52x\"\n$")
warden_cli_test(grid_bad_digits ARGS "grid|52|1|--digits|6" EXIT 64 STDERR_MATCH "--digits")
# Short references read back to the point (the library's own form would land 48 km away).
warden_cli_test(grid_digits3 ARGS "grid|52.65798|1.71605|--digits|3" EXPECTED grid_digits3.expected)
# A batch: conversions both ways, a comment passed through, and a bad line that answers "*" and
# exit status 2 without stopping the rest.
warden_cli_test(grid_batch ARGS "grid" INPUT ${warden_cli_dir}/data/grid_batch.input
                EXPECTED grid_batch.expected EXIT 2
                STDERR_MATCH "^warden: line 3: 0.000000, 0.000000 is outside the National Grid\n$")
