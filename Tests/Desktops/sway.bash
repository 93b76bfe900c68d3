# sway, on Wayland: its bar is the tray's host, and there is no power manager.
packages=(sway swaybg sway-backgrounds grim qt6-wayland adwaita-icon-theme librsvg2-common)
megabytes=140
sessionType=wayland desktopName=sway
sessionCommand=(env WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman sway)
panelProgram=swaybar
trayAt=(1268 12)
