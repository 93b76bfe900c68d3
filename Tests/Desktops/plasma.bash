# Plasma: powerdevil knows who keeps the machine awake; the tray's items are registered with a module of kded.
packages=(plasma-workspace plasma-desktop kwin-x11 powerdevil breeze-icon-theme)
megabytes=470
sessionType=x11 desktopName=KDE
sessionCommand=(startplasma-x11)
panelProgram=plasmashell
trayAt=(1063 778)

# powerdevil's file has a capability, to wake the computer, that a container has not: it would not run.
prepareMachine() {
    local program
    program=$(dpkg -L powerdevil | grep '/org_kde_powerdevil$')
    cp "$program" "$program.plain"
    mv "$program.plain" "$program"
}

isPowerManagerThere() { ownsName org.kde.Solid.PowerManagement; }

listedByDesktop() {
    userBus call org.kde.Solid.PowerManagement /org/kde/Solid/PowerManagement/PolicyAgent \
        org.kde.Solid.PowerManagement.PolicyAgent ListInhibitions
}
