#!/bin/sh
# usage: console_test.sh COMMAND...   COMMAND runs gatewayd, through an emulator maybe.
# Drives the daemon as an operator's script does and checks its answers and its end.
set -u
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
failures=0

fail()
{
    echo "FAILED: $*"
    sed 's/^/    /' "$dir/out"
    failures=$((failures + 1))
}

# expect NAME PATTERN...: each pattern stands in the output
expect()
{
    name=$1
    shift
    for pattern in "$@"; do
        grep -q -- "$pattern" "$dir/out" || fail "$name: no line with '$pattern'"
    done
}

# await PATTERN [ACTION]: waits until the output holds the pattern, with the action meanwhile
await()
{
    tries=0
    until grep -q -- "$1" "$dir/out" 2>/dev/null; do
        tries=$((tries + 1))
        [ $tries -lt 600 ] || { fail "no '$1' within a minute"; return; }
        eval "${2:-}"
        sleep 0.1
    done
}

# start COMMAND...: runs it in the background; its input is what goes to descriptor 3
mkfifo "$dir/in"
start()
{
    "$@" >"$dir/out" 2>&1 <"$dir/in" & # the output is empty before the input can be opened
    daemon=$!
    exec 3>"$dir/in"
}

# finish NAME PATTERN...: ends the input and expects an end without an error, and the patterns
finish()
{
    exec 3>&-
    wait $daemon || fail "$1: status $?"
    expect "$@"
}

# refuse NAME PATTERN COMMAND...: the command line is wrong
refuse()
{
    name=$1
    pattern=$2
    shift 2
    "$@" </dev/null >"$dir/out" 2>&1
    [ $? -eq 2 ] || fail "$name: status isn't 2"
    expect "$name" "$pattern"
}

# a script from a file, which epoll can't watch, without a line end at its end
printf 'frobnicate\ntimer soon\npost high\nhelp me\n\n  post low  two words \npost urgent x\ntimers' >"$dir/script"
"$@" <"$dir/script" >"$dir/out" 2>&1 || fail "script: status $?"
expect script "^no command 'frobnicate'" "^timer: MS is a number" "^post: it takes a priority and a text (usage: post high|normal|low TEXT)" \
    "^help: it takes no argument" "priority low, on thread IO: two words$" "^no timers" "^gatewayd ends: end of input"

# without standard input there is nothing to serve
"$@" <&- >"$dir/out" 2>&1 || fail "closed input: status $?"
expect closed '^gatewayd ends: end of input'

# timers, and priorities behind a blocked loop: the end cuts the block short and waits for what has been posted
start "$@" --loop mgmt
printf 'timer 1 one-shot\ntimer 60000 periodic never\n' >&3
await 'timer 1, run 1, on thread Mgmt: one-shot'
await 'timer 1 is gone'
printf 'cancel 1\ncancel 2\n' >&3
await 'timer 2 is gone'
printf 'block 600\npost low c\npost normal b\npost high a\n' >&3
finish pipe "^no timer 1, 'timers' lists them" '^gatewayd ends: end of input'
order=$(sed -n 's/.*priority .* on thread Mgmt: \([abc]\)$/\1/p' "$dir/out" | tr -d '\n')
[ "$order" = abc ] || fail "pipe: order '$order'"

# the synchronisation and the signal, each on its thread
printf 'sync\nsignal\n' | "$@" --loop crit >"$dir/out" 2>&1 || fail "threads: status $?"
expect threads 'before: thread Synchroniser is not synchronised to Crit' 'stands: thread Synchroniser is synchronised to Crit' \
    'after: thread Synchroniser is not synchronised to Crit' "direct slot on thread Emitter" "sync slot on thread Emitter" \
    "async slot on thread Crit"

