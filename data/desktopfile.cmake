# Writes the desktop file: when the build is configured and again at installation, when the prefix
# is known for sure. KWin offers its window management to the program whose whole path the file
# names, and to no other.
set(desktop_template "${CMAKE_CURRENT_LIST_DIR}/tavel-ai-yestermark.desktop.in")

function(write_desktop_file program folder)
    set(exec "${program}")
    if(program MATCHES "[^A-Za-z0-9_./+-]")
        set(exec "\"${program}\"")
    endif()
    configure_file("${desktop_template}" "${folder}/tavel-ai-yestermark.desktop" @ONLY)
endfunction()
