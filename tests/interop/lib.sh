# For the scripts of this folder: a scratch folder, a device of ours, and checks that scripts/count-results counts.

bin=$BTFTP_BUILD_DIR/bin
work=$(mktemp -d "${TMPDIR:-/tmp}/btftp-interop.XXXXXX")
failures=0
pids=""

finish() {
    for pid in $pids; do kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null; done
    rm -rf "$work"
}
trap finish EXIT

# check "what" COMMAND...: passes when the command does
check() {
    what=$1
    shift
    if "$@"; then
        echo "PASS   : $what"
    else
        echo "FAIL!  : $what"
        failures=$((failures + 1))
    fi
}

need() {
    if ! command -v "$1" >/dev/null; then
        echo "SKIP   : $1 is not installed"
        exit 0
    fi
}

# serve FOLDER [OPTION...]: starts our device on a folder; $port is where
serve() {
    folder=$1
    shift
    "$bin/velmaro-demo-device" --folder "$folder" "$@" >"$work/device.out" 2>&1 &
    pids="$pids $!"
    port=
    for _ in $(seq 200); do
        port=$(sed -n 's/^listening .*:\([0-9]*\)$/\1/p' "$work/device.out")
        [ -n "$port" ] && return 0
        sleep 0.05
    done
    echo "FAIL!  : our device does not start"
    exit 1
}

absent() { [ ! -e "$1" ]; }
fails() { ! "$@"; }

# exits_with CODE COMMAND...
exits_with() {
    expected=$1
    shift
    "$@"
    [ $? -eq "$expected" ]
}
