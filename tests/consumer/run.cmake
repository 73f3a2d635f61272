file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE rc)
if(rc)
    message(FATAL_ERROR "install failed")
endif()
set(cross_options)
if(TOOLCHAIN)
    # A cross toolchain re-roots package searches; the package folder is named directly.
    set(cross_options -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
                      -DShared_DIR=${WORK_DIR}/prefix/lib/cmake/Shared)
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix ${cross_options} RESULT_VARIABLE rc)
if(rc)
    message(FATAL_ERROR "configuring the consumer failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(rc)
    message(FATAL_ERROR "building the consumer failed")
endif()
set(runner)
if(EMULATOR)
    # The installed DLLs sit in the prefix's bin folder, beside no consumer: Wine finds them
    # through WINEPATH.
    string(REPLACE "|" ";" runner "${EMULATOR}")
    list(INSERT runner 3 WINEPATH=${WORK_DIR}/prefix/bin)
endif()
execute_process(COMMAND ${runner} ${WORK_DIR}/build/consumer RESULT_VARIABLE rc
                OUTPUT_VARIABLE out)
if(rc)
    message(FATAL_ERROR "the consumer failed: ${out}")
endif()
message(STATUS "consumer said: ${out}")
