# The toolkit's headers, which nearly every source includes, are read once a build instead of once a
# source, for builds that ask for it (-DYESTERMARK_PRECOMPILED_HEADERS=ON). A source that lacks an
# include of its own is seen in all others.

option(YESTERMARK_PRECOMPILED_HEADERS "Read the toolkit's headers once" OFF)

set(toolkit_headers
    <QByteArray> <QDateTime> <QDebug> <QDir> <QFile> <QFileInfo> <QHash> <QObject> <QString>
    <QStringList> <QVariant> <QVector>
    <algorithm> <functional> <memory> <optional> <string> <utility> <vector>)

# Not <QTest> as a whole: it has more for programs that know more of the toolkit's modules, and a
# precompiled header counts for those alone that have the modules it was made with.
set(test_headers ${toolkit_headers} <QtTest/qtestcase.h> <QSignalSpy> <QTemporaryDir>)

# add_precompiled(NAME HEADERS... LIBRARIES...): what other targets reuse.
function(add_precompiled name)
    cmake_parse_arguments(arg "" "" "HEADERS;LIBRARIES" ${ARGN})
    set(source "${PROJECT_BINARY_DIR}/${name}.cpp")
    if(NOT EXISTS "${source}")
        file(WRITE "${source}" "")
    endif()
    add_library(${name} OBJECT "${source}")
    set_target_properties(${name} PROPERTIES AUTOMOC OFF)
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
    target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
endfunction()

# Everything whose headers TARGET sees, by way of its libraries, into OUT.
function(libraries_seen_by target out)
    get_target_property(next ${target} LINK_LIBRARIES)
    set(found)
    while(next)
        list(POP_FRONT next name)
        if(NOT TARGET ${name} OR name IN_LIST found)
            continue()
        endif()
        list(APPEND found ${name})
        get_target_property(more ${name} INTERFACE_LINK_LIBRARIES)
        if(more)
            list(APPEND next ${more})
        endif()
    endwhile()
    set(${out} ${found} PARENT_SCOPE)
endfunction()

function(reuse_precompiled_headers folder)
    get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        get_target_property(type ${target} TYPE)
        get_target_property(own ${target} PRECOMPILE_HEADERS)
        if(own OR NOT type MATCHES "^(STATIC|OBJECT|MODULE)_LIBRARY$|^EXECUTABLE$")
            continue()
        endif()
        libraries_seen_by(${target} libraries)
        if("Qt5::Test" IN_LIST libraries)
            target_precompile_headers(${target} REUSE_FROM precompiled_test)
        elseif("Qt5::Core" IN_LIST libraries)
            target_precompile_headers(${target} REUSE_FROM precompiled_toolkit)
        endif()
    endforeach()
    get_property(folders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
    foreach(folder IN LISTS folders)
        reuse_precompiled_headers("${folder}")
    endforeach()
endfunction()

if(YESTERMARK_PRECOMPILED_HEADERS)
    add_compile_options(-pthread) # some libraries ask for it, and it must be the same for all
    add_precompiled(precompiled_toolkit HEADERS ${toolkit_headers} LIBRARIES Qt5::Core)
    add_precompiled(precompiled_test HEADERS ${test_headers} LIBRARIES Qt5::Gui Qt5::Test)
    cmake_language(DEFER CALL reuse_precompiled_headers "${PROJECT_SOURCE_DIR}")
endif()
