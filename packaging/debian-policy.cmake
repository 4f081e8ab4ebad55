# SPDX-License-Identifier: MIT
# Makes of the staged install tree what Debian's policy asks of a package.
set(stage ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(doc ${stage}/doc/${CPACK_PACKAGE_NAME})

# The licence is the copyright file, and has its place whatever the folder of the documents is.
cmake_path(ABSOLUTE_PATH CPACK_MARROWPULSE_DOC_FOLDER BASE_DIRECTORY /usr)
file(MAKE_DIRECTORY ${doc})
file(RENAME ${CPACK_TEMPORARY_DIRECTORY}${CPACK_MARROWPULSE_DOC_FOLDER}/LICENSE ${doc}/copyright)

# A change log in Debian's form, which leads to the one that people read.
execute_process(COMMAND date --utc --rfc-email --date=${CPACK_MARROWPULSE_DAY} OUTPUT_VARIABLE date
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${doc}/changelog
"${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * CHANGELOG.md, which is installed too, tells the changes.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")

execute_process(COMMAND gzip -9n ${doc}/changelog ${stage}/man/man1/${CPACK_PACKAGE_NAME}.1
    COMMAND_ERROR_IS_FATAL ANY)

# The modes do not depend on the umask of who packs.
set(for_all OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
file(CHMOD_RECURSE ${stage} FILE_PERMISSIONS ${for_all})
file(CHMOD_RECURSE ${CPACK_TEMPORARY_DIRECTORY}/usr
    DIRECTORY_PERMISSIONS ${for_all} OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE)
