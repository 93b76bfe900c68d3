# A laptop whose user an administrator trusts with the lid.
. "$(dirname "$0")/common.bash"
newReader </dev/null
beLaptop
approve com.vrd.tavo.helper.grant
becomeShell
