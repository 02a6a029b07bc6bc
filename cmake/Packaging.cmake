# SPDX-FileCopyrightText: 2026 The Airnote developers
# SPDX-License-Identifier: GPL-3.0-or-later

set(AIRNOTE_PACKAGE_MAINTAINER "Airnote maintainers <airnote@velmorin.com>"
    CACHE STRING "Maintainer field of the Debian package")

# qt_standard_project_setup() gives executables an $ORIGIN/../lib run path, meant for a bundled
# Qt; ours is the system's, found without one, and Debian packages carry none.
foreach(program airnote airnote-token-server airnote-sandbox)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH "")
    endif()
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME airnote)
set(CPACK_PACKAGE_VENDOR Velmorin)
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSES/GPL-3.0-or-later.txt)
set(CPACK_PACKAGE_CONTACT "${AIRNOTE_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
# CPack turns each line into one line of the package's long description.
set(CPACK_PACKAGE_DESCRIPTION "A tray utility for listeners of the French radio FIP.
It follows what the station plays and shows the track on air in a panel
dropping from a tray icon. One click searches the Apple Music catalog,
adds the chosen song to the listener's library and to a playlist named
FIP, and keeps a local history of every capture.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time by the QML engine and the image readers, so dpkg-shlibdeps cannot see them;
# QtQuick's own qmldir imports QtQml, which qml6-module-qtquick does not depend on. Qt's own
# translations give its network errors in the listener's language.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    qml6-module-qtqml
    qml6-module-qtquick
    qml6-module-qtquick-controls
    qml6-module-qtquick-layouts
    qml6-module-qtquick-window
    qml6-module-qtquick-templates
    qml6-module-qtqml-workerscript
    qt6-image-formats-plugins
    libqt6svg6
    qt6-qpa-plugins
    qt6-translations-l10n
    # Without it a Wayland session gets whatever X11 fallback happens to be installed.
    qt6-wayland
    # Qt Multimedia plays through GStreamer: HTTP and AAC parsing (good), the
    # AAC decoder (libav), the sound server's sink (pulseaudio, also PipeWire's).
    gstreamer1.0-plugins-good
    gstreamer1.0-libav
    gstreamer1.0-pulseaudio)
list(JOIN CPACK_DEBIAN_PACKAGE_DEPENDS ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
# The Apple Music sign-in opens in the system browser.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS xdg-utils)

include(CPack)
