# What `cmake --install` and `cpack` deliver, beside what the folders install themselves:
#
#   Runtime      the library's DLL with all that it needs, and the shader files
#   Viewer       the viewer, ready to start from where it lies
#   Development  headers, import libraries and CMake packages, those of the dependencies included
#   DebugData    for debuggers; an archive of its own
#   StandIn      the driver for tests; installed on request alone

orrin_find_compiler_runtime(compiler_runtime)
install(FILES $<TARGET_RUNTIME_DLLS:OrrinDisplay> ${compiler_runtime} DESTINATION bin COMPONENT Runtime)
if(MSVC)
    set(CMAKE_INSTALL_MFC_LIBRARIES TRUE)
    set(CMAKE_INSTALL_SYSTEM_RUNTIME_DESTINATION bin)
    set(CMAKE_INSTALL_SYSTEM_RUNTIME_COMPONENT Runtime)
    include(InstallRequiredSystemLibraries)
endif()

# The interface names types of GLM and spdlog, and a host must use the spdlog that the library does: they come along, so
# that find_package needs nothing else. With vcpkg a host has them from there.
if(NOT MSVC)
    cmake_path(GET spdlog_DIR PARENT_PATH dependencies) # PREFIX/lib/cmake/spdlog
    cmake_path(GET dependencies PARENT_PATH dependencies)
    cmake_path(GET dependencies PARENT_PATH dependencies)
    foreach(folder include/fmt include/glm include/spdlog lib/cmake/fmt lib/cmake/spdlog share/cmake/glm)
        cmake_path(GET folder PARENT_PATH place)
        if(NOT IS_DIRECTORY ${dependencies}/${folder})
            message(STATUS "The package will do without ${folder}, which is not in ${dependencies}")
            continue()
        endif()
        install(DIRECTORY ${dependencies}/${folder} DESTINATION ${place} COMPONENT Development)
    endforeach()
    file(GLOB import_libraries ${dependencies}/lib/libfmt*.a ${dependencies}/lib/libspdlog*.a)
    install(FILES ${import_libraries} DESTINATION lib COMPONENT Development)
    install(FILES ${PROJECT_SOURCE_DIR}/cmake/OrrinMinGWToolchain.cmake DESTINATION lib/cmake/OrrinDisplay
        COMPONENT Development)
endif()

install(EXPORT OrrinDisplayTargets NAMESPACE Orrin:: DESTINATION lib/cmake/OrrinDisplay COMPONENT Development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrrinDisplayConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/OrrinDisplayConfig.cmake INSTALL_DESTINATION lib/cmake/OrrinDisplay)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/OrrinDisplayConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/OrrinDisplayConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/OrrinDisplayConfigVersion.cmake ${PROJECT_SOURCE_DIR}/cmake/OrrinDeploy.cmake
    DESTINATION lib/cmake/OrrinDisplay COMPONENT Development)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/THIRD-PARTY-NOTICES.md
    DESTINATION share/OrrinDisplay COMPONENT Runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION share/OrrinDisplay COMPONENT Development
    PATTERN build EXCLUDE)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME OrrinDisplay)
set(CPACK_PACKAGE_FILE_NAME OrrinDisplay-${PROJECT_VERSION}-win64)
set(CPACK_PACKAGE_VENDOR Orrin)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_VERBATIM_VARIABLES TRUE)
# One archive to use and one for debuggers.
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL Runtime Development DebugData)
if(ORRIN_BUILD_HOST)
    list(APPEND CPACK_COMPONENTS_ALL Viewer)
endif()
set(CPACK_COMPONENT_RUNTIME_GROUP Display)
set(CPACK_COMPONENT_VIEWER_GROUP Display)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP Display)
set(CPACK_COMPONENT_DEBUGDATA_GROUP DebugData)
set(CPACK_ARCHIVE_DISPLAY_FILE_NAME ${CPACK_PACKAGE_FILE_NAME})
set(CPACK_ARCHIVE_DEBUGDATA_FILE_NAME ${CPACK_PACKAGE_FILE_NAME}-debugdata)
include(CPack)
