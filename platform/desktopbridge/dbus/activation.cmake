# Writes the files by which the session bus starts the bridge: when the build is configured and
# again at installation, when the prefix is known for sure.
set(service_template "${CMAKE_CURRENT_LIST_DIR}/service.in")

function(write_activation_files program folder)
    set(exec "${program}")
    if(program MATCHES "[^A-Za-z0-9_./+-]")
        set(exec "\"${program}\"")
    endif()
    foreach(name IN ITEMS org.vesk.KWin org.vesk.ScreenSaver)
        configure_file("${service_template}" "${folder}/${name}.service" @ONLY)
    endforeach()
endfunction()
