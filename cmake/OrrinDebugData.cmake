# Debugging data beside a program or DLL instead of in it, in Release too: a crash in the field can be read, and what is
# delivered stays small. Debug keeps its data inside.

# MSVC writes it into PDB files anyway, but not for Release.
set(CMAKE_MSVC_DEBUG_INFORMATION_FORMAT "$<$<CONFIG:Debug,Release,RelWithDebInfo>:ProgramDatabase>")

set(ORRIN_DEBUG_DATA_CONFIGS "$<CONFIG:Release,RelWithDebInfo>")

# The compile side of it, for targets whose objects go into a program or DLL that orrin_split_debug_data is told of.
function(orrin_make_debug_data target)
    if(NOT MSVC)
        target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-g>)
    endif()
endfunction()

# Moves the debugging data into a file FILE.debug that the debugger finds by its name and checksum, beside FILE or in a
# folder .debug there, and installs it into that folder as the component DebugData.
function(orrin_split_debug_data target)
    orrin_make_debug_data(${target})
    if(MSVC)
        target_link_options(${target} PRIVATE $<$<CONFIG:Release>:/DEBUG;/OPT:REF;/OPT:ICF>)
        install(FILES $<TARGET_PDB_FILE:${target}> DESTINATION bin/.debug COMPONENT DebugData OPTIONAL)
        return()
    endif()
    set(file $<TARGET_FILE:${target}>)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "$<${ORRIN_DEBUG_DATA_CONFIGS}:${CMAKE_OBJCOPY};--only-keep-debug;${file};${file}.debug>"
        COMMAND "$<${ORRIN_DEBUG_DATA_CONFIGS}:${CMAKE_OBJCOPY};--strip-all;--add-gnu-debuglink=${file}.debug;${file}>"
        COMMAND_EXPAND_LISTS VERBATIM)
    install(FILES $<${ORRIN_DEBUG_DATA_CONFIGS}:${file}.debug> DESTINATION bin/.debug COMPONENT DebugData)
endfunction()
