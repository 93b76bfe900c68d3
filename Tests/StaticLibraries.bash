# A Mac's programs link the archives of their libraries, and keep the include folders of the shared ones.
# Usage: StaticLibraries.bash PROJECT CMAKE
set -euo pipefail
project=$1 cmake=$2

fail() {
    echo "failed: $*" >&2
    exit 1
}
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
mkdir -p "$folder/homebrew/lib" "$folder"/homebrew/include/{fmt,pugixml,base,utf8proc}
for name in fmt pugixml utf8proc; do : >"$folder/homebrew/lib/lib$name.a"; done

# The three ways in which packages describe themselves: a shared library, an interface that links one, as pkg-config
# does it.
cat >"$folder/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(Archives LANGUAGES NONE)
set(include "${CMAKE_SOURCE_DIR}/homebrew/include")
add_library(fmt::fmt SHARED IMPORTED)
set_target_properties(fmt::fmt PROPERTIES IMPORTED_CONFIGURATIONS RELEASE IMPORTED_LOCATION_RELEASE /homebrew/lib/libfmt.dylib
    INTERFACE_INCLUDE_DIRECTORIES "${include}/fmt")
add_library(pugixml_base INTERFACE IMPORTED)
set_target_properties(pugixml_base PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${include}/base" INTERFACE_LINK_LIBRARIES pugixml::pugixml)
add_library(pugixml::shared SHARED IMPORTED)
set_target_properties(pugixml::shared PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${include}/pugixml"
    INTERFACE_COMPILE_DEFINITIONS PUGIXML_WITH INTERFACE_LINK_LIBRARIES pugixml_base)
add_library(pugixml::pugixml INTERFACE IMPORTED)
set_target_properties(pugixml::pugixml PROPERTIES INTERFACE_LINK_LIBRARIES pugixml::shared)
add_library(PkgConfig::UTF8PROC INTERFACE IMPORTED)
set_target_properties(PkgConfig::UTF8PROC PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${include}/utf8proc"
    INTERFACE_LINK_LIBRARIES /homebrew/lib/libutf8proc.dylib)

include("${PROJECT}/cmake/StaticLibraries.cmake")

set(report "")
foreach(target IN ITEMS fmt::fmt pugixml::pugixml PkgConfig::UTF8PROC)
    foreach(property IN ITEMS INTERFACE_INCLUDE_DIRECTORIES INTERFACE_COMPILE_DEFINITIONS INTERFACE_LINK_LIBRARIES
            IMPORTED_LOCATION_RELEASE)
        get_target_property(value ${target} ${property})
        if(value)
            string(APPEND report "${target} ${property} ${value}\n")
        endif()
    endforeach()
endforeach()
string(REPLACE "${CMAKE_SOURCE_DIR}" "" report "${report}")
file(WRITE "${CMAKE_BINARY_DIR}/report" "${report}")
CMAKE
"$cmake" -S "$folder" -B "$folder/build" -D "PROJECT=$project" -D "CMAKE_PREFIX_PATH=$folder/homebrew" >"$folder/log" 2>&1 ||
    fail "it does not configure: $(cat "$folder/log")"

expected='fmt::fmt INTERFACE_INCLUDE_DIRECTORIES /homebrew/include/fmt
fmt::fmt IMPORTED_LOCATION_RELEASE /homebrew/lib/libfmt.a
pugixml::pugixml INTERFACE_INCLUDE_DIRECTORIES /homebrew/include/pugixml;/homebrew/include/base
pugixml::pugixml INTERFACE_COMPILE_DEFINITIONS PUGIXML_WITH
pugixml::pugixml INTERFACE_LINK_LIBRARIES /homebrew/lib/libpugixml.a
PkgConfig::UTF8PROC INTERFACE_INCLUDE_DIRECTORIES /homebrew/include/utf8proc
PkgConfig::UTF8PROC INTERFACE_LINK_LIBRARIES /homebrew/lib/libutf8proc.a'
[ "$(cat "$folder/build/report")" = "$expected" ] || fail "expected '$expected', got '$(cat "$folder/build/report")'"
