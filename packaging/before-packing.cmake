# SPDX-License-Identifier: MIT
# CPack runs this before it packs what it has staged.
cmake_minimum_required(VERSION 3.22)

# The time of every file in a package, unless the packager has set SOURCE_DATE_EPOCH.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND date --utc --date=${CPACK_MARROWPULSE_DAY} +%s OUTPUT_VARIABLE time
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(ENV{SOURCE_DATE_EPOCH} ${time})
endif()

if(NOT CPACK_INSTALL_CMAKE_PROJECTS)
    include(${CMAKE_CURRENT_LIST_DIR}/source-archive.cmake)
elseif(CPACK_GENERATOR STREQUAL "DEB")
    # Without it CPack would make a package that depends on nothing.
    find_program(shlibdeps dpkg-shlibdeps)
    if(NOT shlibdeps)
        message(FATAL_ERROR "dpkg-shlibdeps finds the package's dependencies: please install dpkg-dev")
    endif()
    include(${CMAKE_CURRENT_LIST_DIR}/debian-policy.cmake)
endif()
