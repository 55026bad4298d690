# Makes the archives and starts the viewer from what is in them: on a machine that has nothing else, for which an empty
# Wine prefix stands. It has to draw on both pipelines, without a box and with what lies beside it.

set(work ${BUILD}/package)
file(REMOVE_RECURSE ${work})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output
        WORKING_DIRECTORY ${BUILD})
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CPACK} -C ${CONFIG} -B ${work})
file(GLOB archives RELATIVE ${work} ${work}/*.zip)
if(NOT archives MATCHES "^OrrinDisplay-[0-9.]+-win64-debugdata.zip;OrrinDisplay-[0-9.]+-win64.zip$")
    message(FATAL_ERROR "the archives are ${archives}")
endif()
list(GET archives 1 archive)
file(ARCHIVE_EXTRACT INPUT ${work}/${archive} DESTINATION ${work}/machine)
file(GLOB viewer ${work}/machine/bin/OrrinViewer.exe ${work}/machine/*/bin/OrrinViewer.exe)
file(GLOB_RECURSE debug_data ${work}/machine/*.debug ${work}/machine/*.pdb)
if(NOT viewer OR debug_data)
    message(FATAL_ERROR "the viewer is '${viewer}', debugging data that should be apart '${debug_data}'")
endif()

file(WRITE ${work}/points.ply "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
    "property float z\nend_header\n0 0 0\n10 0 0\n5 9 0\n")
if(CMAKE_HOST_WIN32)
    set(drive)
else()
    set(drive "Z:")
endif()
set(ENV{ORRIN_WINE_PREFIX} ${work}/wine)
# All in one session: Wine takes seconds to begin and to end one. A run that fails leaves no picture.
set(commands "@echo off\n")
foreach(pipeline legacy gl4)
    foreach(size 2 40)
        string(APPEND commands "\"${drive}${viewer}\" --pipeline ${pipeline} --frames 2 --point-size ${size} --screenshot "
            "\"${drive}${work}/${pipeline}-${size}.png\" \"${drive}${work}/points.ply\"\n")
    endforeach()
endforeach()
# Such a machine has no fonts either, which the viewer tells by its exit code.
file(WRITE ${work}/draw.bat "${commands}exit /b 0\n")
run(${EMULATOR} cmd.exe /c ${drive}${work}/draw.bat)
if(output MATCHES "Shader|ERROR")
    message(FATAL_ERROR "the viewer said:\n${output}")
endif()
foreach(pipeline legacy gl4)
    file(SHA256 ${work}/${pipeline}-2.png small)
    file(SHA256 ${work}/${pipeline}-40.png large)
    if(small STREQUAL large)
        message(FATAL_ERROR "on ${pipeline} the viewer drew no points")
    endif()
endforeach()
message("The viewer draws:\n${output}")
