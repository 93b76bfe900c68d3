# Has a Mac's programs take the archives of the libraries that the helper needs, in the place of the shared ones: it is installed
# alone, far from the bundle's frameworks.

# tavo_use_archive(TARGET NAME): TARGET, an imported one, is libNAME.a from here on.
function(tavo_use_archive target name)
    find_library(TAVO_ARCHIVE_${name} NAMES lib${name}.a REQUIRED)
    get_target_property(aliased ${target} ALIASED_TARGET)
    if(aliased)
        set(target ${aliased})
    endif()
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "INTERFACE_LIBRARY")
        set_target_properties(${target} PROPERTIES INTERFACE_LINK_LIBRARIES "${TAVO_ARCHIVE_${name}}")
        return()
    endif()
    get_target_property(configurations ${target} IMPORTED_CONFIGURATIONS)
    foreach(configuration IN LISTS configurations)
        set_target_properties(${target} PROPERTIES IMPORTED_LOCATION_${configuration} "${TAVO_ARCHIVE_${name}}")
    endforeach()
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION "${TAVO_ARCHIVE_${name}}")
endfunction()

tavo_use_archive(fmt::fmt fmt)
tavo_use_archive(pugixml::pugixml pugixml)
tavo_use_archive(PkgConfig::UTF8PROC utf8proc)
