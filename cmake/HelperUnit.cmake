# tavo_helper_unit(OUTPUT [PACKAGED]) writes the helper's unit, systemd.service(5): the one that tavoctl installs, with
# its program and its user still to be filled in, or the one that comes with a distribution's package, which the socket
# starts.
set(TAVO_HELPER_UNIT_TEMPLATE "${PROJECT_SOURCE_DIR}/Resources/Linux/com.vrd.tavo.helper.service.in")
function(tavo_helper_unit output)
    cmake_parse_arguments(arg "PACKAGED" "" "" ${ARGN})
    if(arg_PACKAGED)
        set(unitNote "Part of Tavo's package, and started by com.vrd.tavo.helper.socket.")
        set(unitRequirement "Requires=com.vrd.tavo.helper.socket")
        set(helperExecutable /usr/libexec/tavo/TavoPrivilegedHelper)
        set(helperArguments --activated)
        # It exits by itself when there is nothing to do.
        set(helperRestart on-failure)
        # The folder is the socket's as well.
        set(helperFolderPreserve yes)
        # Before --after-stop, which cannot run either then: after a command that fails no other is run.
        set(helperPause [[
# While a connection waits, the socket starts it again at once. The pause is for starts that cannot work (see below).
ExecStopPost=/bin/sh -c 'case $$EXIT_STATUS in 64|127|203) exec sleep 1 ;; esac'
]])
        set(unitInstallation "# com.vrd.tavo.helper.socket is what is enabled.")
    else()
        set(unitNote "Installed and removed by tavoctl helper and by the settings window.")
        set(unitRequirement "# It makes its socket itself.")
        set(helperExecutable @helperExecutable@)
        set(helperArguments "--user @installingUser@")
        set(helperRestart always)
        set(helperPause "")
        set(helperFolderPreserve restart)
        set(unitInstallation "[Install]\nWantedBy=multi-user.target")
    endif()
    configure_file("${TAVO_HELPER_UNIT_TEMPLATE}" "${output}" @ONLY)
endfunction()
