# Puts Tavo.app together. Usage:
#
#   cmake -D BUNDLE=DIR/Tavo.app -D VERSION=1.2.3 -D PROGRAMS=FOLDER -D ICON=FILE.icns -D RESOURCES=FOLDER \
#         -D MACDEPLOYQT=PROGRAM -D CODESIGN=PROGRAM -D OTOOL=PROGRAM [-D IDENTITY=NAME] -P AssembleBundle.cmake
#
# PROGRAMS holds tavo, tavoctl and TavoPrivilegedHelper; RESOURCES is the project's own folder of that name. An empty or missing
# IDENTITY signs ad hoc. Needs no Mac but for the three programs that it calls.
foreach(argument IN ITEMS BUNDLE VERSION PROGRAMS ICON RESOURCES MACDEPLOYQT CODESIGN OTOOL)
    if(NOT ${argument})
        message(FATAL_ERROR "AssembleBundle: ${argument} is missing.")
    endif()
endforeach()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " line)
        message(FATAL_ERROR "AssembleBundle: ${line} failed with ${status}.")
    endif()
endfunction()

set(contents "${BUNDLE}/Contents")
file(REMOVE_RECURSE "${BUNDLE}")
file(MAKE_DIRECTORY "${contents}/MacOS" "${contents}/Helpers" "${contents}/Resources")
file(COPY "${PROGRAMS}/tavo" DESTINATION "${contents}/MacOS")
file(COPY "${PROGRAMS}/tavoctl" "${PROGRAMS}/TavoPrivilegedHelper" DESTINATION "${contents}/Helpers")
file(COPY_FILE "${ICON}" "${contents}/Resources/AppIcon.icns")
file(COPY "${RESOURCES}/App/soda-cap.svg" DESTINATION "${contents}/Resources")
set(TAVO_VERSION "${VERSION}")
configure_file("${RESOURCES}/macOS/Info.plist.in" "${contents}/Info.plist" @ONLY)
file(WRITE "${contents}/PkgInfo" "APPL????")

# Qt and what it needs, and what tavoctl loads, come into Contents/Frameworks. The helper is installed elsewhere, where it finds
# nothing but the system's own libraries.
execute_process(COMMAND "${OTOOL}" -L "${contents}/Helpers/TavoPrivilegedHelper" OUTPUT_VARIABLE loaded RESULT_VARIABLE status)
string(REGEX MATCHALL "\n[ \t]+[^ \n]+" libraries "${loaded}")
foreach(library IN LISTS libraries)
    string(STRIP "${library}" library)
    if(NOT library MATCHES "^(/usr/lib/|/System/)")
        message(FATAL_ERROR "AssembleBundle: the helper needs ${library}, which is not part of macOS.")
    endif()
endforeach()
if(NOT status EQUAL 0 OR NOT libraries)
    message(FATAL_ERROR "AssembleBundle: it cannot be told which libraries the helper needs.")
endif()
run("${MACDEPLOYQT}" "${BUNDLE}" "-executable=${contents}/Helpers/tavoctl" -always-overwrite)

# From the inside to the outside: the signature of a bundle covers what is in it.
set(identity "-")
if(IDENTITY)
    set(identity "${IDENTITY}")
endif()
set(sign "${CODESIGN}" --force --sign "${identity}")
if(IDENTITY)
    # What a notarised program needs. Ad hoc signatures know neither.
    list(APPEND sign --options runtime --timestamp)
endif()
run(${sign} --identifier com.vrd.tavo.helper "${contents}/Helpers/TavoPrivilegedHelper")
run(${sign} --identifier com.vrd.tavo.control "${contents}/Helpers/tavoctl")
file(GLOB frameworks "${contents}/Frameworks/*")
file(GLOB_RECURSE plugins "${contents}/PlugIns/*.dylib")
foreach(library IN LISTS plugins frameworks)
    run(${sign} "${library}")
endforeach()
run(${sign} --identifier com.vrd.tavo "${BUNDLE}")
