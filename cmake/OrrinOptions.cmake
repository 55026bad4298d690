# Compile options that every target of the project takes, as an interface target.

add_library(OrrinOptions INTERFACE)
target_compile_definitions(OrrinOptions INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
    $<$<BOOL:${ORRIN_CHECKED}>:ORRIN_CHECKED>)

if(MSVC)
    target_compile_options(OrrinOptions INTERFACE /W4 /permissive- /utf-8)
    target_compile_definitions(OrrinOptions INTERFACE _CRT_SECURE_NO_WARNINGS)
    if(ORRIN_WARNINGS_AS_ERRORS)
        target_compile_options(OrrinOptions INTERFACE /WX)
    endif()
else()
    target_compile_options(OrrinOptions INTERFACE
        $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wconversion -Wshadow -Wnon-virtual-dtor>)
    # Entry points come as one pointer type and are cast to their own in a few places; elsewhere the warning stays on.
    target_compile_options(OrrinOptions INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-cast-function-type>)
    if(ORRIN_WARNINGS_AS_ERRORS)
        target_compile_options(OrrinOptions INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Werror>)
    endif()
    if(ORRIN_CHECKED)
        target_compile_options(OrrinOptions INTERFACE
            $<$<COMPILE_LANGUAGE:CXX>:-fsanitize=undefined -fsanitize-undefined-trap-on-error -fstack-protector-strong>)
        target_link_options(OrrinOptions INTERFACE -fstack-protector-strong)
        target_compile_definitions(OrrinOptions INTERFACE _GLIBCXX_ASSERTIONS)
    endif()
endif()

# Copies the DLLs that a program needs beside it, so that it starts from its own folder.
function(orrin_copy_runtime target)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_RUNTIME_DLLS:${target}> $<TARGET_FILE_DIR:${target}>
        COMMAND_EXPAND_LISTS)
endfunction()

# Reads the system's and other libraries' headers once for a target instead of once for each source. Sources include what
# they use all the same: the linter reads them without this.
function(orrin_precompile_headers target)
    target_precompile_headers(${target} PRIVATE <afxwin.h> <afxtempl.h> <GL/gl.h>
        <algorithm> <array> <memory> <string> <unordered_map> <vector> ${ARGN})
endfunction()
