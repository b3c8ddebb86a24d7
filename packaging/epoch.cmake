# Read by cpack before it packs: sets SOURCE_DATE_EPOCH, which dates everything in the package, to
# the last commit, or to the changelog's newest entry where there is no repository.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(
        COMMAND git -C "${CPACK_YESTERMARK_SOURCE}" log -1 --format=%ct
        OUTPUT_VARIABLE moment OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT moment)
        execute_process(
            COMMAND dpkg-parsechangelog -S Timestamp
                    -l "${CPACK_YESTERMARK_SOURCE}/packaging/debian/changelog"
            OUTPUT_VARIABLE moment OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    endif()
    set(ENV{SOURCE_DATE_EPOCH} "${moment}")
endif()
