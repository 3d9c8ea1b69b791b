# Brings up Bluetooth in the virtual machine, and stands in for what a desktop has: buses, an agent, an OBEX daemon.
# Source it. Afterwards OURS and THEIRS are the addresses of the two ends; pair_both pairs them.

mkdir -p /run/log /run/dbus /srv/obex

# No test has begun yet: it is the emulation that failed.
die() {
    echo "SKIP   : the Bluetooth of the virtual machine: $*"
    tail -n 15 $log/*.log
    exit 1
}

. /given/control.sh

for module in bluetooth rfcomm bnep hci_vhci uhid; do modprobe $module || die "no module $module"; done
dbus-uuidgen --ensure
dbus-daemon --system --fork --nopidfile || die "no system bus"
DBUS_SESSION_BUS_ADDRESS=$(dbus-daemon --session --fork --nopidfile --print-address) || die "no session bus"
export DBUS_SESSION_BUS_ADDRESS

# A controller whose first answers come too late, as on a busy machine, is given up by the kernel for good: then anew.
controllers() {
    local adapter
    launch btvirt btvirt -l2
    until_true 20 test -e /sys/class/bluetooth/hci1 || return 1
    for adapter in hci0 hci1; do
        until_true 15 alive $adapter || return 1
    done
}
alive() { hciconfig "$1" | grep 'BD Address' | grep -qv '00:00:00:00:00:00'; }
# In the layout of two kernels the one controller is emulated outside.
outer_controller() {
    launch bridge python3 bridge.py
    until_true 30 grep -q ready $log/bridge.log && until_true 15 alive hci0
}
adapters="hci0 hci1"
emulation=btvirt
start_emulation=controllers
if [ "$LAYOUT" = two ]; then
    adapters=hci0
    emulation=bridge
    start_emulation=outer_controller
fi
for attempt in 1 2 3 4; do
    $start_emulation && break
    echo "The emulated controllers did not start, attempt $attempt."
    end $emulation
    until_true 10 test ! -e /sys/class/bluetooth/hci0
done
for adapter in $adapters; do
    alive $adapter || die "no emulated controller"
done
start_bluez || die "no BlueZ"
for adapter in $adapters; do
    until_true 60 powered $adapter || die "$adapter does not start"
done
for adapter in $adapters; do
    until_true 30 known $adapter || die "BlueZ does not know $adapter"
done
export OURS=$(address_of hci0) THEIRS=$(address_of hci1)
if [ "$LAYOUT" = two ] && [ "$SCRIPT" != other.sh ]; then
    until_true 200 test -e /both/theirs || die "the other computer does not start"
    THEIRS=$(cat /both/theirs)
fi
launch agent python3 bluez.py agent
until_true 30 grep -q ready $log/agent.log || die "no agent"
for adapter in $adapters; do
    dbus-send --system --print-reply --dest=org.bluez /org/bluez/$adapter org.freedesktop.DBus.Properties.Set \
        string:org.bluez.Adapter1 string:DiscoverableTimeout variant:uint32:0 >/dev/null
    dbus-send --system --print-reply --dest=org.bluez /org/bluez/$adapter org.freedesktop.DBus.Properties.Set \
        string:org.bluez.Adapter1 string:Discoverable variant:boolean:true >/dev/null
done

# pair_both: obexd first, so that the other end offers something when its services are asked for
pair_both() {
    local attempt paired=
    start_obexd "$@" || die "no obexd"
    until_true 30 shows_obexd || die "obexd offers nothing"
    for attempt in 1 2 3; do
        timeout 100 python3 bluez.py pair "$OURS" "$THEIRS" && paired=yes && break
    done
    [ -n "$paired" ] || die "no pairing"
    echo "up after $(cut -d' ' -f1 /proc/uptime) s: $OURS and $THEIRS are paired"
}
