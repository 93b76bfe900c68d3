# Tavo.app with all its programs, and a disk image of it (cpack -G DragNDrop).
find_program(MACDEPLOYQT macdeployqt REQUIRED HINTS "${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS}")
find_program(CODESIGN codesign REQUIRED)
find_program(OTOOL otool REQUIRED)
set(bundle "${PROJECT_BINARY_DIR}/Tavo.app")
add_custom_target(bundle ALL
    COMMAND "${CMAKE_COMMAND}" -D "BUNDLE=${bundle}" -D "VERSION=${PROJECT_VERSION}"
            -D "PROGRAMS=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}" -D "ICON=${TAVO_ICONS}/AppIcon.icns"
            -D "RESOURCES=${PROJECT_SOURCE_DIR}/Resources" -D "MACDEPLOYQT=${MACDEPLOYQT}" -D "CODESIGN=${CODESIGN}"
            -D "OTOOL=${OTOOL}"
            -D "IDENTITY=${TAVO_CODE_SIGNING_IDENTITY}" -P "${PROJECT_SOURCE_DIR}/cmake/AssembleBundle.cmake"
    DEPENDS tavo tavoctl TavoPrivilegedHelper icons COMMENT "Putting Tavo.app together" VERBATIM)
install(DIRECTORY "${bundle}" DESTINATION . USE_SOURCE_PERMISSIONS COMPONENT bundle)

set(CPACK_GENERATOR DragNDrop)
set(CPACK_PACKAGE_NAME Tavo)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_DMG_VOLUME_NAME Tavo)
set(CPACK_COMPONENTS_ALL bundle)
set(CPACK_DMG_DISABLE_APPLICATIONS_SYMLINK OFF)
include(CPack)
