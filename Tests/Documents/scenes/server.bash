# A server, and a user who is logged in to it.
. "$(dirname "$0")/common.bash"
newReader </dev/null
beServer
install -m 755 /dev/stdin /home/ada/bin/rsync <<<'#!/bin/sh'
becomeShell
