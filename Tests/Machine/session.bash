# Usage: session.bash FOLDER, in a user's session. Brings up a desktop where there are the programs for one, and then
# carries out each line that is written to FOLDER/commands, until one says "end". Sourced lines may call begin.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/desktop.bash"
folder=$1

# begin NAME COMMAND...: starts a program in the background: its process id, output and exit status are in the folder.
begin() {
    local name=$1
    shift
    {
        # A shell without job control starts background commands with SIGINT and SIGQUIT ignored, permanently.
        env --default-signal=INT,QUIT "$@" >"$folder/$name.out" 2>"$folder/$name.err" </dev/null &
        publish "$name.pid" $!
        local status=0
        wait $! || status=$?
        publish "$name.status" "$status"
    } &
}

# publish FILE TEXT: nobody sees a file without its text.
publish() {
    echo "$2" >"$folder/$1.new"
    mv "$folder/$1.new" "$folder/$1"
}

exec {commands}<>"$folder/commands"
if [ "$2" = desktop ]; then TAVO_TEST_DESKTOP=yes beginDesktop; fi
publish session.pid $$
while read -r line && [ "$line" != end ]; do eval "$line"; done <&"$commands"
