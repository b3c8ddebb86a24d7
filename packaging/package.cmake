# The Debian package: `cpack -G DEB` in the build folder, or scripts/package, which builds first.
# docs/packaging.md tells what stands where and why.

# What is installed, and nothing that only tests need.
add_custom_target(installed DEPENDS
    tavel-ai-yestermark yestermark-desktop-bridge yestermark-ai-runtime yestermark-ai-engines
    vesk-control-center vaultsm yestermarkctl qqc2style yestermarkpng schemas translations)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME "${YESTERMARK_APPLICATION_ID}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "Yestermark maintainers <${YESTERMARK_SUPPORT_ADDRESS}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "find again what was on your screen")
file(READ packaging/debian/description CPACK_DEBIAN_PACKAGE_DESCRIPTION)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # files written at installation name the prefix, not the staging folder
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_THREADS 2) # the packed bytes are the same for any number but 1

# Libraries are found by what the programs link; the rest is loaded by name.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/${YESTERMARK_LIBRARYDIR}")
set(depends
    "dconf-gsettings-backend | gsettings-backend"
    "default-dbus-session-bus | dbus-session-bus"
    hicolor-icon-theme
    libqt5svg5
    qml-module-qtgraphicaleffects
    qml-module-qtquick-controls
    qml-module-qtquick-controls2
    qml-module-qtquick-layouts
    qml-module-qtquick-shapes
    qml-module-qtquick-window2
    qml-module-qtquick2
    qtwayland5)
list(JOIN depends ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
# The active window where only the portal shows the screen; text of the interface in either language;
# the encrypted box; the stream of pictures under Wayland; help pages.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "at-spi2-core, fonts-dejavu-core | fonts-noto-core, fonts-noto-cjk | fonts-wqy-microhei, gocryptfs, pipewire, xdg-utils")
# Where the box's key is kept; what reads where the models cannot; what the installer of models runs.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS
    "gnome-keyring, tesseract-ocr-eng, tesseract-ocr-chi-sim, python3-pip")

set(debian "${PROJECT_SOURCE_DIR}/packaging/debian")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    "${debian}/conffiles" "${debian}/postinst" "${debian}/prerm" "${debian}/postrm")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# The moment of the last commit stands in for that of the build, in every run of cpack.
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/packaging/epoch.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/stage.cmake")
set(CPACK_YESTERMARK_SOURCE "${PROJECT_SOURCE_DIR}")
set(CPACK_YESTERMARK_APPLICATION_ID "${YESTERMARK_APPLICATION_ID}")
set(CPACK_YESTERMARK_LIBRARYDIR "${YESTERMARK_LIBRARYDIR}")
set(CPACK_YESTERMARK_LIBEXECDIR "${YESTERMARK_LIBEXECDIR}")
include(CPack)
