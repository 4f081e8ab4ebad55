# SPDX-License-Identifier: MIT
# Stages the files of the last commit, and nothing else that is in the folder.
if(NOT EXISTS ${CPACK_MARROWPULSE_SOURCES}/.git)
    message(FATAL_ERROR "${CPACK_MARROWPULSE_SOURCES} is no git repository")
endif()
execute_process(COMMAND git -c tar.umask=0022 archive --format=tar HEAD
    COMMAND tar --extract --preserve-permissions --directory ${CPACK_TEMPORARY_DIRECTORY}
    WORKING_DIRECTORY ${CPACK_MARROWPULSE_SOURCES} COMMAND_ERROR_IS_FATAL ANY)
