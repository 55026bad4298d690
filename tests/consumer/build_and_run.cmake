# Installs the library, builds the project of this folder against the installed tree, and runs it.

set(prefix ${BUILD}/consumer/installed)
set(project ${BUILD}/consumer/build)
file(REMOVE_RECURSE ${prefix} ${project})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${output}")
    endif()
    message("${output}")
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --config ${CONFIG})
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${project} -G Ninja -D CMAKE_BUILD_TYPE=${CONFIG}
    -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_PREFIX_PATH=${PREFIX_PATH}
    -D OrrinDisplay_DIR=${prefix}/lib/cmake/OrrinDisplay)
run(${CMAKE_COMMAND} --build ${project})
file(COPY ${prefix}/bin/OrrinDisplay.dll DESTINATION ${project})
run(${EMULATOR} ${project}/consumer.exe)
