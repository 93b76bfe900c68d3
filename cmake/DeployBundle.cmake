# Turns a bundle that AssembleBundle.cmake has put together into one for other Macs: Qt and everything else that it
# loads are copied into it. Usage:
#
#   cmake -D BUNDLE=DIR/Tavo.app -D MACDEPLOYQT=PROGRAM -D CODESIGN=PROGRAM -D OTOOL=PROGRAM -D INSTALL_NAME_TOOL=PROGRAM \
#         [-D IDENTITY=NAME] -P DeployBundle.cmake
#
# An empty or missing IDENTITY signs ad hoc. The bundle is removed when anything in it needs a library that is neither
# part of macOS nor in it: such a bundle starts on the Mac that it was built on, and on no other. Needs no Mac except
# for the programs that it calls.
cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/BundleTools.cmake")
require(BUNDLE MACDEPLOYQT CODESIGN OTOOL INSTALL_NAME_TOOL)

set(contents "${BUNDLE}/Contents")
set(frameworks "@executable_path/../Frameworks")
run("${MACDEPLOYQT}" "${BUNDLE}" "-executable=${contents}/Helpers/tavoctl" -always-overwrite)

# Libraries would be loaded from the builder's own folders, where they exist, and not from the bundle.
mach_o_files(files "${contents}")
foreach(file IN LISTS files)
    rpaths_of(rpaths "${file}")
    foreach(rpath IN LISTS rpaths)
        if(NOT rpath MATCHES "^@")
            run("${INSTALL_NAME_TOOL}" -delete_rpath "${rpath}" "${file}")
        endif()
    endforeach()
endforeach()

# place_of(RESULT LIBRARY FILE): where FILE finds LIBRARY in the bundle. Programs are one folder below Contents, and
# pass their @rpath on to the libraries they load.
function(place_of result library file)
    cmake_path(GET file PARENT_PATH folder)
    string(REGEX REPLACE "^@rpath/" "${frameworks}/" place "${library}")
    string(REGEX REPLACE "^@executable_path/" "${contents}/MacOS/" place "${place}")
    string(REGEX REPLACE "^@loader_path/" "${folder}/" place "${place}")
    set(${result} "${place}" PARENT_SCOPE)
endfunction()

file(REAL_PATH "${BUNDLE}" inside)
set(problems "")
foreach(file IN LISTS files)
    cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${contents}" OUTPUT_VARIABLE name)
    libraries_of(libraries "${file}")
    rpaths_of(rpaths "${file}")
    foreach(library IN LISTS libraries)
        if(library MATCHES "^(/usr/lib/|/System/)")
            continue()
        endif()
        place_of(place "${library}" "${file}")
        file(REAL_PATH "${place}" real BASE_DIRECTORY "${contents}")
        cmake_path(IS_PREFIX inside "${real}" isInside)
        if(name STREQUAL "Helpers/TavoPrivilegedHelper")
            # It is installed elsewhere, alone.
            string(APPEND problems "\n  the helper needs ${library}, which is not part of macOS")
        elseif(NOT isInside OR NOT EXISTS "${real}")
            string(APPEND problems "\n  ${name} needs ${library}, which is neither part of macOS nor in the bundle")
        elseif(library MATCHES "^@rpath/" AND name MATCHES "^(MacOS|Helpers)/" AND NOT frameworks IN_LIST rpaths)
            string(APPEND problems "\n  ${name} does not look for ${library} in ${frameworks}")
        endif()
    endforeach()
endforeach()
rpaths_of(rpaths "${contents}/MacOS/tavo")
if(NOT frameworks IN_LIST rpaths)
    # For the plugins, whatever id it has.
    string(APPEND problems "\n  MacOS/tavo does not look in ${frameworks}")
endif()
if(problems)
    give_up("Tavo.app would not start on another Mac:${problems}")
endif()

oldest_system(oldest ${files})
file(READ "${contents}/Info.plist" properties)
string(REGEX REPLACE "(<key>LSMinimumSystemVersion</key>[ \t\n]*<string>)[^<]*" "\\1${oldest}" properties "${properties}")
file(WRITE "${contents}/Info.plist" "${properties}")
message(STATUS "Tavo.app needs macOS ${oldest} or newer.")

# From the inside to the outside: the signature of a bundle covers what is in it.
set(hardened "")
if(NOT "${IDENTITY}" MATCHES "^-?$")
    # Notarisation requires both. Ad hoc signatures know neither.
    set(hardened --options runtime --timestamp)
endif()
sign("${contents}/Helpers/TavoPrivilegedHelper" ${hardened} --identifier com.vrd.tavo.helper)
sign("${contents}/Helpers/tavoctl" ${hardened} --identifier com.vrd.tavo.control)
file(GLOB_RECURSE plugins "${contents}/PlugIns/*.dylib")
file(GLOB libraries "${contents}/Frameworks/*")
foreach(library IN LISTS plugins libraries)
    sign("${library}" ${hardened})
endforeach()
sign("${BUNDLE}" ${hardened} --identifier com.vrd.tavo)
