# One helper for each kind of target, so that a folder's own list stays short.

# only_with_tests(TARGET): what only tests run is no part of a build without them.
function(only_with_tests target)
    if(NOT BUILD_TESTING)
        set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL ON)
    endif()
endfunction()

# moc_inside(TARGET): a program of one source has its meta objects made by moc alone. The
# generator's way costs every target a step and an empty source more, a tenth of the build's time.
function(moc_inside target)
    get_target_property(sources ${target} SOURCES)
    list(LENGTH sources count)
    get_filename_component(name "${sources}" NAME_WE)
    if(NOT count EQUAL 1 OR EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${name}.h")
        return()
    endif()
    set_target_properties(${target} PROPERTIES AUTOMOC OFF AUTORCC OFF)
    file(STRINGS "${sources}" included REGEX "^#include \"${name}\\.moc\"$")
    if(included)
        qt5_generate_moc("${sources}" "${CMAKE_CURRENT_BINARY_DIR}/${name}.moc")
        target_sources(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${name}.moc")
        target_include_directories(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")
    endif()
endfunction()

# yestermark_library(NAME SOURCES ... [PUBLIC libs...] [PRIVATE libs...])
# A static library whose headers are included as <folder>/<header> by the targets that link it.
function(yestermark_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${arg_SOURCES})
    target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}/..")
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
endfunction()

# yestermark_test(NAME SOURCES ... LIBRARIES ... [DISPLAY 1920x1080 [COMPOSITOR name...]]
#                 [ACTIVATION] [THREADS] [TIMEOUT s])
# A Qt Test program below tests/. It runs with a temporary home and a private session bus; with
# DISPLAY on a virtual X server of that size with a window manager, else off screen; with COMPOSITOR
# (sway, kwin, weston) once under each of these, as an ordinary user, in a test called NAME-name; with
# ACTIVATION the bus can start the desktop bridge of this build. THREADS labels a test of concurrent
# code that the thread sanitizer can judge: what it runs is built with it.
function(yestermark_test name)
    cmake_parse_arguments(arg "ACTIVATION;THREADS" "DISPLAY;TIMEOUT" "COMPOSITOR;SOURCES;LIBRARIES"
        ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests"
        ENABLE_EXPORTS ON) # lets the fake clock of tests/support replace the C library's
    only_with_tests(${name})
    moc_inside(${name})
    target_link_libraries(${name} PRIVATE test_support ${arg_LIBRARIES} Qt5::Test)

    set(wrapper "${PROJECT_SOURCE_DIR}/scripts/virtual-desktop" --build "${PROJECT_BINARY_DIR}")
    if(arg_DISPLAY)
        list(APPEND wrapper --display ${arg_DISPLAY})
    endif()
    if(arg_ACTIVATION)
        list(APPEND wrapper --activation)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    if(arg_COMPOSITOR)
        foreach(compositor IN LISTS arg_COMPOSITOR)
            set(tests ${tests} ${name}-${compositor})
            add_test(NAME ${name}-${compositor}
                COMMAND ${wrapper} --compositor ${compositor} -- $<TARGET_FILE:${name}>)
        endforeach()
    else()
        set(tests ${name})
        add_test(NAME ${name} COMMAND ${wrapper} -- $<TARGET_FILE:${name}>)
    endif()
    # 77: the wrapper says why its world cannot be made here; counted as skipped.
    set_tests_properties(${tests} PROPERTIES TIMEOUT ${arg_TIMEOUT} SKIP_RETURN_CODE 77)
    if(YESTERMARK_SANITIZERS) # else it loads its helpers in a way that sanitizers refuse
        set_property(TEST ${tests} PROPERTY ENVIRONMENT TBB_ENABLE_SANITIZERS=1)
    endif()
    if(arg_THREADS)
        set_property(TEST ${tests} PROPERTY LABELS threads)
    endif()
endfunction()

# yestermark_bench(NAME SOURCES ... LIBRARIES ...)
# A program below bench/ that prints one line a figure; scripts/bench runs them all.
function(yestermark_bench name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bench")
    moc_inside(${name})
    target_link_libraries(${name} PRIVATE bench_support ${arg_LIBRARIES})
endfunction()

# yestermark_fuzzer(NAME SOURCES ... LIBRARIES ... [MUTATOR target] [LONGEST bytes])
# A harness below fuzz/, which defines LLVMFuzzerTestOneInput(). With the preset "fuzz" it becomes the
# program NAME of libFuzzer, for inputs of so many bytes at most (4096), which the objects of MUTATOR
# change where it is given; with all others the test fuzzcorpustest-NAME, over the inputs kept below
# corpus/NAME and found/NAME beside it.
function(yestermark_fuzzer name)
    cmake_parse_arguments(arg "" "LONGEST;MUTATOR" "SOURCES;LIBRARIES" ${ARGN})
    if(NOT arg_LONGEST)
        set(arg_LONGEST 4096)
    endif()
    add_library(${name}_harness OBJECT ${arg_SOURCES})
    moc_inside(${name}_harness)
    target_link_libraries(${name}_harness PUBLIC fuzz_support ${arg_LIBRARIES})
    only_with_tests(${name}_harness)
    if(YESTERMARK_SANITIZERS MATCHES "fuzzer-no-link")
        add_executable(${name})
        target_link_libraries(${name} PRIVATE ${name}_harness ${arg_MUTATOR})
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
        set_target_properties(${name} PROPERTIES
            RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/fuzz")
        set_property(GLOBAL APPEND_STRING PROPERTY YESTERMARK_FUZZERS
            "${name} ${CMAKE_CURRENT_SOURCE_DIR} ${arg_LONGEST}\n")
        return()
    endif()
    add_executable(${name}_replay)
    target_link_libraries(${name}_replay PRIVATE ${name}_harness fuzz_replay)
    only_with_tests(${name}_replay)
    set_target_properties(${name}_replay PROPERTIES
        AUTOMOC OFF
        AUTORCC OFF
        RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
    add_test(NAME fuzzcorpustest-${name}
        COMMAND "${PROJECT_SOURCE_DIR}/scripts/virtual-desktop" --build "${PROJECT_BINARY_DIR}" --
            $<TARGET_FILE:${name}_replay> "${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}"
            "${CMAKE_CURRENT_SOURCE_DIR}/found/${name}")
    # A length that a hostile header tells is refused, as the system would refuse it.
    set_tests_properties(fuzzcorpustest-${name} PROPERTIES TIMEOUT 120
        ENVIRONMENT "ASAN_OPTIONS=allocator_may_return_null=1:max_allocation_size_mb=1024")
endfunction()