# a debug session shows the link's transitions, with an event deferred and recalled, and jobs queue and are cancelled
start "$@" --loop mgmt --stderr
printf 'debug 92 0 1 me debug 1\ndebug job me 7 9\ndebug cli me debug 1\ndebug nothing me debug 1\n' >&3
await '^cli has no monitor'
printf 'monitors\n' >&3
# "down" is deferred if it comes before the link is up
await "Handling recalled event 'down' in state 'up'" "printf 'link up\\nlink down\\nwait 500\\n' >&3; sleep 1"
await "Transition 'active' -> 'down'"
printf 'job long 60000\n' >&3
await '^job 1 runs on thread Jobs: long'
printf 'job a b 1\ncancel-job 2\ncancel-job 9\njobs\n' >&3
await '^history:'
printf 'cancel-job 1\nnodebug me\nnodebug me\n' >&3
await '^there is no session me'
finish debug '^ethernet:0/1 lets debug lines up to level 1 pass' '^debug: there is no such monitor' \
    '^  8  job  *level 3, me (debug, 3)' "# \[link 1\] > SM   : Deferring event 'down' in state 'connecting'" \
    '^job 2 is cancelled, status 1300000f' '^  Jobs  *2  *0  *1  *0  *0  *0$' '^  executing  job 1, 60000 ms: long' \
    '^no job 9' '^job 1: FUNCTION EXECUTION CANNOT BE CANCELLED' '^job 1 is cancelled, status 00000000'

# regular expressions
# shellcheck disable=SC2016
printf '%s\n' 'match "(\w+) (x)?" to speed=auto' 'subst (\d)(\d) "$2 $1" <42>' 'subst x y z' 'match (a b' |
    "$@" >"$dir/out" 2>&1 || fail "regex: status $?"
expect regex "^group 1 from 0 to 2: 'to'" '^group 2 is unset' '^weights 193 193 255' '^<2 4>' '^no match' '^match: PATTERN has a syntax error'

# checksums, stored passwords, and texts of the network
printf abc >"$dir/abc"
start "$@"
printf '%s\n' "hash md5 $dir/abc" "hash crc32 /none" 'hash md5 /dev/zero' 'hash crc16 x' 'password decrypt QQ==' 'resolve 127.0.0.1' \
    'resolve no-such-host.invalid' 'parse-uri http://me@[::1]:80/a/b' 'parse-uri nothing' >&3
for pattern in '^900150983cd24fb0d6963f7d28e17f72  ' '  /none$' '^no regular file  /dev/zero' '^127.0.0.1 has the address 127.0.0.1$' \
    '^no-such-host.invalid: '; do
    await "$pattern"
done
printf 'password encrypt secret\n' >&3
finish texts '^hash: it takes a kind of checksum' '^that is no stored password' "^host     'me@::1'$" "^path     'a/b'$" \
    "^together 'http://me@\[::1\]:80/a/b'$" '^No Protocol specified in URI'
stored=$(grep -A1 'password encrypt' "$dir/out" | tail -n 1)
printf 'password decrypt %s\n' "$stored" | "$@" >"$dir/out" 2>&1 || fail "password: status $?"
expect password '^secret$'

# the challenge login, with a key of the daemon's operator; its files have fixed names, so other tests of it wait meanwhile
exec 9</tmp
flock 9
rm -f /tmp/challengePrefix /tmp/rsaContextModulus /tmp/rsaContextPublic
printf 'login\nlogin QQ==\n' | "$@" >"$dir/out" 2>&1 || fail "login: status $?"
expect login '^CHALLENGE FILE DOES NOT EXIST; --login-key sets it up' "^ask for a challenge first"
if command -v openssl >/dev/null; then
    openssl genrsa -out "$dir/key.pem" 1024 2>/dev/null
    { openssl rsa -in "$dir/key.pem" -noout -modulus | cut -d= -f2; echo 10001; } >"$dir/key"
    start "$@" --login-key "$dir/key"
    printf 'login\n' >&3
    await '^otp:m=root:p=gatewayd:s=1:t=demo:r=.*:pto$'
    grep '^otp:' "$dir/out" | tr -d '\n' >"$dir/challenge"
    signature=$(openssl rsautl -sign -inkey "$dir/key.pem" -in "$dir/challenge" 2>/dev/null | base64 -w 0)
    printf 'login %s\n' "$signature" >&3
    await '^welcome'
    # each challenge is good for one try
    printf 'login\nlogin %s\n' "$signature" >&3
    await '^refused'
    finish login
