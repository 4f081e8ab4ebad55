# CPack runs this after it has packed. The members of a Debian package have the modes that its umask
# gave them, so they are put together again without modes and times.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()
set(parts ${CPACK_TEMPORARY_DIRECTORY}.parts)
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    file(REMOVE_RECURSE ${parts})
    file(MAKE_DIRECTORY ${parts})
    execute_process(COMMAND ar xo ${package} WORKING_DIRECTORY ${parts} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ar t ${package} OUTPUT_VARIABLE members COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" members "${members}")
    file(REMOVE ${package})
    execute_process(COMMAND ar rcD ${package} ${members} WORKING_DIRECTORY ${parts}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
