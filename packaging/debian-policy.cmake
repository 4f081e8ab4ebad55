# SPDX-License-Identifier: MIT
# Changes the staged install tree to what Debian's policy requires of a package.
set(stage ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(doc ${stage}/doc/${CPACK_PACKAGE_NAME})

# The licence is the copyright file.
file(MAKE_DIRECTORY ${doc}) # CMAKE_INSTALL_DOCDIR may be another
file(COPY_FILE ${CPACK_MARROWPULSE_SOURCES}/LICENSE ${doc}/copyright)

# A change log in Debian's form, which points to the real one.
execute_process(COMMAND date --utc --rfc-email --date=${CPACK_MARROWPULSE_DAY} OUTPUT_VARIABLE date
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${doc}/changelog
"${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * CHANGELOG.md, which is installed too, tells the changes.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")

execute_process(COMMAND gzip -9n ${doc}/changelog ${stage}/man/man1/${CPACK_PACKAGE_NAME}.1
    COMMAND_ERROR_IS_FATAL ANY)

# Sets the modes, which would else depend on the packager's umask.
set(for_all OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
file(CHMOD_RECURSE ${stage} FILE_PERMISSIONS ${for_all})
file(CHMOD_RECURSE ${CPACK_TEMPORARY_DIRECTORY}/usr
    DIRECTORY_PERMISSIONS ${for_all} OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE)
