# Completion of tavoctl and tavo for fish. It knows nothing itself: tavoctl says what can come next.
function __tavoctl_complete
    set -l before (commandline -opc)
    set -l word (commandline -ct)
    set -l answer (command tavoctl --complete fish (basename -- $before[1]) $before[2..-1] "$word" 2>/dev/null)
    or return
    switch $answer[1]
        case words
            string join -- \n $answer[2..-1]
        case folders
            __fish_complete_directories "$word"
        case 'command *'
            set -l start (math (string replace 'command ' '' -- $answer[1]) + 1)
            if set -q before[$start]
                complete -C (string join ' ' -- (string escape -- $before[$start..-1]) "$word")
            else
                complete -C "$word"
            end
    end
end
complete -c tavoctl -f -k -a '(__tavoctl_complete)'
complete -c tavo -f -k -a '(__tavoctl_complete)'