fi
rm -f /tmp/challengePrefix /tmp/rsaContextModulus /tmp/rsaContextPublic
exec 9<&-
refuse --login-key "^gatewayd: the key .*/abc can.t be used: it isn't a modulus" "$@" --login-key "$dir/abc"

# the state in all layouts, values that are kept, templates, and preferences
printf '%s\n' 'loop mgmt' 'stderr off' >"$dir/preferences"
printf '{{#each loops}}<{{loop}}>{{/each}}{{#values}}{{#port}}{{name}}={{speed}}{{/port}}{{/values}}\n' >"$dir/template"
printf '%s\n' 'report tree monitors' 'report list jobs' 'report folder monitors' 'report json jobs' 'report yaml' 'report html loops' \
    'report pdf' 'report tree cats' 'set port.speed 100' 'set port.name "eth0"' 'get port' 'get fan' 'set a nonsense' "render $dir/template" \
    'render /none' 'post low here' | "$@" --preferences "$dir/preferences" >"$dir/out" 2>&1 || fail "report: status $?"
expect report '^  monitor:  *system$' '^executor  suspended  invoked' '^system  *1  *9' '^    "executor": "Jobs",$' '^- executor: Jobs$' \
    '^<th>loop</th><th>queuing delay</th>' '^report: it takes a layout' '^  "speed": 100,$' '^there is no fan' \
    "^Expecting value, got ''" '<Mgmt-[0-9a-f]*>.*eth0=100$' '^/none: ' 'on thread Mgmt: here'
refuse --preferences '^gatewayd: the preferences /none can.t be read' "$@" --preferences /none

# HTTP: against a server program where there is one
printf 'fetch http://127.0.0.1:1/\nfetch\nupload /none http://127.0.0.1:1/\n' | "$@" >"$dir/out" 2>&1 || fail "http: status $?"
expect http '^fetch: it takes a URL'
if grep -q 'BUILT WITHOUT LIBCURL' "$dir/out"; then
    echo "gatewayd: this library can't transfer files"
elif command -v python3 >/dev/null; then
    expect http '^Failed to connect to 127.0.0.1 port 1 '
    echo 'served over HTTP' >"$dir/page"
    : >"$dir/out"
    python3 -u -m http.server --bind 127.0.0.1 --directory "$dir" 0 >"$dir/out" 2>/dev/null & # which names the port and no more
    server=$!
    await ' port [0-9]'
    port=$(sed -n 's/.* port \([0-9]*\) .*/\1/p' "$dir/out")
    printf 'fetch http://127.0.0.1:%s/page\nfetch http://127.0.0.1:%s/none\n' "$port" "$port" | "$@" >"$dir/out" 2>&1 || fail "fetch: status $?"
    kill $server
    expect fetch '^served over HTTP$' '^17 bytes$' '404'
fi

# programs, and what is known of time, memory and the library itself
start "$@"
printf 'run sh -c "echo to here; echo and there >&2; exit 3"\nrun no-such-program\nrun sleep 600\nrun sleep 601\n' >&3
await '^\[1\] has ended with status 3$'
await '^\[2\] has failed: CANNOT EXECUTE PROGRAM'
await '^\[3\] was ended by signal 15$' "printf 'runs\\nkill 3 TERM\\n' >&3"
printf 'kill 9 TERM\nkill 4 NO\nselftest Hash\nselftest nothing\nmemory\nmemory 0\ndate\nschedule 2031-2-1 0:30\nschedule *-13-1 1:00\nschedule now\n' >&3
finish programs '^\[1\] to here$' '^\[1\] and there$' '^\[3\] sleep 600$' '^no program 9' '^kill: it takes' '^\[4\] was ended by signal 9$' \
    '^PASSED - 0.[0-9]* - Hash.md5$' '^there is no test nothing$' '^process  resident [1-9]' '^memory: PID is' '^UTC    [A-Z][a-z]* ' \
    '^Saturday February 01 2031 00:30:00$' '^Invalid date specification' '^schedule: it takes'

