# Whatever lies in the place of one of the files, nothing hangs, nothing is lost, and a lock is not given up for it.
. "$(dirname "$0")/machine.bash"
soon=20 # on a machine that does many other things

folder=$(mktemp -d)
# One on which a device can be opened, unlike /run.
mount --no-mtab -t tmpfs -o mode=0700 tmpfs "$folder"
atExit 'umount --lazy "$folder"'
files=(config.json state.json history.jsonl tavo.lock run.conf activity.json)

# tavoctl ARGUMENTS...: with what it says in $said and its status in $ended; hangs for nobody.
tavoctl() {
    ended=0
    said=$(timeout 20 "$TAVO_BIN/tavoctl" --root "$root" "$@" 2>&1 </dev/null) || ended=$?
    [ "$ended" != 124 ] || fail "tavoctl $* hangs with $fault as $file"
    [[ $said != *"invalid argument"* ]] || fail "with $fault as $file, tavoctl $* says: $said"
}

contentOf() { find "$root" -mindepth 1 \( -name "$file" -o -path "*/elsewhere*" \) -printf '%P %y %l\n' | sort; }

for file in "${files[@]}"; do
    for fault in folder pipe device dangling loop; do
        root=$folder/$file-$fault
        mkdir "$root"
        case $fault in
            folder) mkdir -p "$root/$file/elsewhere" ;;
            pipe) mkfifo "$root/$file" ;;
            device) mknod "$root/$file" c 1 5 ;; # /dev/zero, which never ends
            dangling) ln -s "$root/elsewhere/$file" "$root/$file" ;;
            loop) ln -s "$file" "$root/$file" ;;
        esac
        before=$(contentOf)
        tavoctl status
        tavoctl explain
        tavoctl history
        if [ "$file" = history.jsonl ]; then expectContains "$said" 'move it away' "history with $fault"; fi
        tavoctl get
        [ "$file" != config.json ] || [ "$fault" = dangling ] || expectEqual 78 "$ended" "status of get with $fault"
        [ "$file" != run.conf ] || tavoctl run --service --for 1s
        [ "$file" != run.conf ] || expectContains "$said" 'run.conf' "run --service with $fault"
        tavoctl set batteryCutoffPercent 33
        # Only of a file that nobody reads is something else replaced.
        case $file in
            config.json | history.jsonl | tavo.lock | run.conf) expectEqual "$before" "$(contentOf)" "$fault as $file" ;;
        esac
        beginRun "$root" --always
        case $file-$fault in
            config.json-dangling | state.json-* | history.jsonl-* | run.conf-* | activity.json-*)
                expectHeld 'sleep:idle block'
                reevaluate
                holds tavo 'sleep:idle block' || fail "$fault as $file cost the lock"
                endRun TERM
                ;;
            *)
                expectWithin 20 hasEnded "$run"
                wait "$run" && fail "a run with $fault as $file"
                expectContains "$(cat "$root.err")" "$file" "standard error with $fault as $file"
                not grep -q 'invalid argument' "$root.err" || fail "$fault as $file: $(cat "$root.err")"
                ;;
        esac
        expectHeld ''
        case $file-$fault in
            state.json-pipe | state.json-device) [ -f "$root/$file" ] || fail "$fault as $file was not replaced" ;;
            activity.json-*) ;; # of a run that measures nothing, which removes what an earlier one has left
            *) expectEqual "$before" "$(contentOf)" "$fault as $file, after a run" ;;
        esac
        expectEqual '' "$(find "$root" -name '*.unfinished-*')" "temporary files"
    done
done

# A disk that is full, that is not to be written, and files that may grow no further, while a lock is held.
root=$folder/disk
mkdir "$root"
mount -t tmpfs -o size=64k,mode=0700 tmpfs "$root"
atExit 'umount "$root" 2>/dev/null'
"$TAVO_BIN/tavoctl" --root "$root" preset always >/dev/null
beginRun "$root"
expectWithin "$soon" stateSays "$root" disabled
"$TAVO_BIN/tavoctl" --root "$root" enable >/dev/null
expectHeld 'sleep:idle block'
cat /dev/zero >"$root/filler" 2>/dev/null || true
configuration=$(cat "$root/config.json")
reevaluate
saysSo() { grep -q 'no space left on device; delete something' "$root.out"; }
expectWithin "$soon" saysSo
holds tavo 'sleep:idle block' || fail "a full disk cost the lock"
fault='a full disk' file=config.json
tavoctl set batteryCutoffPercent 44
expectEqual 1 "$ended" "exit status on a full disk"
expectContains "$said" 'no space left on device; delete something on that disk, and try again' "on a full disk"
expectEqual "$configuration" "$(cat "$root/config.json")" "config.json after a full disk"
rm "$root/filler"
reevaluate
expectWithin "$soon" stateSays "$root" active
# The open lock file keeps the file system itself from becoming read-only, but not another mount of it.
mount --bind "$root" "$root"
mount -o remount,bind,ro "$root"
reevaluate
saysSoToo() { grep -q 'read-only file system; make that file system writable' "$root.out"; }
expectWithin "$soon" saysSoToo
holds tavo 'sleep:idle block' || fail "a disk that is not to be written cost the lock"
tavoctl set batteryCutoffPercent 44
expectEqual 1 "$ended" "exit status on a read-only disk"
expectContains "$said" 'read-only file system' "on a read-only disk"
umount "$root"
expectEqual "$configuration" "$(cat "$root/config.json")" "config.json after a read-only disk"
tavoctl set batteryCutoffPercent 44
expectEqual 0 "$ended" "exit status on a disk that is writable again"
endRun TERM
expectHeld ''
expectEqual '' "$(find "$root" -name '*.unfinished-*')" "temporary files"
umount "$root"

# The folder goes while a lock is held, and is made again by the next evaluation.
root=$folder/gone
beginRun "$root" --always
expectHeld 'sleep:idle block'
rm -r "$root"
reevaluate
expectWithin "$soon" stateSays "$root" active
holds tavo 'sleep:idle block' || fail "a folder that has gone cost the lock"
endRun TERM
expectHeld ''
