# Tavo.app with all its programs, for this Mac; a disk image for others is made of it (cpack -G DragNDrop).
find_program(MACDEPLOYQT macdeployqt REQUIRED HINTS "${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS}")
find_program(CODESIGN codesign REQUIRED)
find_program(OTOOL otool REQUIRED)
find_program(INSTALL_NAME_TOOL install_name_tool REQUIRED)

# Where they find, in a bundle for other Macs, what was put into it.
set_target_properties(tavo tavoctl PROPERTIES BUILD_RPATH "@executable_path/../Frameworks"
                                              INSTALL_RPATH "@executable_path/../Frameworks")

set(bundle "${PROJECT_BINARY_DIR}/Tavo.app")
set(scripts "${PROJECT_SOURCE_DIR}/cmake")
set(resources "${PROJECT_SOURCE_DIR}/Resources")
# The property list is written after all else but the signatures.
add_custom_command(OUTPUT "${bundle}/Contents/Info.plist"
    COMMAND "${CMAKE_COMMAND}" -D "BUNDLE=${bundle}" -D "VERSION=${PROJECT_VERSION}"
            -D "PROGRAMS=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}" -D "ICON=${TAVO_ICONS}/AppIcon.icns"
            -D "RESOURCES=${resources}" -D "QT=$<TARGET_FILE:Qt6::Core>" -D "CODESIGN=${CODESIGN}" -D "OTOOL=${OTOOL}"
            -D "IDENTITY=${TAVO_CODE_SIGNING_IDENTITY}" -P "${scripts}/AssembleBundle.cmake"
    DEPENDS tavo tavoctl TavoPrivilegedHelper icons "${TAVO_ICONS}/AppIcon.icns" "${resources}/App/soda-cap.svg"
            "${resources}/macOS/Info.plist.in" "${scripts}/AssembleBundle.cmake" "${scripts}/BundleTools.cmake"
    COMMENT "Putting Tavo.app together" VERBATIM)
add_custom_target(bundle ALL DEPENDS "${bundle}/Contents/Info.plist")

# Qt comes into the copy that is packaged, and not into the one of every build.
set(installed "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/Tavo.app")
install(CODE "file(REMOVE_RECURSE \"${installed}\")" COMPONENT bundle)
install(DIRECTORY "${bundle}" DESTINATION . USE_SOURCE_PERMISSIONS COMPONENT bundle)
install(CODE "execute_process(COMMAND \"${CMAKE_COMMAND}\" -D \"BUNDLE=${installed}\" -D [==[MACDEPLOYQT=${MACDEPLOYQT}]==]
    -D [==[CODESIGN=${CODESIGN}]==] -D [==[OTOOL=${OTOOL}]==] -D [==[INSTALL_NAME_TOOL=${INSTALL_NAME_TOOL}]==]
    -D [==[IDENTITY=${TAVO_CODE_SIGNING_IDENTITY}]==] -P [==[${scripts}/DeployBundle.cmake]==]
    COMMAND_ERROR_IS_FATAL ANY)" COMPONENT bundle)

set(CPACK_GENERATOR DragNDrop)
set(CPACK_PACKAGE_NAME Tavo)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_DMG_VOLUME_NAME Tavo)
set(CPACK_COMPONENTS_ALL bundle)
set(CPACK_DMG_DISABLE_APPLICATIONS_SYMLINK OFF)
include(CPack)
