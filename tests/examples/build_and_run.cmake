# Builds the examples as a host's developer does, by one command in a copy of the installed folder, and has each draw a
# picture on both pipelines.

set(work ${BUILD}/examples)
file(REMOVE_RECURSE ${work})
file(COPY ${BUILD}/consumer/installed DESTINATION ${work})
set(folder ${work}/installed/share/OrrinDisplay/examples)

function(run)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${folder} RESULT_VARIABLE result OUTPUT_VARIABLE output
        ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed: ${ARGN}\n${output}")
    endif()
    message("${output}")
endfunction()

run(${CMAKE_COMMAND} --workflow --preset ${PRESET})

if(CMAKE_HOST_WIN32)
    set(drive)
else()
    set(drive "Z:")
endif()
# All in one session: Wine takes seconds to begin and to end one. An example that fails leaves no picture.
set(commands "@echo off\n")
set(pictures)
foreach(example Points Map Terrain Profile Symbols OwnOpenGL)
    file(GLOB program ${folder}/build/${example}.exe ${folder}/build/*/${example}.exe)
    foreach(version 1.1 4.4)
        list(APPEND pictures ${work}/${example}-${version}.bmp)
        string(APPEND commands "\"${drive}${program}\" \"${drive}${work}/${example}-${version}.bmp\" ${version}\n")
    endforeach()
endforeach()
file(WRITE ${work}/draw.bat "${commands}")
# What lies beside them is all that they have.
run(${CMAKE_COMMAND} -E env ORRIN_LIBRARY_PATH= ${EMULATOR} cmd.exe /c ${drive}${work}/draw.bat)
foreach(picture IN LISTS pictures)
    if(NOT EXISTS ${picture})
        message(FATAL_ERROR "an example drew nothing: there is no ${picture}")
    endif()
endforeach()