# the console over TCP: many clients at once, each with its own answers; standard input has ended meanwhile
if command -v nc >/dev/null; then
    "$@" --console 0 </dev/null >"$dir/out" 2>&1 &
    daemon=$!
    await '^the console listens on 127.0.0.1, port [0-9]'
    port=$(sed -n 's/^the console listens on 127.0.0.1, port //p' "$dir/out")
    clients=
    for client in 1 2 3 4 5 6 7 8; do
        { printf 'timer 60000 timer of %s\r\nmatch (%s) x%s\nfrobnicate%s\n' $client $client $client $client; printf 'quit\n'; } |
            nc -w 60 127.0.0.1 "$port" >"$dir/client$client" &
        clients="$clients $!"
    done
    # shellcheck disable=SC2086
    wait $clients
    for client in 1 2 3 4 5 6 7 8; do
        for pattern in "^gatewayd> timer [1-8] runs once" "^group 1 from 1 to 2: '$client'" "no command 'frobnicate$client'"; do
            grep -q "$pattern" "$dir/client$client" || fail "client $client: no '$pattern' in $(cat "$dir/client$client")"
        done
        ! grep -q "frobnicate[^$client]" "$dir/client$client" || fail "client $client has the answers of another"
    done
    # another gatewayd logs in there
    if command -v telnet >/dev/null; then
        printf 'telnet 127.0.0.1 %s - - frobnicate remotely\ntelnet 127.0.0.1\n' "$port" | "$@" >"$dir/telnet" 2>&1 || fail "telnet: status $?"
        [ "$(grep -A1 "^no command 'frobnicate', try 'help'$" "$dir/telnet" | tail -n 1)" = "gatewayd ends: end of input" ] ||
            fail "telnet: $(cat "$dir/telnet")"
    fi
    mkfifo "$dir/typed"
    nc 127.0.0.1 "$port" <"$dir/typed" >"$dir/client" &
    client=$!
    exec 3>"$dir/typed"
    printf 'link up\n' >&3
    await '^link 1 is connecting'
    kill -TERM $daemon
    wait $daemon || fail "console: status $?"
    exec 3>&-
    wait $client
    grep -q 'link 1 is connecting' "$dir/client" || fail "the client doesn't see the link"
    grep -q '^gatewayd ends: Terminated' "$dir/client" || fail "the client doesn't see the end"
fi
refuse --console "^gatewayd: '70000' is no port" "$@" --console 70000

# the reports show a blocked loop and a contended lock while they last; SIGTERM cuts both short, a second one does no harm
start "$@" --loop config
printf 'block 600\nlock 600\n' >&3
await 'thread Lock holder holds the lock'
for pattern in 'waiting for [1-9][0-9]* s' '! Config: EVENT LOOP IS BLOCKED'; do
    await "$pattern" "printf 'threads\\nloops\\nwait 500\\n' >&3; sleep 1"
done
expect reports '^Lock holder (' '^ - waiting for mutex 0x' 'Lock holder ([0-9]*) is holding the mutex' '^Thread backtraces:'
kill -TERM $daemon
kill -TERM $daemon 2>/dev/null
wait $daemon || fail "SIGTERM: status $?"
exec 3>&-
expect SIGTERM '^gatewayd ends: Terminated'

# command lines
"$@" --help </dev/null >"$dir/out" 2>&1 || fail "--help: status $?"
expect --help '^usage: gatewayd'
for wrong in --no-such-option '--loop nowhere' '--name' 'argument'; do
    # shellcheck disable=SC2086
    refuse "$wrong" "Try 'gatewayd --help'" "$@" $wrong
done
"$@" --name probe --stderr </dev/null >"$dir/out" 2>&1 || fail "--stderr: status $?"
expect --stderr '^probe\[[0-9]*\]: ends: end of input'

[ $failures -eq 0 ] && echo "gatewayd: all as expected"
exit $failures
