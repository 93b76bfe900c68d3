# macOS: who signs Tavo, and whose signature its helper asks for.
set(TAVO_CODE_SIGNING_IDENTITY "" CACHE STRING "macOS: who signs Tavo.app; ad hoc when empty")
set(TAVO_CODE_SIGNING_REQUIREMENT "" CACHE STRING "macOS: what the signature of the helper's callers has to fulfil")

string(STRIP "${TAVO_CODE_SIGNING_REQUIREMENT}" requirement)
if(requirement STREQUAL "" AND NOT "${TAVO_CODE_SIGNING_IDENTITY}" MATCHES "^-?$")
    message(FATAL_ERROR "TAVO_CODE_SIGNING_IDENTITY is set and TAVO_CODE_SIGNING_REQUIREMENT is not: the root helper would serve "
                        "any program of the user at the console. See docs/platform-notes.md.")
endif()

# tavo_write_code_signing_header(FILE): the requirement as C++. A definition on the compiler's command line does not
# keep its quotes.
function(tavo_write_code_signing_header file)
    configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../Sources/TavoPrivilegedHelper/macos/CodeSigningRequirement.h.in"
                   "${file}" @ONLY)
endfunction()
