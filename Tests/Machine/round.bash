# One round of Rounds.bash, which sources this.

# draw VARIABLE VALUE...: sets it to one of the values. Not for a subshell, which would have random numbers of its own.
draw() {
    local -n drawn=$1
    shift
    drawn=${*:RANDOM % $# + 1:1}
}

# pause MILLISECONDS: a moment that nothing announces, which is what a kill at random needs.
pause() { sleep "$(printf '%d.%03d' $(($1 / 1000)) $(($1 % 1000)))"; }

drawRound() {
    RANDOM=$((seed * 100003 + round))
    moment=$((RANDOM % 700)) later=$((RANDOM % 300))
    draw kind "${kinds[@]}"
    draw trigger always always command
    draw working "" "" "--while-working --grace 5m"
    [ "$trigger" = command ] || working=""
    draw power any any ac battery
    draw cutoff none 20 20
    draw online 1 1 0
    draw percent 80 80 15
    draw lid open closed both
    draw beside none none exec
    draw besideLid open closed
    draw event none none power settings
    draw target main main child helper all "$beside"
    [ "$target" != none ] || target=main
    draw signal KILL KILL STOP TERM INT HUP
    draw endSignal TERM TERM INT HUP
    # An exec cannot be told to evaluate, see bringBack.
    case $target:$signal in helper:TERM | helper:INT | helper:HUP) besideLid=open ;; esac
}

describeRound() {
    local exec=""
    [ "$beside" = none ] || exec=", beside exec --lid $besideLid"
    echo "round $round: $kind, $trigger${working:+ $working} --power $power --cutoff $cutoff --lid $lid," \
        "online $online at $percent%$exec; event $event; SIG$signal to $target after $moment ms"
}

# The command line's options, and the same as lines of run.conf.
optionsOfRun() {
    local words=(--power "$power" --cutoff "$cutoff" --lid "$lid")
    if [ "$trigger" = always ]; then words+=(--always); else words+=(--command "needle-$round"); fi
    # shellcheck disable=SC2206
    words+=($working)
    printf '%s\n' "${words[@]}"
}
linesOfService() { optionsOfRun | paste -sd ' ' | sed 's/ --/\n/g; s/^--//'; }

settingsOfApp() {
    local policy=any
    case $power in ac) policy=acOnly ;; battery) policy=batteryOnly ;; esac
    if [ "$trigger" = always ]; then settings preset always; else settings match --command "needle-$round"; fi
    settings set powerSourcePolicy "$policy"
    settings set batteryCutoffPercent "$cutoff"
    settings set watchMode "$lid"
    settings enable
}
settings() {
    asAlice "$TAVO_BIN/tavoctl" --root "$root" "$@" >/run/rounds/settings.out 2>&1 ||
        fail "tavoctl $*: $(cat /run/rounds/settings.out)"
}

# inSession COMMAND...: has the session's shell carry it out.
inSession() { printf '%q ' "$@" >&"$commands" && echo >&"$commands"; }

# beginProgram NAME COMMAND...: returns once it has begun; its process id is in $begun.
beginProgram() {
    rm -f "/run/rounds/$1".{pid,status}
    inSession begin "$@"
    expectWithin 30 hasContent "/run/rounds/$1.pid"
    begun=$(cat "/run/rounds/$1.pid")
}

beginMain() {
    case $kind in
        service)
            linesOfService | asAlice tee "$root/run.conf" >/dev/null
            asAlice systemctl --user reset-failed tavo.service 2>/dev/null || true
            asAlice systemctl --user start --no-block tavo.service
            expectWithin 30 serviceRuns ;;
        run)
            local options
            mapfile -t options < <(optionsOfRun)
            beginProgram main "$TAVO_BIN/tavoctl" --root "$root" run "${options[@]}"
            main=$begun ;;
        app)
            # shellcheck disable=SC2086
            beginProgram main "$TAVO_BIN/tavo" --root "$root" $hidden $working
            main=$begun ;;
    esac
}

serviceProperty() { asAlice systemctl --user show --property="$1" --value tavo.service; }
serviceRuns() {
    main=$(serviceProperty MainPID)
    [ "$main" != 0 ]
}

