# A laptop whose user an administrator trusts with the lid.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
beginAgent() {
    claude &
    agent=$!
    waitUntil 20 pgrep -x claude
}
endAgent() {
    kill "$agent"
    waitUntil 20 hasEnded
}
# A command with the agent's name in it would be taken for the agent.
hasEnded() { tavoctl history | grep -q 'c[l]aude ended$'; }
FUNCTIONS
beLaptop
standIn claude
approve com.vrd.tavo.helper.grant
becomeShell
