# Writes the AppStream metainfo, by which software centres present the desktop app. In the build:
#
#   tavo_write_metainfo(SOURCE OUTPUT HOMEPAGE)
#
# Alone, as the tests do:
#
#   cmake -D SOURCE=FILE -D OUTPUT=FILE [-D HOMEPAGE=URL] -P MetaInfo.cmake
#
# The format asks for addresses of the pictures, so it is only with a homepage that it names any.
cmake_policy(VERSION 3.25)

# tavo_screenshot(RESULT HOMEPAGE NAME ATTRIBUTES CAPTION): the element of one of the pictures in docs/pictures.
function(tavo_screenshot result homepage name attributes caption)
    set(${result} "    <screenshot${attributes}>
      <caption>${caption}</caption>
      <image>${homepage}/docs/pictures/${name}.png</image>
    </screenshot>\n" PARENT_SCOPE)
endfunction()

function(tavo_write_metainfo source output homepage)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
    file(READ "${source}" text)
    if(NOT homepage STREQUAL "")
        if(NOT homepage MATCHES "^https://[^ <>&\"]*[^ <>&\"/]$")
            message(FATAL_ERROR "TAVO_HOMEPAGE is \"${homepage}\", not an address such as https://example.org/tavo.")
        endif()
        tavo_screenshot(light "${homepage}" desktop-light " type=\"default\"" "The panel and the settings")
        tavo_screenshot(dark "${homepage}" desktop-dark "" "The same on a dark desktop")
        set(pages "  <url type=\"homepage\">${homepage}</url>\n  <screenshots>\n${light}${dark}  </screenshots>\n")
        string(REPLACE "  <provides>" "${pages}  <provides>" text "${text}")
    endif()
    file(CONFIGURE OUTPUT "${output}" CONTENT "${text}" @ONLY)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    if(NOT DEFINED HOMEPAGE)
        set(HOMEPAGE "")
    endif()
    tavo_write_metainfo("${SOURCE}" "${OUTPUT}" "${HOMEPAGE}")
endif()