beginBeside() {
    [ "$beside" = exec ] || return 0
    beginProgram beside "$TAVO_BIN/tavoctl" --root "$root.exec" \
        exec --power any --cutoff none --lid "$besideLid" -- sleep infinity
    besideProcess=$begun
}

# A process that has written its number into the lock file handles its signals.
hasLock() {
    [ "$kind" != service ] || serviceRuns || return 1
    seen="no lock file with $main in it"
    [ "$(head -n 1 "$root/tavo.lock" 2>/dev/null)" = "$main" ]
}

isExpectedToHold() {
    [ "$cutoff" = none ] || [ "$percent" -gt "$cutoff" ] || return 1
    case $power in ac) [ "$online" = 1 ] ;; battery) [ "$online" = 0 ] ;; esac
}

# isAsPlanned: whether exactly the locks are held, and the lid set, that main and the program beside it should have.
isAsPlanned() {
    local locks=0 isLidSet=no
    if isExpectedToHold; then
        locks=1
        [ "$lid" = open ] || isLidSet=yes
    fi
    if [ "$beside" = exec ]; then
        locks=$((locks + 1))
        [ "$besideLid" = open ] || isLidSet=yes
    fi
    seen="$(heldByTavo | paste -sd ,), lid $(lidActions); planned: $locks locks, lid set: $isLidSet"
    [ "$(heldByTavo | wc -l)" = "$locks" ] || return 1
    if [ "$isLidSet" = yes ]; then ! lidActionsAre "suspend -"; else lidActionsAre "suspend -"; fi
}

setPowerOfRound() {
    if [ "$online" = 1 ]; then setPower 1 Charging "$percent"; else setPower 0 Discharging "$percent"; fi
}

tellPower() {
    setPowerOfRound
    "$TAVO_BIN/send-uevent" kernel
}

carryOutEvent() {
    case $event in
        power)
            online=$((1 - online))
            tellPower ;;
        settings) asAlice "$TAVO_BIN/tavoctl" --root "$root" set maxAwakeDuration 4h >/dev/null 2>&1 || true ;;
    esac
}

# deliver PROCESS...
deliver() {
    [ $# -gt 0 ] || return 0
    kill -s "$signal" "$@" 2>/dev/null || true
    [ "$signal" = STOP ] || return 0
    pause "$later"
    kill -s KILL "$@" 2>/dev/null || true
}

killTarget() {
    local children helper
    children=$(pgrep -x tavo-inhibit | paste -sd ' ') || true
    helper=$(helperProcess)
    killedHelper="" killedMain="" killedBeside=""
    case $target in helper | all) killedHelper=$helper ;; esac
    case $target in main | all) killedMain=$main ;; esac
    case $target in exec | all) [ "$beside" = none ] || killedBeside=$besideProcess ;; esac
    case $target in child | all) ;; *) children="" ;; esac
    # shellcheck disable=SC2086
    deliver $children $killedHelper $killedMain $killedBeside
}

hasHelperBack() {
    local now
    now=$(helperProcess)
    [ "$now" != 0 ] && [ "$now" != "$killedHelper" ] && [[ $(client send '{"ping":{}}' 2>/dev/null) == *pong* ]]
}

# endedProperly NAME: of a program of the session's. A signal that came before it was prepared has killed it; one whose
# helper or child was killed while it waited for them has said so.
endedProperly() {
    expectWithin 30 hasContent "/run/rounds/$1.status"
    local status words
    status=$(cat "/run/rounds/$1.status")
    words=$(cat "/run/rounds/$1.err")
    case $status:$words in
        0:* | 129:* | 130:* | 137:* | 143:*) ;;
        1:*"could not talk to the privileged helper"*) ;;
        1:*"of org.freedesktop.login1: interrupted system call"*) ;;
        1:*"the program that holds off sleep ended with status"*) ;;
        *) fail "$1 ended with $status: $words" ;;
    esac
}

serviceIsBack() { serviceRuns && [ "$main" != "$killedMain" ]; }
serviceHasSettled() {
    case $(serviceProperty ActiveState) in
        inactive | failed) ;;
        active) serviceIsBack ;;
        *) return 1 ;;
    esac
}

