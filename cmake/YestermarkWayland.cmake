# Code for Wayland protocols, made at build time from the descriptions that the distribution
# installs.

find_package(PkgConfig REQUIRED)
pkg_check_modules(WAYLAND_CLIENT REQUIRED IMPORTED_TARGET GLOBAL wayland-client)
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
mark_as_advanced(WAYLAND_SCANNER)

# yestermark_wayland_protocol(NAME...)
# For each protocol, such as wlr-screencopy-unstable-v1, a static library wayland_NAME: whoever
# links it includes <NAME-client-protocol.h>. Several folders may ask for the same one.
function(yestermark_wayland_protocol)
    foreach(name IN LISTS ARGN)
        if(NOT TARGET wayland_${name})
            yestermark_wayland_description(${name} description)
            yestermark_wayland_code(${name} "${description}")
        endif()
    endforeach()
endfunction()

# Packages keep them in folders whose names hold the package's version.
function(yestermark_wayland_description name result)
    pkg_get_variable(folder wayland-protocols pkgdatadir)
    file(GLOB_RECURSE found
        "${folder}/${name}.xml"
        "/usr/share/plasma-wayland-protocols/${name}.xml"
        "/usr/share/wlr-protocols/${name}.xml")
    if(NOT found)
        file(GLOB registries "/usr/share/cargo/registry/wayland-protocols*")
        list(TRANSFORM registries APPEND "/${name}.xml")
        file(GLOB_RECURSE found ${registries})
    endif()
    if(NOT found)
        message(FATAL_ERROR "No description of the Wayland protocol ${name}: "
                            "scripts/packages.list names the packages that hold them")
    endif()
    list(GET found 0 first)
    set(${result} "${first}" PARENT_SCOPE)
endfunction()

function(yestermark_wayland_code name description)
    set(header "${CMAKE_CURRENT_BINARY_DIR}/wayland_${name}/${name}-client-protocol.h")
    set(code "${CMAKE_CURRENT_BINARY_DIR}/wayland_${name}/${name}-protocol.c")
    file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/wayland_${name}")
    add_custom_command(OUTPUT "${header}"
        COMMAND "${WAYLAND_SCANNER}" client-header "${description}" "${header}"
        DEPENDS "${description}" VERBATIM)
    add_custom_command(OUTPUT "${code}"
        COMMAND "${WAYLAND_SCANNER}" private-code "${description}" "${code}"
        DEPENDS "${description}" VERBATIM)
    add_library(wayland_${name} STATIC "${code}" "${header}")
    set_target_properties(wayland_${name} PROPERTIES AUTOMOC OFF AUTORCC OFF)
    target_include_directories(wayland_${name} SYSTEM
        PUBLIC "${CMAKE_CURRENT_BINARY_DIR}/wayland_${name}")
    target_link_libraries(wayland_${name} PUBLIC PkgConfig::WAYLAND_CLIENT)
endfunction()
