# Puts beside a program what it needs to start on another machine. It serves this project and, installed with the
# package, the projects of hosts.

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/OrrinDisplayTargets.cmake)
    get_filename_component(_orrin_root ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)
    set_property(GLOBAL PROPERTY ORRIN_SHADER_FOLDER ${_orrin_root}/share/OrrinDisplay/Orrin)
    set_property(GLOBAL PROPERTY ORRIN_RUNTIME_FOLDERS ${_orrin_root}/bin)
else()
    set_property(GLOBAL PROPERTY ORRIN_SHADER_FOLDER ${CMAKE_BINARY_DIR}/common/Orrin)
    set(_orrin_folders ${CMAKE_PREFIX_PATH})
    list(TRANSFORM _orrin_folders APPEND /bin)
    set_property(GLOBAL PROPERTY ORRIN_RUNTIME_FOLDERS ${_orrin_folders})
endif()

# The compiler's own DLLs that programs and the library are linked with; none with MSVC, whose come with its
# redistributable. A package's copies are taken by whoever compiles with the same compiler.
function(orrin_find_compiler_runtime result)
    set(files)
    if(MINGW)
        get_property(folders GLOBAL PROPERTY ORRIN_RUNTIME_FOLDERS)
        set(names libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        if(ORRIN_CHECKED OR ORRIN_PACKAGE_CHECKED)
            list(APPEND names libssp-0.dll)
        endif()
        foreach(name IN LISTS names)
            execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                OUTPUT_VARIABLE own OUTPUT_STRIP_TRAILING_WHITESPACE)
            set(file)
            if(NOT ORRIN_PACKAGE_COMPILER OR ORRIN_PACKAGE_COMPILER STREQUAL "${CMAKE_CXX_COMPILER_VERSION}"
               OR NOT IS_ABSOLUTE "${own}")
                foreach(folder IN LISTS folders)
                    if(NOT file AND EXISTS ${folder}/${name})
                        set(file ${folder}/${name})
                    endif()
                endforeach()
            endif()
            if(NOT file AND IS_ABSOLUTE "${own}")
                set(file ${own})
            endif()
            if(file)
                list(APPEND files ${file})
            endif()
        endforeach()
    endif()
    set(${result} ${files} PARENT_SCOPE)
endfunction()

# Copies the DLLs of a program beside it, those of the compiler included, and the shader files into common/Orrin there,
# where the library looks for them when they are not installed in the system's own place.
function(orrin_deploy target)
    orrin_find_compiler_runtime(runtime)
    get_property(shaders GLOBAL PROPERTY ORRIN_SHADER_FOLDER)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_RUNTIME_DLLS:${target}> ${runtime}
                $<TARGET_FILE_DIR:${target}>
        COMMAND ${CMAKE_COMMAND} -E copy_directory ${shaders} $<TARGET_FILE_DIR:${target}>/common/Orrin
        COMMAND_EXPAND_LISTS VERBATIM)
endfunction()
