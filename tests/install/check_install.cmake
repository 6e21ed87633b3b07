# Installs into a folder of the build, then builds and runs the consumer by find_package and by pkg-config.

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${WORK})
unset(ENV{DESTDIR})
run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${WORK}/consumer -G ${GENERATOR} -D CMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}
    -D CMAKE_C_COMPILER=${COMPILER} -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_BUILD_TYPE=Release)
run(${CMAKE_COMMAND} --build ${WORK}/consumer --config Release)
run(${WORK}/consumer/consumer)

if(NOT PKG_CONFIG)
    message(FATAL_ERROR "pkg-config is not installed")
endif()
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs tov)
string(STRIP "${output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${COMPILER} -std=c99 -Wall -Wextra -pedantic -Werror ${CONSUMER}/consumer.c -o ${WORK}/by_pkg_config ${flags})
set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBDIR})
run(${WORK}/by_pkg_config)
