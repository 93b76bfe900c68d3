# Read by cpack once for each generator, after Packages.cmake.
if(CPACK_GENERATOR STREQUAL "DEB")
    set(CPACK_COMPONENTS_ALL tavoctl system tavo)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
else()
    # One folder, in which the programs find each other wherever it lies.
    set(CPACK_COMPONENTS_ALL tavoctl tavo documents)
    set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
    set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
    set(CPACK_PACKAGING_INSTALL_PREFIX "/${CPACK_ARCHIVE_FILE_NAME}")
    set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
endif()
