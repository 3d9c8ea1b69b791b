# Speed beside other clients, on the same link in the same run: 1 MB each way, medians of five rounds. Ours and the OBEX
# daemon's client: the transfer alone. obexftp cannot be had without its start and connecting, so beside it stands our
# command-line client with its own.
. /given/world.sh
pair_both
mkdir -p /tmp/speed && cd /tmp/speed || exit 1
head -c 1048576 /dev/urandom >local
cp local /srv/obex/mega
export HOME=/tmp/speed XDG_CONFIG_HOME=/tmp/speed LD_LIBRARY_PATH=/given/lib VELMARO_SETTINGS=/tmp/speed/settings.ini

now() { date +%s%3N; }
# timed NAME COMMAND...: NAME and the milliseconds, into the list
timed() {
    local name=$1 start
    shift
    start=$(now)
    timeout 120 "$@" >/dev/null 2>&1
    echo "$name $(($(now) - start))" >>times
}
# link L2CAP: what our programs may use
link() { printf '[BLUETOOTH]\nL2cap=%s\n' "$1" >settings.ini; }
ours_alone() {
    timeout 120 /given/bench/bench_bluetooth "$1" local mega |
        awk '{ print "sdk-" $1 "-" $2, $3 }' >>times
}
daemon_alone() { # over L2CAP, or RFCOMM when a channel is said
    timeout 120 python3 /given/bluez.py obex "$OURS" "$THEIRS" $2 get mega /tmp/speed/got put /tmp/speed/local mega.put |
        awk -v link="$1" '/done in/ { printf "obexd-%s-%s %d\n", link, $1, $4 * 1000 }' >>times
}
pairs_alone() { # in this order or the other
    if [ $(($1 % 2)) = 0 ]; then
        ours_alone l2cap
        daemon_alone l2cap
        ours_alone rfcomm
        daemon_alone rfcomm channel=10
    else
        daemon_alone l2cap
        ours_alone l2cap
        daemon_alone rfcomm channel=10
        ours_alone rfcomm
    fi
}
pairs_with_start() {
    link 0
    rm -f mega
    timed obexftp-get obexftp -b "$THEIRS" -B 10 -g mega
    cmp -s mega local || echo "FAIL!  : obexftp did not get the file"
    timed vmrl-ftp-get /given/bin/vmrl-ftp -q "$THEIRS" get mega got
    cmp -s got local || echo "FAIL!  : vmrl-ftp did not get the file"
    timed obexftp-put obexftp -b "$THEIRS" -B 10 -p local
    timed vmrl-ftp-put /given/bin/vmrl-ftp -q "$THEIRS" put local ours
    cmp -s /srv/obex/ours local || echo "FAIL!  : vmrl-ftp did not put the file"
}
# The first round is not counted: the emulated processor translates each program when it meets it first.
for round in 0 1 2 3 4 5; do
    pairs_alone $round
    pairs_with_start
    echo "round $round: $(tail -n 12 times | paste -sd,)"
    [ $round -gt 0 ] || rm times
done
echo "milliseconds for 1 MB, medians of five (all rounds)"
cut -d' ' -f1 times | sort -u | while read -r name; do
    all=$(awk -v n="$name" '$1 == n { print $2 }' times | sort -n | paste -sd' ')
    echo "$name $(echo "$all" | awk '{ print $int((NF + 1) / 2) }') ($all)"
done
echo "PASS   : speed measured"
