# Installs the library and the stand-in driver, builds the project of this folder against them, and runs its programs.

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
if(EXISTS ${prefix}/include/OrrinStandIn)
    message(FATAL_ERROR "the stand-in driver was installed without being asked for")
endif()
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --config ${CONFIG} --component StandIn)
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${project} -G Ninja -D CMAKE_BUILD_TYPE=${CONFIG}
    -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_PREFIX_PATH=${PREFIX_PATH}
    -D OrrinDisplay_DIR=${prefix}/lib/cmake/OrrinDisplay)
run(${CMAKE_COMMAND} --build ${project})
file(COPY ${prefix}/bin/OrrinDisplay.dll DESTINATION ${project})
run(${EMULATOR} ${project}/consumer.exe)
run(${CMAKE_COMMAND} -E env ORRIN_DLL_OVERRIDES=opengl32=n,b ${EMULATOR} ${project}/standin/host_gl_tests.exe)
