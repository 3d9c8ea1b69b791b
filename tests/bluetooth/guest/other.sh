# The other computer of the layout of two kernels: BlueZ and an OBEX daemon of its own; does what it is told through the
# folder that both see, until that holds the file "end".
. /given/world.sh
start_obexd || die "no obexd"
until_true 30 shows_obexd || die "obexd offers nothing"
echo "$OURS" >/both/theirs.new
mv /both/theirs.new /both/theirs
while [ ! -e /both/end ]; do
    for command in /both/*.command; do
        [ -e "$command" ] || continue
        name=${command%.command}
        mv "$command" "$name.taken"
        (
            eval "timeout 110 /given/here $(cat "$name.taken")" >"$name.output" 2>&1 </dev/null
            echo $? >"$name.code.new"
            mv "$name.code.new" "$name.code"
        ) &
    done
    sleep 0.1
done
