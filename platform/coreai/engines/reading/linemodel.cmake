# The recognition model, linked into the build's model folder and installed.
set(line_model "${rapidocr_folder}/rapidocr/models/PP-OCRv6_rec_small.onnx")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/${YESTERMARK_MODELDIR}")
file(CREATE_LINK "${line_model}"
    "${PROJECT_BINARY_DIR}/${YESTERMARK_MODELDIR}/PP-OCRv6_rec_small.onnx" COPY_ON_ERROR)
install(FILES "${line_model}" DESTINATION "${YESTERMARK_MODELDIR}")

file(GLOB licences CONFIGURE_DEPENDS "${rapidocr_folder}/rapidocr-*.dist-info/licenses/*")
install(FILES ${licences}
    DESTINATION "share/doc/${YESTERMARK_APPLICATION_ID}/licenses/rapidocr")
