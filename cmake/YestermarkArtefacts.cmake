# Artefacts of other registries, as scripts/setup unpacks them below artefacts/.

set(YESTERMARK_ARTEFACTS "${PROJECT_SOURCE_DIR}/artefacts" CACHE PATH
    "Folder with the unpacked artefacts of scripts/artefacts.lock")

# yestermark_artefact(VARIABLE PACKAGE)
# Sets VARIABLE to the folder that PACKAGE of scripts/artefacts.lock was unpacked into, or to nothing
# where it is not there: the build then leaves out what needs it, and says so.
function(yestermark_artefact variable package)
    set(${variable} "" PARENT_SCOPE)
    file(STRINGS "${PROJECT_SOURCE_DIR}/scripts/artefacts.lock" lines REGEX "^[a-z]")
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "[ \t]+" ";" fields "${line}")
        list(GET fields 1 name)
        if(NOT name STREQUAL package)
            continue()
        endif()
        list(GET fields 3 file)
        string(REGEX REPLACE "\\.[^.]*$" "" folder "${YESTERMARK_ARTEFACTS}/${file}")
        if(EXISTS "${folder}")
            set(${variable} "${folder}" PARENT_SCOPE)
        else()
            message(STATUS "${package} is not there; built without it")
        endif()
        return()
    endforeach()
    message(FATAL_ERROR "scripts/artefacts.lock names no ${package}")
endfunction()
