# What the transcripts use beside the usual commands. The test sets $fectl, $send and $captures.
export LC_ALL=C
server=
trap '[ -z "$server" ] || kill -KILL "$server" 2>/dev/null' EXIT

fectl() { $fectl "$@"; }
send() { $send "$@"; }

# The bytes given in hexadecimal.
bytes() { env printf "$(printf '\\x%s' "$@")"; }

# event SENSOR_TYPE SENSOR_NUMBER DIRECTION_AND_EVENT_TYPE EVENT_DATA_1 [TIME [GENERATOR]]: a SEL record; all have the
# same id, as the ids of a log may repeat, unless $id is another.
event() { bytes ${id:-07} 00 02 ${5:-00 ca 9a 3b} ${6:-20} 00 04 "$1" "$2" "$3" "$4" ff ff; }

# sensor NAME NUMBER ENTITY INSTANCE SENSOR_TYPE EVENT_TYPE [OWNER]: an event-only sensor data record
sensor() {
    bytes 01 00 51 03 $(printf %02x $((12 + ${#1}))) ${7:-20} 00 $2 $3 $4 $5 $6 00 00 00 00 $(printf %02x $((192 + ${#1})))
    printf %s "$1"
}

# Waits for a line, up to a time that only a hang reaches.
await() {
    for _ in $(seq 2000); do
        grep -q -- "$1" "$2" && return
        sleep 0.05
    done
    echo "$2 has no line '$1'"
    return 1
}

# A server in this folder, its output in "out" and "err".
serve() {
    : >err
    $fectl serve --file-dir . "$@" >out 2>err &
    server=$!
    await '^ready: ' err
}
stop() {
    kill -"$1" $server
    wait $server
}

print_failure() { [ "$1" = 0 ] || echo "[exit $1]"; }
