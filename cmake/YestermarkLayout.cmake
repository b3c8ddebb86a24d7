# Where things stand, the same below the build folder and below an installation prefix, so that
# paths relative to the executable hold in both.

set(YESTERMARK_APPLICATION_ID "tavel-ai-yestermark")
set(YESTERMARK_BINDIR "bin")
set(YESTERMARK_LIBEXECDIR "libexec/${YESTERMARK_APPLICATION_ID}")
set(YESTERMARK_LIBRARYDIR "lib/${YESTERMARK_APPLICATION_ID}")
# Private: a plug-in with the key "png" in Qt's shared folder would change every Qt program.
set(YESTERMARK_PLUGINDIR "lib/${YESTERMARK_APPLICATION_ID}/plugins")
set(YESTERMARK_QMLDIR "lib/${YESTERMARK_APPLICATION_ID}/qml")
set(YESTERMARK_TRANSLATIONDIR "share/${YESTERMARK_APPLICATION_ID}/translations")
set(YESTERMARK_MODELDIR "share/${YESTERMARK_APPLICATION_ID}/models")
set(YESTERMARK_SCHEMADIR "share/glib-2.0/schemas")
set(YESTERMARK_DBUSDIR "share/dbus-1/services")

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${YESTERMARK_BINDIR}")
set(CMAKE_INSTALL_MESSAGE LAZY)
