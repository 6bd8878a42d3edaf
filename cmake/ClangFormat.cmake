find_program(CLANG_FORMAT NAMES clang-format clang-format-14)
if(CLANG_FORMAT)
    file(GLOB_RECURSE _format_sources CONFIGURE_DEPENDS
        ${PROJECT_SOURCE_DIR}/src/*.cpp ${PROJECT_SOURCE_DIR}/src/*.h
        ${PROJECT_SOURCE_DIR}/tests/*.cpp ${PROJECT_SOURCE_DIR}/tests/*.h
        ${PROJECT_SOURCE_DIR}/bench/*.cpp ${PROJECT_SOURCE_DIR}/bench/*.h)
    add_custom_target(format COMMAND ${CLANG_FORMAT} -i ${_format_sources} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
endif()
