# All the tests, or those that TESTS names, in either layout.
. /given/world.sh
pair_both
# What both computers have to see.
scratch=/tmp
[ "$LAYOUT" = two ] && scratch=/both

# each PROGRAM: with settings and a home of its own
each() {
    local home
    home=$(mktemp -d)
    mkdir -p "$home/run" "$home/config/velmaro"
    chmod 700 "$home/run"
    HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data XDG_RUNTIME_DIR=$home/run \
        TMPDIR=$scratch VELMARO_SETTINGS=$home/config/velmaro/settings.ini BTFTP_BUILD_DIR=/given QT_QPA_PLATFORM=offscreen \
        LD_LIBRARY_PATH=/given/lib QTEST_FUNCTION_TIMEOUT=280000 timeout 500 "/given/tests/$1" ${2:+"$2"} 2>&1
    local code=$?
    if [ $code -gt 120 ]; then echo "FAIL!  : $1 ended with $code"; fi
}

for name in ${TESTS:-client server window}; do
    each "tst_bluetooth_${name%%:*}" "$(echo "$name:" | cut -d: -f2)"
done
[ "$LAYOUT" = two ] && touch /both/end
exit 0
