# SPDX-License-Identifier: MIT
# CPack runs this after it has packed. The three members of its Debian package have modes by the packager's
# umask, so this script replaces them by members without modes and times.
if(CPACK_GENERATOR STREQUAL "DEB")
    set(parts ${CPACK_TEMPORARY_DIRECTORY}.parts)
    file(MAKE_DIRECTORY ${parts})
    execute_process(COMMAND ar xo ${CPACK_PACKAGE_FILES} WORKING_DIRECTORY ${parts}
        COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ar rD ${CPACK_PACKAGE_FILES} debian-binary control.tar.gz data.tar.gz
        WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
endif()
