# A laptop, and a user who may read the journal and whom an administrator trusts with the lid.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
looksForRsync() { [ "$(tavoctl get trigger.query)" = rsync ]; }
installHelper() { tavoctl helper install; }
# Where the system has put the helper, which nobody calls by hand.
TavoPrivilegedHelper() { /usr/libexec/tavo/TavoPrivilegedHelper "$@"; }
FUNCTIONS
usermod --append --groups adm ada
beLaptop
approve com.vrd.tavo.helper.grant com.vrd.tavo.helper.revoke
printf 'all:\n\t@echo made\n' >/home/ada/Makefile
becomeShell
