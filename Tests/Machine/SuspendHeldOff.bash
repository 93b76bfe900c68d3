# The machine does not suspend while Tavo holds its lock, and does once the lock is released.
. "$(dirname "$0")/machine.bash"

suspends=/run/suspends
root=/run/tavo
prepareSuspendRecorder "$suspends"
beginRun "$root" --always
expectHeld 'sleep:idle block'
suspendWhenIdle 1
expectNeverWithin 4 hasSuspended "$suspends" 1
endRun TERM
expectWithin 30 hasSuspended "$suspends" 1
