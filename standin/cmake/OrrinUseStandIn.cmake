# Builds a program that runs on the stand-in driver. It goes to a folder of its own, with the driver and the other DLLs
# that it needs beside it, for a Windows program finds an opengl32.dll beside it before the system's: no other program
# should lie there. Wine uses its own all the same, unless told with WINEDLLOVERRIDES=opengl32=n,b.
function(orrin_use_stand_in target)
    target_link_libraries(${target} PRIVATE Orrin::StandIn)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/standin)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_RUNTIME_DLLS:${target}> $<TARGET_FILE_DIR:${target}>
        COMMAND_EXPAND_LISTS)
endfunction()
