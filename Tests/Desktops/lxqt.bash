# LXQt: lxqt-powermanagement has no list and no interface. It obeys logind alone, which says nothing about a user's own
# locks to that user's own session before version 257; Tavo has to say so.
packages=(lxqt-session lxqt-panel lxqt-powermanagement lxqt-notificationd lxqt-themes pcmanfm-qt openbox breeze-icon-theme)
megabytes=230
sessionType=x11 desktopName=LXQt
sessionCommand=(startlxqt)
panelProgram=lxqt-panel
trayAt=(1111 784)

prepareHome() {
    mkdir -p "$HOME/.config/lxqt"
    printf '%s\n' '[General]' window_manager=openbox >"$HOME/.config/lxqt/session.conf"
}

isPowerManagerThere() { isRunning lxqt-powermanagement; }
