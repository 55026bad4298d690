# The pages of the interface, with Doxygen where it is installed: cmake --build BUILD --target docs. A warning fails.
find_program(ORRIN_DOXYGEN doxygen NO_CMAKE_FIND_ROOT_PATH)
find_program(ORRIN_AWK awk NO_CMAKE_FIND_ROOT_PATH)
mark_as_advanced(ORRIN_DOXYGEN ORRIN_AWK)
if(ORRIN_DOXYGEN AND ORRIN_AWK)
    # What is installed is what is documented.
    get_target_property(ORRIN_DOCUMENTED_HEADERS OrrinDisplay HEADER_SET)
    list(JOIN ORRIN_DOCUMENTED_HEADERS " " ORRIN_DOCUMENTED_HEADERS)
    configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${CMAKE_BINARY_DIR}/Doxyfile @ONLY)
    add_custom_target(docs COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/docs
        COMMAND ${ORRIN_DOXYGEN} ${CMAKE_BINARY_DIR}/Doxyfile
        COMMENT "Writing ${CMAKE_BINARY_DIR}/docs/html/index.html" VERBATIM)
endif()
