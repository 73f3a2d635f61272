# Installs the library into a scratch prefix and uses it as another project would: through
# find_package(Shared), through pkg-config, and by running the installed warden from there.
# With -DSTATIC=ON the library is first built again as a static library (only the library).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run what)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(rc)
        message(FATAL_ERROR "${what} failed:\n${out}")
    endif()
    set(output "${out}" PARENT_SCOPE)
endfunction()

if(STATIC)
    run("configuring the static library" ${CMAKE_COMMAND} -S ${PROJECT_DIR} -B ${WORK_DIR}/lib
        -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF
        -DSHARED_BUILD_TESTS=OFF -DSHARED_BUILD_BENCH=OFF -DSHARED_BUILD_TOOLS=OFF)
    run("building the static library" ${CMAKE_COMMAND} --build ${WORK_DIR}/lib)
    set(BUILD_DIR ${WORK_DIR}/lib)
endif()
run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run("configuring the consumer" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build
    -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix})
run("building the consumer" ${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run("the consumer" ${WORK_DIR}/build/consumer)
message(STATUS "find_package consumer said: ${output}")

find_program(PKG_CONFIG NAMES pkgconf pkg-config)
find_program(CXX NAMES c++ g++)
if(PKG_CONFIG AND CXX)
    file(GLOB_RECURSE pc_file ${prefix}/*/shared.pc)
    get_filename_component(pc_dir "${pc_file}" DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} ${pc_dir})
    set(static_flag "")
    if(STATIC)
        set(static_flag --static)
    endif()
    run("pkg-config" ${PKG_CONFIG} ${static_flag} --cflags --libs shared)
    string(STRIP "${output}" flags)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    get_filename_component(libdir "${pc_file}" DIRECTORY)
    get_filename_component(libdir "${libdir}" DIRECTORY)
    run("building with pkg-config flags" ${CXX} -std=c++20 ${SOURCE_DIR}/main.cpp ${flags}
        -Wl,-rpath,${libdir} -o ${WORK_DIR}/pc_consumer)
    run("the pkg-config consumer" ${WORK_DIR}/pc_consumer)
endif()

if(EXISTS ${prefix}/bin/warden)
    # No library path from the environment: the tool must find its library by its own rpath.
    unset(ENV{LD_LIBRARY_PATH})
    run("the installed warden" ${prefix}/bin/warden --help)
endif()
