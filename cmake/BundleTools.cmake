# Shared by AssembleBundle and DeployBundle, which include it: commands, signatures, and the load commands of Mach-O
# files, as otool(1) prints them. BUNDLE, CODESIGN, OTOOL and maybe IDENTITY are set.

# require(NAME...): variables that have to be set.
function(require)
    foreach(argument IN LISTS ARGN)
        if("${${argument}}" STREQUAL "")
            message(FATAL_ERROR "${CMAKE_SCRIPT_MODE_FILE}: ${argument} is missing.")
        endif()
    endforeach()
endfunction()

# give_up(WORDS): leaves no bundle behind that looks like a finished one.
function(give_up)
    file(REMOVE_RECURSE "${BUNDLE}")
    list(JOIN ARGN "" words)
    message(FATAL_ERROR "${words}")
endfunction()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " line)
        give_up("${line} failed with ${status}.")
    endif()
endfunction()

# sign(FILE [OPTIONS...]): with IDENTITY, or ad hoc without one.
function(sign file)
    set(identity "-")
    if(NOT "${IDENTITY}" STREQUAL "")
        set(identity "${IDENTITY}")
    endif()
    run("${CODESIGN}" --force --sign "${identity}" ${ARGN} "${file}")
endfunction()

# mach_o_files(RESULT FOLDER): the programs, libraries and plugins below FOLDER, links left out.
function(mach_o_files result folder)
    set(found "")
    file(GLOB_RECURSE files LIST_DIRECTORIES false "${folder}/*")
    foreach(file IN LISTS files)
        if(NOT IS_SYMLINK "${file}")
            file(READ "${file}" magic LIMIT 4 HEX)
            # In either order of bytes, for 32 and 64 bits, and with several processors in one.
            if(magic MATCHES "^(cffaedfe|cefaedfe|feedfacf|feedface|cafebabe|cafebabf)$")
                list(APPEND found "${file}")
            endif()
        endif()
    endforeach()
    set(${result} "${found}" PARENT_SCOPE)
endfunction()

# otool(RESULT OPTION FILE): its output.
function(otool result option file)
    execute_process(COMMAND "${OTOOL}" ${option} "${file}" OUTPUT_VARIABLE text RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        give_up("${OTOOL} ${option} cannot read ${file}.")
    endif()
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

# otool_words(RESULT OPTION FILE PATTERN): the matches of PATTERN's group in its output, each once.
function(otool_words result option file pattern)
    otool(text ${option} "${file}")
    string(REGEX MATCHALL "${pattern}" words "${text}")
    list(TRANSFORM words REPLACE "^${pattern}$" "\\1")
    list(REMOVE_DUPLICATES words)
    set(${result} "${words}" PARENT_SCOPE)
endfunction()

# libraries_of(RESULT FILE): the libraries it loads. A library's list begins with its own name, which it does not load.
function(libraries_of result file)
    otool_words(libraries -L "${file}" "\n[ \t]+([^\n]+) \\(compatibility")
    otool_words(names -D "${file}" "\n[ \t]*([^\n]*[^:\n])")
    list(REMOVE_ITEM libraries ${names})
    set(${result} "${libraries}" PARENT_SCOPE)
endfunction()

# rpaths_of(RESULT FILE): the folders in which it and the libraries it loads look for @rpath/....
function(rpaths_of result file)
    otool_words(rpaths -l "${file}" "cmd LC_RPATH\n[^\n]*\n +path ([^\n]+) \\(offset")
    set(${result} "${rpaths}" PARENT_SCOPE)
endfunction()

# oldest_system(RESULT FILE...): the oldest macOS that runs all of them.
function(oldest_system result)
    set(oldest 0)
    foreach(file IN LISTS ARGN)
        otool(text -l "${file}")
        # The second is for systems before 10.14.
        string(REGEX MATCHALL "minos [0-9.]+|cmd LC_VERSION_MIN_MACOSX\n[^\n]*\n +version [0-9.]+" versions "${text}")
        if(NOT versions)
            give_up("${OTOOL} does not say which macOS ${file} needs.")
        endif()
        list(TRANSFORM versions REPLACE "^.* " "")
        foreach(version IN LISTS versions)
            if(version VERSION_GREATER oldest)
                set(oldest "${version}")
            endif()
        endforeach()
    endforeach()
    set(${result} "${oldest}" PARENT_SCOPE)
endfunction()
