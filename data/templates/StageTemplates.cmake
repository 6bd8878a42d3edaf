# stage_templates: copies the sample templates into the application folder and points the sample
# customer's output settings in the staged database at them (absolute paths of this build).
set(BUHINHYO_TEMPLATE_SOURCE ${PROJECT_SOURCE_DIR}/data/templates)
# A sample customer of its own ("|"-separated list); the settings file's customer list and the
# customers of the staged parts tables are added when the rows are written.
set(BUHINHYO_SAMPLE_CUSTOMERS "株式会社サンプル機工")
add_custom_target(stage_templates
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/app/templates
    COMMAND ${CMAKE_COMMAND} -E copy_if_different
            ${BUHINHYO_TEMPLATE_SOURCE}/mfg_parts_template.xlsx
            ${BUHINHYO_TEMPLATE_SOURCE}/purchased_parts_template.xlsx
            ${PROJECT_BINARY_DIR}/app/templates/
    COMMAND ${CMAKE_COMMAND}
            -DDB=${PROJECT_BINARY_DIR}/app/DB/CADDB.sqlite
            -DTEMPLATE_DIR=${PROJECT_BINARY_DIR}/app/templates
            -DSOURCE=${BUHINHYO_TEMPLATE_SOURCE}
            -DCUSTOMERS=${BUHINHYO_SAMPLE_CUSTOMERS}
            -DINI=${PROJECT_BINARY_DIR}/app/PARA.ini
            -DINI_FALLBACK=${PROJECT_SOURCE_DIR}/data/PARA.ini
            -P ${BUHINHYO_TEMPLATE_SOURCE}/stage_settei.cmake
    COMMENT "Staging the sample templates and their output settings"
    VERBATIM)
if(TARGET stage_db)
    add_dependencies(stage_templates stage_db)
endif()

# Part of staging the application folder: hooked onto the program's stage target once every module
# has been read (the stage target is made after this one).
function(buhinhyo_wire_stage_templates)
    if(TARGET stage)
        add_dependencies(stage stage_templates)
    endif()
endfunction()
cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL buhinhyo_wire_stage_templates)
