# Makes the database file DB_FILE from SCHEMA and SAMPLE with the sqlite3 command, only when the
# file does not exist yet. Built under a temporary name first, so a failed run leaves no half file.
if(EXISTS "${DB_FILE}")
    return()
endif()
get_filename_component(dir "${DB_FILE}" DIRECTORY)
file(MAKE_DIRECTORY "${dir}")
set(tmp "${DB_FILE}.new")
file(REMOVE "${tmp}")
foreach(script "${SCHEMA}" "${SAMPLE}")
    execute_process(COMMAND "${SQLITE3}" -bail "${tmp}" INPUT_FILE "${script}"
                    RESULT_VARIABLE rc ERROR_VARIABLE err OUTPUT_QUIET)
    if(NOT rc EQUAL 0)
        file(REMOVE "${tmp}")
        message(FATAL_ERROR "sqlite3 failed on ${script}: ${err}")
    endif()
endforeach()
file(RENAME "${tmp}" "${DB_FILE}")
message(STATUS "Made ${DB_FILE}")
