# SPDX-License-Identifier: MIT
# Stages what the last commit holds, and nothing else that may lie in the folder.
if(NOT EXISTS ${CPACK_MARROWPULSE_SOURCES}/.git)
    message(FATAL_ERROR "${CPACK_MARROWPULSE_SOURCES} is no git repository")
endif()
execute_process(COMMAND git -c tar.umask=0022 archive --format=tar HEAD
    COMMAND tar --extract --preserve-permissions --directory ${CPACK_TEMPORARY_DIRECTORY}
    WORKING_DIRECTORY ${CPACK_MARROWPULSE_SOURCES} COMMAND_ERROR_IS_FATAL ANY)
