# GNOME: its session manager knows who keeps the machine awake. The shell shows tray icons with an extension alone.
packages=(gnome-session gnome-shell gnome-shell-extension-appindicator gnome-settings-daemon adwaita-icon-theme
    librsvg2-common)
megabytes=310
sessionType=x11 desktopName=GNOME
sessionCommand=(gnome-session --session=gnome)
panelProgram=gnome-shell
trayAt=(1182 16)

prepareHome() {
    gsettings set org.gnome.shell enabled-extensions "['ubuntu-appindicators@ubuntu.com']"
    # They take long where the processor draws them.
    gsettings set org.gnome.desktop.interface enable-animations false
    gsettings set org.gnome.shell welcome-dialog-last-shown-version 999
}

isPowerManagerThere() { ownsName org.gnome.SessionManager; }

# It begins with an overview of all windows, and misbehaves when asked to leave that before it is there.
hasOverview() { [ "$(userBus get-property org.gnome.Shell /org/gnome/Shell org.gnome.Shell OverviewActive)" = 'b true' ]; }
showDesktop() {
    waitUntil 60 hasOverview || true
    picture overview
    userBus set-property org.gnome.Shell /org/gnome/Shell org.gnome.Shell OverviewActive b false || true
}

# The session manager gives objects; each one tells who it is and what it inhibits (4 is suspend).
listedByDesktop() {
    local manager=org.gnome.SessionManager reply object
    reply=$(userBus call "$manager" /org/gnome/SessionManager "$manager" GetInhibitors) || return
    for object in $(tr ' "' '\n\n' <<<"$reply" | sed -n '/^\//p'); do
        echo "$(userBus call "$manager" "$object" "$manager.Inhibitor" GetAppId)" \
            "$(userBus call "$manager" "$object" "$manager.Inhibitor" GetFlags)"
    done
}
