# Shared by every target of the project: the language level, the warnings, the sanitizers, and where programs land.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_FLAGS "${CMAKE_OBJCXX_FLAGS} -fno-objc-arc")
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# A module is one folder; its platform half is linux/ or macos/ inside it.
if(APPLE)
    set(TAVO_PLATFORM macos)
else()
    set(TAVO_PLATFORM linux)
endif()

# Programs that users do not call are installed where the other programs look for them, relative to their own folder.
cmake_path(SET TAVO_COMPANIONS NORMALIZE "${CMAKE_INSTALL_BINDIR}/../libexec/tavo")

add_library(tavo_options INTERFACE)
target_compile_options(tavo_options INTERFACE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Wold-style-cast
                                              -Wconversion -Wsign-conversion -Wno-missing-field-initializers
                                              $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>)
if(NOT APPLE)
    # One of the programs runs as root: its tables of functions are read-only once it has started.
    target_link_options(tavo_options INTERFACE -Wl,-z,relro,-z,now)
endif()
if(TAVO_WARNINGS_AS_ERRORS)
    target_compile_options(tavo_options INTERFACE -Werror)
endif()
if(TAVO_SANITIZE)
    target_compile_options(tavo_options INTERFACE -fsanitize=${TAVO_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
    target_link_options(tavo_options INTERFACE -fsanitize=${TAVO_SANITIZE})
endif()

# tavo_compile_small(TARGET): for code that runs once, or once a minute. What it takes of the memory of a program that runs
# for days is then all that matters. Replaces -O2, where that is what a build has been told.
function(tavo_compile_small target)
    if(CMAKE_CXX_FLAGS_RELEASE MATCHES "-O2")
        target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
    endif()
endfunction()

# tavo_library(NAME SOURCES... [PLATFORM_SOURCES...] [LINKS...]) makes the static library tavo_NAME of one module.
# PLATFORM_SOURCES are looked up in the module's own platform folder.
function(tavo_library name)
    cmake_parse_arguments(arg "" "" "SOURCES;PLATFORM_SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    list(TRANSFORM arg_PLATFORM_SOURCES PREPEND "${TAVO_PLATFORM}/")
    add_library(tavo_${name} STATIC ${arg_SOURCES} ${arg_PLATFORM_SOURCES})
    target_include_directories(tavo_${name} PUBLIC "${PROJECT_SOURCE_DIR}/Sources/TavoApp")
    target_link_libraries(tavo_${name} PUBLIC ${arg_LINKS} PRIVATE tavo_options ${arg_PRIVATE_LINKS})
endfunction()
