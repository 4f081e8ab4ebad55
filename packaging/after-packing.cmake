# SPDX-License-Identifier: MIT
# CPack runs this after it has packed. The three members of a Debian package have the modes that its
# umask gave them, so they are put in their places again without modes and times.
if(CPACK_GENERATOR STREQUAL "DEB")
    set(parts ${CPACK_TEMPORARY_DIRECTORY}.parts)
    file(MAKE_DIRECTORY ${parts})
    execute_process(COMMAND ar xo ${CPACK_PACKAGE_FILES} WORKING_DIRECTORY ${parts}
        COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ar rD ${CPACK_PACKAGE_FILES} debian-binary control.tar.gz data.tar.gz
        WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
endif()
