# Run by cpack before it packs what it has installed into CPACK_TEMPORARY_DIRECTORY: adds what Debian's policy asks of a
# package, and gives every file the time of the commit, so that a package depends on nothing but that.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(time "$ENV{SOURCE_DATE_EPOCH}")
else()
    string(TIMESTAMP time "%s" UTC)
endif()

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Without the name and the time of the file, which gzip stores otherwise.
function(compress file)
    run(gzip -9nf "${file}")
endfunction()

# The documents of one package below the folder ROOT: policy 12.5, "Copyright information", and 12.7, "Changelog files".
function(add_debian_documents root package)
    set(documents "${root}/usr/share/doc/${package}")
    set(resources "${CPACK_TAVO_SOURCE_FOLDER}/Resources/Linux/package")
    file(COPY_FILE "${CPACK_TAVO_SOURCE_FOLDER}/CHANGELOG.md" "${documents}/changelog")
    execute_process(COMMAND env LC_ALL=C date --utc --date=@${time} --rfc-email OUTPUT_VARIABLE date
                    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE "${documents}/changelog.Debian"
         "tavo (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
         "  * Tavo ${CPACK_PACKAGE_VERSION}; the changes are in the file changelog.\n\n"
         " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    compress("${documents}/changelog")
    compress("${documents}/changelog.Debian")
    file(COPY "${resources}/copyright" DESTINATION "${documents}")
    if(EXISTS "${resources}/${package}.lintian-overrides")
        file(COPY_FILE "${resources}/${package}.lintian-overrides" "${root}/usr/share/lintian/overrides/${package}")
    endif()
    # Where zsh looks for the completions of packages on Debian.
    if(EXISTS "${root}/usr/share/zsh/site-functions")
        file(RENAME "${root}/usr/share/zsh/site-functions" "${root}/usr/share/zsh/vendor-completions")
    endif()
    file(GLOB_RECURSE pages "${root}/usr/share/man/*")
    foreach(page IN LISTS pages)
        compress("${page}")
    endforeach()
endfunction()

if(CPACK_GENERATOR STREQUAL "DEB")
    foreach(package tavoctl tavo)
        set(root "${CPACK_TEMPORARY_DIRECTORY}/${package}")
        file(MAKE_DIRECTORY "${root}/usr/share/doc/${package}" "${root}/usr/share/lintian/overrides")
        add_debian_documents("${root}" "${package}")
    endforeach()
endif()

# The build user's mask is nobody else's business, and neither are the times of the build.
run(chmod -R u=rwX,go=rX "${CPACK_TEMPORARY_DIRECTORY}")
run(find "${CPACK_TEMPORARY_DIRECTORY}" -exec touch --no-dereference --date=@${time} {} +)
