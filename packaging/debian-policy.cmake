# Makes of the staged install tree what Debian's policy asks of a package. CPack runs it before it
# packs.
set(stage ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(doc ${stage}/doc/${CPACK_PACKAGE_NAME})

# The licence is the copyright file.
file(RENAME ${doc}/LICENSE ${doc}/copyright)

# A change log in Debian's form, which leads to the one that people read.
file(STRINGS ${doc}/CHANGELOG.md heading REGEX "^## \\[${CPACK_PACKAGE_VERSION}\\] - ")
string(REGEX REPLACE ".* - " "" day "${heading}")
execute_process(COMMAND date --utc --rfc-email --date=${day} OUTPUT_VARIABLE date
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${doc}/changelog
"${CPACK_PACKAGE_NAME} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * CHANGELOG.md beside this file tells the changes.

 -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}
")

execute_process(COMMAND gzip -9n ${doc}/changelog ${stage}/man/man1/${CPACK_PACKAGE_NAME}.1
    COMMAND_ERROR_IS_FATAL ANY)
