# What the tests do to a computer of the virtual world. Source it.

log=/run/log

# until_true SECONDS COMMAND...
until_true() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.1
    done
}

# launch NAME COMMAND...: in the background, with a log
launch() {
    local name=$1
    shift
    setsid "$@" >>"$log/$name.log" 2>&1 </dev/null &
    echo $! >"$log/$name.pid"
}

end() {
    local pid
    pid=$(cat "$log/$1.pid") && kill "$pid" 2>/dev/null
    until_true 20 gone "$pid"
}
gone() { ! kill -0 "$1" 2>/dev/null; }

on_bus() { dbus-send --system --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner string:"$1" | grep -q 'boolean true'; }
address_of() { hciconfig "$1" | awk '/BD Address/ { print $3 }'; }

# A controller answers late on a busy machine, and the kernel then gives it up: asked again, it comes.
powered() { hciconfig "$1" | grep -q 'UP RUNNING' || { hciconfig "$1" up; false; }; }

# Whether BlueZ has an adapter, switched on.
known() {
    dbus-send --system --print-reply --dest=org.bluez "/org/bluez/$1" org.freedesktop.DBus.Properties.Get \
        string:org.bluez.Adapter1 string:Powered | grep -q 'boolean true'
}

start_bluez() {
    launch bluetoothd /usr/libexec/bluetooth/bluetoothd -n -C -d
    until_true 30 on_bus org.bluez || { echo "BlueZ does not start"; return 1; }
}

owned() { dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner string:"$1" | grep -q 'boolean true'; }

# start_obexd [OPTION...]; the folder that it serves is /srv/obex
start_obexd() {
    launch obexd /usr/libexec/bluetooth/obexd -n -a -r /srv/obex -P pcsuite "$@"
    # To speak to it before it is there would make the bus start another.
    until_true 20 owned org.bluez.obex ||
        { echo "obexd does not start"; return 1; }
}
# Whether BlueZ shows the record of obexd's file transfer, on its channel.
shows_obexd() { sdptool browse local | grep -q 'Channel: 10$'; }

stop_bluez() { end bluetoothd; }
restart_bluez() {
    start_bluez
    until_true 60 powered hci0 && until_true 30 known hci0
}
stop_obexd() { end obexd; }
