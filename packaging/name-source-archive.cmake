# SPDX-License-Identifier: MIT
# CPack reads this before it packs. The archive of a commit without the release's annotated tag gets the
# commit into its name.
if(CPACK_INSTALL_CMAKE_PROJECTS)
    return() # no archive of the sources
endif()
execute_process(COMMAND git describe --exact-match --match v${CPACK_PACKAGE_VERSION} HEAD
    WORKING_DIRECTORY ${CPACK_MARROWPULSE_SOURCES} OUTPUT_QUIET ERROR_QUIET RESULT_VARIABLE error)
if(error)
    execute_process(COMMAND git rev-parse --short=12 HEAD OUTPUT_VARIABLE commit
        WORKING_DIRECTORY ${CPACK_MARROWPULSE_SOURCES} OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    string(APPEND CPACK_PACKAGE_FILE_NAME -g${commit})
endif()
