# Copies the shipped settings file into the staged application folder without ever overwriting a
# file that a user has changed:
# - no staged PARA.ini: copy it;
# - the staged file is still exactly what was last copied, and the shipped file has changed since:
#   copy the new one;
# - the staged file was edited: keep it, and say that a newer shipped file was not copied;
# - a staged file without a fingerprint comes from the time when staging always overwrote: copy.
# The fingerprint of the last copied file is kept beside the build, outside the application folder.
# Run as: cmake -DSHIPPED=... -DSTAGED=... -DSTAMP=... -P StageSettings.cmake
file(SHA256 "${SHIPPED}" shipped_hash)
set(last_hash "")
if(EXISTS "${STAMP}")
    file(READ "${STAMP}" last_hash)
    string(STRIP "${last_hash}" last_hash)
endif()

if(NOT EXISTS "${STAGED}")
    file(COPY_FILE "${SHIPPED}" "${STAGED}")
    file(WRITE "${STAMP}" "${shipped_hash}\n")
    return()
endif()

file(SHA256 "${STAGED}" staged_hash)
if(last_hash STREQUAL "")
    # Staged before fingerprints were kept, when staging always overwrote: nothing to lose.
    file(COPY_FILE "${SHIPPED}" "${STAGED}")
    file(WRITE "${STAMP}" "${shipped_hash}\n")
elseif(staged_hash STREQUAL shipped_hash)
    file(WRITE "${STAMP}" "${shipped_hash}\n")
elseif(staged_hash STREQUAL last_hash)
    file(COPY_FILE "${SHIPPED}" "${STAGED}")
    file(WRITE "${STAMP}" "${shipped_hash}\n")
    message(STATUS "Staged the updated settings file ${STAGED}")
elseif(NOT shipped_hash STREQUAL last_hash)
    message(STATUS "${STAGED} was changed by hand and is kept; the shipped data/PARA.ini has changed "
                   "since: remove the staged file to take the shipped one.")
endif()
