# Language, warnings, sanitizers and the compiler cache for every target of the project.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_AUTORCC_OPTIONS --format-version 1) # later ones hold the files' times

option(YESTERMARK_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
set(YESTERMARK_SANITIZERS "" CACHE STRING "Value for -fsanitize=, empty for none")

add_compile_options(-Wall -Wextra -Wpedantic)
# Qt's logging macros are used without arguments, which GCC's -Wpedantic passes over.
add_compile_options($<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
add_compile_definitions(QT_NO_KEYWORDS QT_NO_FOREACH QT_DEPRECATED_WARNINGS)
if(YESTERMARK_WARNINGS_AS_ERRORS)
    add_compile_options(-Werror)
endif()

if(YESTERMARK_SANITIZERS)
    add_compile_options(-fsanitize=${YESTERMARK_SANITIZERS} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${YESTERMARK_SANITIZERS})
endif()

find_program(YESTERMARK_CCACHE ccache)
mark_as_advanced(YESTERMARK_CCACHE)
if(YESTERMARK_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${YESTERMARK_CCACHE}")
endif()
