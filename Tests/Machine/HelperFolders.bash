# Root installs only where root alone may write, only what it was asked to install, and leaves nothing behind when it is
# ended.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

createUser mallory
folder=$(dirname "$helperFile")

# expectRefusedFor WHAT: an installation is refused, and says for which folder.
expectRefusedFor() {
    local refusal
    refusal=$(control helper install 2>&1) && fail "installed into $1: $refusal"
    expectContains "$refusal" "somebody else than root may write to $1" "the refusal"
    [ ! -e "$helperFile" ] && [ ! -e "$unitFile" ] || fail "something was installed"
    expectEqual "" "$(find "$folder" /etc/systemd/system -name '.tavo-install*' 2>/dev/null)" "temporary files"
}

mkdir -p "$folder"
for writable in /usr/local "$folder" /etc/systemd; do
    chmod g+w "$writable"
    expectRefusedFor "$writable"
    chmod g-w "$writable"
done
chown mallory "$folder"
expectRefusedFor "$folder"
chown root "$folder"

# A link may lead elsewhere, as long as root alone can change what it leads to.
rmdir "$folder"
mkdir -p /srv/mallory/libexec
chown mallory /srv/mallory
ln -s /srv/mallory/libexec "$folder"
expectRefusedFor /srv/mallory
rm "$folder"

# Ended in the middle, as by a terminal that is closed.
cat >/usr/local/bin/sha256sum <<'SUM'
#!/bin/sh
kill -s HUP $PPID
SUM
chmod 755 /usr/local/bin/sha256sum
not control helper install 2>/dev/null || fail "installed though it was ended"
rm /usr/local/bin/sha256sum
expectEqual "" "$(find "$folder" /etc/systemd/system -name '.tavo-install*')" "temporary files"
[ ! -e "$helperFile" ] && [ ! -e "$unitFile" ] || fail "something was installed"

control helper install
helperStateIs ready || fail "the helper does not answer"
control helper uninstall