bringBackMain() {
    expectWithin 30 hasEnded "$killedMain"
    if [ "$kind" = service ]; then
        expectWithin 30 serviceHasSettled
        serviceIsBack || beginMain
        return
    fi
    endedProperly main
    beginMain
}

bringBackBeside() {
    expectWithin 30 hasEnded "$killedBeside"
    expectWithin 30 hasContent /run/rounds/beside.status
    # The command of a killed exec runs on, as one of a killed shell does.
    endCommands
    beginBeside
}
endCommands() {
    local command
    for command in $(pgrep -u alice -x sleep); do
        [ "$command" = "${watched-}" ] || kill "$command" 2>/dev/null || true
    done
}

# One whose first evaluation failed, since its helper or child was killed, has ended.
reviveEnded() {
    if [ "$kind" = run ] && [ -e /run/rounds/main.status ]; then
        endedProperly main
        beginMain
    fi
    if [ "$beside" = exec ] && [ -e /run/rounds/beside.status ]; then
        endedProperly beside
        endCommands
        beginBeside
    fi
}

isBack() {
    reviveEnded
    hasLock || return 1
    # A failed evaluation is the last one until Tavo is told to evaluate again. A helper that was ended properly has ended
    # the overrides, of which Tavo learns in the same way.
    if [ -n "$killedHelper" ] || stateSays "$root" error; then kill -s USR1 "$main" 2>/dev/null; fi
    isAsPlanned
}

bringBack() {
    [ -z "$killedHelper" ] || expectWithin 30 hasHelperBack
    [ -z "$killedMain" ] || bringBackMain
    [ -z "$killedBeside" ] || bringBackBeside
    # An exec that could not take its lock, since the child was killed at its start, tries again after a minute.
    waitUntil 90 isBack || fail "not as planned: $seen"
}

endMain() {
    if [ "$kind" = service ]; then
        asAlice systemctl --user stop tavo.service
        expectEqual success "$(serviceProperty Result)" "how the service ended"
        return
    fi
    kill -s "$endSignal" "$main"
    expectWithin 30 hasContent /run/rounds/main.status
    expectEqual 0 "$(cat /run/rounds/main.status)" "status of $kind after SIG$endSignal: $(cat /run/rounds/main.err)"
}

endRound() {
    endMain
    if [ "$beside" = exec ]; then
        kill "$(pgrep -P "$besideProcess" -x sleep)"
        expectWithin 30 hasContent /run/rounds/beside.status
        expectEqual 143 "$(cat /run/rounds/beside.status)" "status of exec: $(cat /run/rounds/beside.err)"
    fi
    [ "$trigger" = always ] || kill "$watched"
    local left
    left=$(find "$root" "$root.exec" -mindepth 1 2>/dev/null |
        grep -vE '/(config\.json|state\.json|tavo\.lock|history\.jsonl|run\.conf)$') || true
    [ -z "$left" ] || fail "left in the folder of files: $left"
    [ "$kind" = service ] || rm -r "$root"
    rm -rf "$root.exec"
}

prepareRound() {
    root=/home/alice/round
    [ "$kind" != service ] || root=/home/alice/.config/Tavo
    asAlice mkdir -p "$root"
    setPowerOfRound
    [ "$kind" != app ] || settingsOfApp
    if [ "$trigger" = command ]; then
        beginProgram watched bash -c 'exec -a "$0" sleep infinity' "needle-$round"
        watched=$begun
    fi
    hidden=""
    [ $((moment % 2)) = 0 ] || hidden=--hidden
}

# playRound: in this shell, so that a failure is known by its round.
playRound() {
    drawRound
    describeRound
    prepareRound
    beginMain
    beginBeside
    pause "$moment"
    carryOutEvent
    killTarget
    bringBack
    endRound
    expectNothingLeft
}

# warmUp KIND: a round without a kill, in which everything is used once.
warmUp() {
    round=0
    drawRound
    kind=$1 trigger=command working="" power=any cutoff=none online=1 percent=80 lid=both
    beside=exec besideLid=closed endSignal=TERM
    prepareRound
    beginMain
    beginBeside
    expectWithin 60 hasLock
    waitUntil 60 isAsPlanned || fail "$kind, before the rounds: not as planned: $seen"
    endRound
}
