# Xfce: xfce4-power-manager knows who keeps the machine awake, and the panel is the tray's host.
packages=(xfce4-session xfwm4 xfce4-panel xfdesktop4 xfce4-settings xfce4-power-manager adwaita-icon-theme
    librsvg2-common)
megabytes=180
sessionType=x11 desktopName=XFCE
sessionCommand=(startxfce4)
panelProgram=xfce4-panel
trayAt=(1143 13)

isPowerManagerThere() { ownsName org.freedesktop.PowerManagement; }

listedByDesktop() {
    userBus call org.freedesktop.PowerManagement /org/freedesktop/PowerManagement/Inhibit \
        org.freedesktop.PowerManagement.Inhibit GetInhibitors
}
