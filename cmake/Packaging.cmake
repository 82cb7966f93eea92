# CPack: `cpack -G DEB` in the build directory makes the Debian package of what `cmake --install`
# installs. dpkg-shlibdeps derives the shared-library dependencies from the binary; the QML
# modules and the platform plugins are loaded at run time, where it cannot see them, so they
# are named here.
set(CPACK_PACKAGE_NAME "vesnara")
set(CPACK_PACKAGE_VENDOR "Vesnara")
set(CPACK_PACKAGE_CONTACT "Vesnara developers <vesnara@vesnara.local>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Real-time speech transcription for the Linux desktop")
set(CPACK_PACKAGE_DESCRIPTION
    "Vesnara records the microphone, the computer's own audio or both, streams the sound to a "
    "speech service and shows the transcript line by line while people are still speaking. "
    "Sessions are kept on the computer and exported as TXT, JSON or CSV.")
string(JOIN "" CPACK_PACKAGE_DESCRIPTION ${CPACK_PACKAGE_DESCRIPTION})
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
set(CPACK_GENERATOR "DEB")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "sound")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qml6-module-qtqml, qml6-module-qtqml-workerscript, qml6-module-qtquick, \
qml6-module-qtquick-controls, qml6-module-qtquick-layouts, qml6-module-qtquick-templates, \
qml6-module-qtquick-window, qml6-module-qtquick-dialogs, qml6-module-qt-labs-folderlistmodel, \
qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qt6-wayland, qt6-xdgdesktopportal-platformtheme")

include(CPack)
