# A simulated BMC with the sensors and the event log of a capture, for check_bmc, in the current folder.
export IPMI_PASSWORD=secret
exec 9<>/dev/null
simulator=

# Lets ipmi_sim have a free port of the loopback; "reader" may do no more than read.
write_configuration() {
    port=$((20000 + RANDOM % 20000))
    while grep -q ":$(printf %04X $port) " /proc/net/udp; do port=$((20000 + RANDOM % 20000)); done
    cat >lan.conf <<END
name "bmc"
set_working_mc 0x20
startlan 1
  addr 127.0.0.1 $port
  priv_limit admin
  allowed_auths_user none md2 md5 straight
  allowed_auths_operator none md2 md5 straight
  allowed_auths_admin none md2 md5 straight
  guid a123456789abcdefa123456789abcdef
endlan
user 2 true "admin" "secret" admin 10 none md2 md5 straight
user 3 true "reader" "secret" user 10 none md2 md5 straight
END
}

# Sensor data records into commands; a threshold sensor is well up to 0xd0, and its thresholds are 16 apart.
sdr_commands() {
    od -An -v -tu1 -w1 "$1" | awk -v with_records="$2" '
        function hex(i) { return sprintf("0x%02x", byte[i]) }
        { byte[n++] = $1 }
        END {
            for (at = 0; at < n; at += 5 + byte[at + 4]) {
                record = "main_sdr_add 0x20"
                for (i = at; i < at + 5 + byte[at + 4]; i++) record = record " " hex(i)
                if (with_records) print record
                if (byte[at + 3] > 3 || seen[byte[at + 7]]++) continue
                type = byte[at + 3] == 3 ? at + 10 : at + 12
                sensor = "0x20 0 " hex(at + 7)
                thresholds = byte[type + 1] == 1
                states = thresholds ? "000111111111111" : "111111111111111"
                print "sensor_add", sensor, hex(type), hex(type + 1)
                if (thresholds) print "sensor_set_threshold", sensor, "settable 111111 0xf0 0xe0 0xd0 0x03 0x02 0x01"
                print "sensor_set_event_support", sensor, "enable scanning per-state", states, states, states, states
            }
        }'
}
sel_commands() { od -An -v -tx1 -w16 "$1" | awk '{ printf "sel_add 0x20"; for (i = 3; i <= 16; i++) printf " 0x%s", $i; print "" }'; }

# write_commands SDR SEL: of a start with nothing, and of one that finds what the one before has left
write_commands() {
    local begin='mc_setbmc 0x20\nmc_add 0x20 0 no-device-sdrs 0x23 9 8 0x9f 0x1291 0xf02 persist_sdr\nsel_enable 0x20 3000 0x0a'
    { echo -e "$begin"; sdr_commands "$1" 1; sel_commands "$2"; echo 'mc_enable 0x20'; } >first_start
    { echo -e "$begin"; sdr_commands "$1" 0; echo 'mc_enable 0x20'; } >second_start
    mkdir -p state
}

# Its standard input takes commands and must stay open. It ends by itself, should nobody end it.
start_simulator() {
    rm -f console
    : >simulator.out
    mkfifo console
    exec 9<>console
    timeout 250 ipmi_sim -c lan.conf -f "$1" -s state <&9 >simulator.out 2>&1 &
    simulator=$!
    await mc_enable simulator.out
}
stop_simulator() {
    kill "$simulator"
    wait "$simulator" 2>/dev/null
}
say() { echo "$*" >&9; }
