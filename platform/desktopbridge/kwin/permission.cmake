# Writes the desktop file in which the bridge asks KWin for what only trusted programs get. KWin
# compares the program behind a process with Exec, so it holds the absolute path: that of the build
# when it is configured, the installed one at installation.
set(permission_template "${CMAKE_CURRENT_LIST_DIR}/yestermark-desktop-bridge.desktop.in")

function(write_permission program folder)
    set(exec "${program}")
    if(program MATCHES "[^A-Za-z0-9_./+-]")
        set(exec "\"${program}\"")
    endif()
    configure_file("${permission_template}" "${folder}/yestermark-desktop-bridge.desktop" @ONLY)
endfunction()
