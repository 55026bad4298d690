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
if(EXISTS ${prefix}/bin/OrrinDisplay.dll.debug OR NOT EXISTS ${prefix}/bin/.debug)
    message(FATAL_ERROR "the debugging data does not lie apart")
endif()

# The package alone brings what the host needs; its toolchain file, where there is one, finds it.
if(EXISTS ${prefix}/lib/cmake/OrrinDisplay/OrrinMinGWToolchain.cmake)
    set(toolchain ${prefix}/lib/cmake/OrrinDisplay/OrrinMinGWToolchain.cmake)
else()
    set(toolchain ${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${project} -D CMAKE_BUILD_TYPE=${CONFIG} -G ${GENERATOR}
    -D CMAKE_TOOLCHAIN_FILE=${toolchain} -D CMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${project} --config ${CONFIG})
file(GLOB consumer ${project}/consumer.exe ${project}/${CONFIG}/consumer.exe)
# What it was not given it does not have: no folder of DLLs is named, and no shader files are installed.
run(${CMAKE_COMMAND} -E env ORRIN_LIBRARY_PATH= ${EMULATOR} ${consumer})
file(GLOB_RECURSE host_gl_tests ${project}/host_gl_tests.exe)
run(${CMAKE_COMMAND} -E env ORRIN_DLL_OVERRIDES=opengl32=n,b ${EMULATOR} ${host_gl_tests})
