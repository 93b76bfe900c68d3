# Packages for Linux, made by cpack in the build folder:
#
#   cpack -G DEB   tavoctl_VERSION_ARCH.deb, all that a terminal needs, and tavo_VERSION_ARCH.deb, the desktop app on top of it
#   cpack -G TGZ   tavo-VERSION-linux-PROCESSOR.tar.gz, to be unpacked anywhere
#
# A rule of install() names its component: tavoctl, tavo, or system for the files that only a distribution's package has,
# since they name programs in /usr. That one is left out of `cmake --install` and of the archive. With SOURCE_DATE_EPOCH set,
# two builds of one commit give the same packages, byte for byte.

set(TAVO_CONTACT "The Tavo developers <developers@tavo.invalid>" CACHE STRING "Whom the packages name as maintainer: whoever publishes them")

set(CPACK_PACKAGE_NAME tavo)
set(CPACK_PACKAGE_VENDOR "The Tavo developers")
set(CPACK_PACKAGE_CONTACT "${TAVO_CONTACT}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/PackagesByGenerator.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/FinishPackages.cmake")
set(CPACK_TAVO_SOURCE_FOLDER "${PROJECT_SOURCE_DIR}")

string(TOLOWER "${CMAKE_SYSTEM_NAME}" system)
set(CPACK_ARCHIVE_FILE_NAME "tavo-${PROJECT_VERSION}-${system}-${CMAKE_SYSTEM_PROCESSOR}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
if(TAVO_HOMEPAGE)
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${TAVO_HOMEPAGE}")
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Which user may keep the computer awake is polkit's to say; where there is none, the system asks nobody and refuses.
set(CPACK_DEBIAN_TAVOCTL_PACKAGE_NAME tavoctl)
set(CPACK_DEBIAN_TAVOCTL_PACKAGE_RECOMMENDS "libpam-systemd, pkexec, polkitd")
set(CPACK_DEBIAN_TAVOCTL_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/Resources/Linux/package/postinst"
                                               "${PROJECT_SOURCE_DIR}/Resources/Linux/package/postrm"
                                               "${PROJECT_SOURCE_DIR}/Resources/Linux/package/prerm")
set(CPACK_DEBIAN_TAVOCTL_DESCRIPTION "tavoctl keeps a computer awake always, or only while a program of the
user's choice runs: a coding agent, an editor, any process. The user says
on which power sources, down to which battery level, until when, and
whether with the lid closed. Once the reason is gone, the computer may
sleep again.
.
This package has the terminal program, a service for users without a
desktop, and the helper for the closed lid, which serves nobody until an
administrator grants it.")

set(CPACK_DEBIAN_TAVO_PACKAGE_NAME tavo)
set(CPACK_DEBIAN_TAVO_PACKAGE_DEPENDS "tavoctl (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), hicolor-icon-theme")
set(CPACK_DEBIAN_TAVO_PACKAGE_RECOMMENDS "polkitd, qt6-wayland")
set(CPACK_DEBIAN_TAVO_DESCRIPTION "Tavo keeps a computer awake always, or only while a program of the user's
choice runs: a coding agent, an editor, any process. The user says on
which power sources, down to which battery level, and whether with the
lid closed. Once the reason is gone, the computer may sleep again.
.
This package has the desktop app: a panel in the tray that switches it on
and off, and a settings window.")

# The Debian packages have the licence in their copyright file.
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/tavo" COMPONENT documents)

include(CPack)
cpack_add_component_group(tavoctl)
cpack_add_component_group(tavo)
cpack_add_component(tavoctl GROUP tavoctl)
cpack_add_component(system GROUP tavoctl)
cpack_add_component(tavo GROUP tavo)
cpack_add_component(documents)
