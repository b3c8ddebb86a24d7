# Run by cpack over the staged installation: what only a Debian package has, in the form that its
# policy asks for, with the same owners, modes and times in every run.
set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}")
set(id "${CPACK_YESTERMARK_APPLICATION_ID}")
set(doc "${root}/usr/share/doc/${id}")

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(add file place)
    get_filename_component(folder "${root}/${place}" DIRECTORY)
    file(MAKE_DIRECTORY "${folder}")
    file(COPY_FILE "${CPACK_YESTERMARK_SOURCE}/${file}" "${root}/${place}")
endfunction()

# The names of these commands in the search path are a desktop's own where it has them: postinst
# makes alternatives of them.
file(RENAME "${root}/usr/bin/vaultsm" "${root}/usr/${CPACK_YESTERMARK_LIBEXECDIR}/vaultsm")
file(REMOVE "${root}/usr/bin/vesk-control-center")

add(data/autostart/${id}.desktop etc/xdg/autostart/${id}.desktop)
add(packaging/debian/copyright usr/share/doc/${id}/copyright)
add(packaging/debian/changelog usr/share/doc/${id}/changelog)
add(packaging/debian/lintian-overrides usr/share/lintian/overrides/${id})
# The copyright file names where these texts lie on every Debian system.
file(REMOVE "${doc}/licenses/openvino/LICENSE" "${doc}/licenses/rapidocr/LICENSE")

file(GLOB pages "${root}/usr/share/man/man*/*")
foreach(file IN LISTS pages ITEMS "${doc}/changelog")
    run(gzip -9 --no-name --force "${file}")
endforeach()

run(chmod -R u=rwX,go=rX "${root}")
file(GLOB_RECURSE libraries "${root}/usr/${CPACK_YESTERMARK_LIBRARYDIR}/*.so*")
run(chmod 0644 ${libraries})
run(find "${root}" -exec touch --no-dereference --date "@$ENV{SOURCE_DATE_EPOCH}" {} +)
