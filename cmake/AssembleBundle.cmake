# Puts Tavo.app together, as this Mac runs it: it loads Qt and other libraries from where they are installed.
# DeployBundle.cmake turns it into one for other Macs. Usage:
#
#   cmake -D BUNDLE=DIR/Tavo.app -D VERSION=1.2.3 -D PROGRAMS=FOLDER -D ICON=FILE.icns -D RESOURCES=FOLDER -D QT=LIBRARY \
#         -D CODESIGN=PROGRAM -D OTOOL=PROGRAM [-D IDENTITY=NAME] -P AssembleBundle.cmake
#
# PROGRAMS holds tavo, tavoctl and TavoPrivilegedHelper; RESOURCES is the project's own folder of that name; QT is one
# of Qt's libraries. An empty or missing IDENTITY signs ad hoc. Needs no Mac but for the two programs that it calls.
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/BundleTools.cmake")
require(BUNDLE VERSION PROGRAMS ICON RESOURCES QT CODESIGN OTOOL)

set(contents "${BUNDLE}/Contents")
file(REMOVE_RECURSE "${BUNDLE}")
file(MAKE_DIRECTORY "${contents}/MacOS" "${contents}/Helpers" "${contents}/Resources")
file(COPY "${PROGRAMS}/tavo" DESTINATION "${contents}/MacOS")
file(COPY "${PROGRAMS}/tavoctl" "${PROGRAMS}/TavoPrivilegedHelper" DESTINATION "${contents}/Helpers")
file(COPY_FILE "${ICON}" "${contents}/Resources/AppIcon.icns")
file(COPY "${RESOURCES}/App/soda-cap.svg" DESTINATION "${contents}/Resources")
file(WRITE "${contents}/PkgInfo" "APPL????")

# Homebrew builds Qt for the system that it was built on, and none older.
mach_o_files(programs "${contents}")
oldest_system(ownSystem ${programs})
oldest_system(TAVO_OLDEST_SYSTEM ${programs} "${QT}")
if(NOT ownSystem VERSION_EQUAL TAVO_OLDEST_SYSTEM)
    message(STATUS "Tavo.app needs macOS ${TAVO_OLDEST_SYSTEM}, as this Qt does; Tavo itself is built for ${ownSystem}.")
endif()
set(TAVO_VERSION "${VERSION}")
configure_file("${RESOURCES}/macOS/Info.plist.in" "${contents}/Info.plist" @ONLY)

# From the inside to the outside: the signature of a bundle covers what is in it. Without a hardened runtime, which
# loads no library that others have signed.
sign("${contents}/Helpers/TavoPrivilegedHelper" --identifier com.vrd.tavo.helper)
sign("${contents}/Helpers/tavoctl" --identifier com.vrd.tavo.control)
sign("${BUNDLE}" --identifier com.vrd.tavo)
