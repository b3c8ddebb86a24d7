# OpenVINO of the artefact folder: an imported target, and of its libraries only those that reading
# an ONNX model on the CPU takes, put where the programs find them. The runtime looks for its
# plug-ins in the folder that it was itself loaded from. Installed programs that link it want an
# INSTALL_RPATH that leads to YESTERMARK_LIBRARYDIR.
set(openvino_libs "${openvino_folder}/openvino/libs")
set(openvino_needed libopenvino.so.2640 libopenvino_intel_cpu_plugin.so
    libopenvino_onnx_frontend.so.2640 libtbb.so.12)

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/${YESTERMARK_LIBRARYDIR}")
foreach(library IN LISTS openvino_needed)
    # Hard links: the plug-ins are looked for beside what a symbolic one points to.
    file(CREATE_LINK "${openvino_libs}/${library}"
        "${PROJECT_BINARY_DIR}/${YESTERMARK_LIBRARYDIR}/${library}" COPY_ON_ERROR)
    install(PROGRAMS "${openvino_libs}/${library}" DESTINATION "${YESTERMARK_LIBRARYDIR}")
endforeach()

add_library(openvino_tbb SHARED IMPORTED GLOBAL)
set_target_properties(openvino_tbb PROPERTIES
    IMPORTED_LOCATION "${PROJECT_BINARY_DIR}/${YESTERMARK_LIBRARYDIR}/libtbb.so.12"
    IMPORTED_SONAME libtbb.so.12)
add_library(openvino_runtime SHARED IMPORTED GLOBAL)
# The distribution's OpenCV brings an older library of the same name as OpenVINO's; which of them a
# program gets is left to no order of loading: it asks for the newer one itself, though none of its
# own code calls it.
set_target_properties(openvino_runtime PROPERTIES
    IMPORTED_LOCATION "${PROJECT_BINARY_DIR}/${YESTERMARK_LIBRARYDIR}/libopenvino.so.2640"
    IMPORTED_SONAME libopenvino.so.2640
    INTERFACE_LINK_LIBRARIES "-Wl,--push-state,--no-as-needed;openvino_tbb;-Wl,--pop-state"
    # Its headers name themselves in their messages, with the folder of who builds.
    INTERFACE_COMPILE_OPTIONS "-ffile-prefix-map=${openvino_folder}=openvino"
    INTERFACE_INCLUDE_DIRECTORIES "${openvino_folder}/openvino/include")

file(GLOB licences CONFIGURE_DEPENDS
    "${openvino_folder}/openvino-*.dist-info/licenses/LICENSE"
    "${openvino_folder}/openvino-*.dist-info/licenses/licensing/*.txt")
install(FILES ${licences}
    DESTINATION "share/doc/${YESTERMARK_APPLICATION_ID}/licenses/openvino")
