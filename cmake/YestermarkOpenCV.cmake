# The distribution ships OpenCV's CMake package only beside all of its modules, which pull in half a
# gigabyte; the modules that are used are found by themselves, as targets opencv::<module>.

find_path(OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
mark_as_advanced(OPENCV_INCLUDE_DIR)
foreach(module core imgproc features2d)
    find_library(OPENCV_${module}_LIBRARY opencv_${module} REQUIRED)
    mark_as_advanced(OPENCV_${module}_LIBRARY)
    add_library(opencv::${module} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(opencv::${module} PROPERTIES
        IMPORTED_LOCATION "${OPENCV_${module}_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${OPENCV_INCLUDE_DIR}")
endforeach()
