# shellcheck shell=bash
# What the stories share. A story is a bash script that sources this file; it fails with the first command that fails.
# shellcheck disable=SC2034  # variables for the stories
set -euo pipefail
export PATH=/opt/bin:$PATH

name=$(basename "$0")
work=/persist/$name
serial=SN$name # of the array
: "${guest:?}" # a or b, from the kernel's command line
node_iqn=iqn.2020-01.local.node:$guest
lan_address=$([ "$guest" = a ] && echo 10.78.0.1 || echo 10.78.0.2) # where the guests meet
meeting=/mnt/host/meeting
target_prefix=iqn.2020-01.example.zavsim:a:b:c:d
product=$work/product
zavctl=$product/bin/zavctl
array='' # process id
array_url=http://127.0.0.3:8088 # as its operator reaches it, without the cost of TLS on an emulated processor
mkdir -p "$work"

# ---- telling and checking ------------------------------------------------------------------------------------------

say() { printf -- '-- %s\n' "$*"; }
measured() { printf 'measured: %s\n' "$*"; }

fail() {
    printf 'story: %s\n' "$*" >&2
    exit 1
}

expect_equal() { # what, expected, actual
    [ "$2" = "$3" ] || fail "$1: expected \"$2\", got \"$3\""
}

expect_has() { # what, part, text
    [[ $3 == *"$2"* ]] || fail "$1: no \"$2\" in \"${3:0:2000}\""
}

expect_lacks() {
    [[ $3 != *"$2"* ]] || fail "$1: there is \"$2\" in \"${3:0:2000}\""
}

wait_until() { # seconds, command
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.1
    done
}

# Runs a command and keeps its status, its outputs and how long it took, in status, out, err and took (seconds).
run() {
    local began=$EPOCHREALTIME
    status=0
    "$@" >/tmp/out 2>/tmp/err || status=$?
    took=$(((${EPOCHREALTIME/./} - ${began/./}) / 100000)) # tenths of a second
    took=$((took / 10)).$((took % 10))
    out=$(tr -d '\0' </tmp/out) err=$(tr -d '\0' </tmp/err)
    printf '$ %s\n%s%s(status %s, %s s)\n' "$*" "${out:+$out$'\n'}" "${err:+$err$'\n'}" "$status" "$took"
}

# What one guest tells, the other hears, within two minutes.
tell() { touch "$meeting/$1"; }
hear() { wait_until 120 test -e "$meeting/$1" || fail "the other guest does not tell \"$1\""; }

# ---- the array -----------------------------------------------------------------------------------------------------

# Starts the array whose LUNs the kernel's target serves, or what the variable data_plane says; the options name its
# service addresses. Its certificates are made once for all stories.
start_array() {
    zavsim --listen https://127.0.0.1:8088 --listen https://127.0.0.2:8088 --listen "$array_url" "$@" \
        --serial "$serial" --luns 32 --ca /persist/ca --state "$work/state.json" --data-plane "${data_plane:-lio}" --data-dir "$work/luns" \
        >"$work/zavsim.log" 2>&1 &
    array=$!
    rm -f "$work/login" # of an operator's session that went with an earlier array
    wait_until 60 array_listens || { cat "$work/zavsim.log"; fail "the array does not start"; }
}

array_listens() { grep -qs "listening on $array_url" "$work/zavsim.log"; }

stop_array() {
    kill "$array"
    wait "$array" || fail "the array ended with $?: $(cat "$work/zavsim.log")"
    array=''
}

admin() { curl -sS --fail "$array_url/zavsim/$1" "${@:2}"; }

# One request of an operator: method, resource, body. Prints the answer's data. The operator stays logged in.
operate() {
    local rest=$array_url/deviceManager/rest login=$work/login answer
    if [ ! -s "$login" ]; then
        answer=$(curl -sS -i -d '{"username":"admin","password":"zavsim-admin","scope":0}' "$rest//sessions")
        [[ $answer =~ Set-Cookie:\ ([^\;]*) ]] || fail "no session: $answer"
        printf 'Cookie: %s\niBaseToken: %s\n' "${BASH_REMATCH[1]}" "$(field iBaseToken "$answer")" >"$login"
    fi
    answer=$(curl -sS -g -H "@$login" -X "$1" "$rest/$serial/$2" ${3:+-d "$3"})
    [[ $answer == *'"error":{"code":0,'* ]] || fail "$1 $2: $answer"
    echo "$answer"
}

# The first text of a name in a line of JSON. A process for each would cost more than what it looks at.
field() { # name, JSON
    [[ $2 =~ \"$1\"\ ?:\ ?\"([^\"]*)\" ]] && echo "${BASH_REMATCH[1]}"
}

objects() { admin objects | jq -c ".$1"; }
ids() { admin objects | jq -r ".$1[].id" | paste -sd ' '; }
wwn_of() { field WWN "$(operate GET "lun/$1")"; }

add_lun() { # LUN, LUN group
    operate POST lungroup/associate '{"ID":"'"$2"'","ASSOCIATEOBJTYPE":"11","ASSOCIATEOBJID":"'"$1"'"}' >/dev/null
}

take_lun() {
    operate DELETE "lungroup/associate?ID=$2&ASSOCIATEOBJTYPE=11&ASSOCIATEOBJID=$1" >/dev/null
}

# Makes an object with a name and prints its id.
made() { field ID "$(operate POST "$1" '{"NAME":"'"$2"'"}')"; }

# Prepares another host on the array for an initiator, as zavctl does for this node; prints its LUN group.
make_host() { # name, initiator's resource, initiator
    local verb=add_iscsi_to_host host group luns view
    [ "$2" = iscsi_initiator ] || verb=add_fc_to_host
    host=$(made host "$1")
    [ -z "$3" ] || {
        operate POST "$2" '{"ID":"'"$3"'"}' >/dev/null
        operate PUT "$2/$verb" '{"ID":"'"$3"'","PARENTID":"'"$host"'"}' >/dev/null
    }
    group=$(made hostgroup "$1")
    luns=$(made lungroup "$1")
    view=$(made mappingview "$1")
    operate POST host/associate '{"ID":"'"$group"'","ASSOCIATEOBJTYPE":"21","ASSOCIATEOBJID":"'"$host"'"}' >/dev/null
    local member
    for member in "14 $group" "256 $luns"; do
        operate PUT mappingview/CREATE_ASSOCIATE '{"ID":"'"$view"'","ASSOCIATEOBJTYPE":"'"${member% *}"'",
            "ASSOCIATEOBJID":"'"${member#* }"'"}' >/dev/null
    done
    echo "$luns"
}

# ---- the node ------------------------------------------------------------------------------------------------------

# The product's folder with its configuration, to which lines in the variable configuration are added, and an environment
# that names the array.
make_product() {
    mkdir -p "$product/bin" "$product/conf"
    cp /opt/bin/zavctl "$zavctl"
    printf '[Http]\nCaFile = /persist/ca/ca.pem\n[Cert]\nTrustStore = /persist/ca/ca.pem\n%s\n' "${configuration:-}" \
        >"$product/conf/backupnode.ini"
    cat >"$work/env.json" <<TEXT
{
  "managementIps": ["127.0.0.1"],
  "userNames": ["admin"],
  "encryptedPasswords": ["$(printf 'zavsim-admin\n' | "$zavctl" password encrypt --new-key)"],
  "certificates": ["array"],
  "ports": [8088],
  "protocols": [0],
  "allManagementIps": ["127.0.0.1", "127.0.0.2"]
}
TEXT
}

init() { run "$zavctl" init --env "$work/env.json"; }

expect_init() {
    init
    expect_equal "zavctl init" 0 "$status"
}

record_file() { echo "$product/conf/$serial-info.conf"; }
record() { field "$1" "$(<"$(record_file)")" || :; }
library_log() { cat "$product"/log/*.log; }

# The very line by which the library asks for the node's sessions.
session_addresses() {
    sh -c "iscsiadm -m  session -P 1 | awk -F ':' '/Target/{printf \$7} /Connection/{print \$2}' | grep LOGGED |awk '{print \$1}'"
}

rescan() { iscsiadm -m session -R >/dev/null; }

# The disks that are the array's LUN: sda, sdb, …
disks_of() { # WWN
    local wwid
    for wwid in /sys/block/sd*/device/wwid; do
        [ ! -e "$wwid" ] || [ "$(cat "$wwid" 2>/dev/null)" != "naa.$1" ] || basename "${wwid%/device/wwid}"
    done
}

has_disk() { [ -n "$(disks_of "$1")" ]; }

# Sees the array's LUN as a disk; its name is put into disk.
expect_disk() { # LUN
    local wwn
    wwn=$(wwn_of "$1")
    wait_until 20 has_disk "$wwn" || fail "there is no disk for LUN $1 ($wwn): $(lsscsi)"
    disk=$(disks_of "$wwn" | head -n 1)
}

# Writes random bytes through a disk and finds them in the LUN's file.
expect_same_bytes() { # disk, LUN, megabytes
    head -c "$3M" /dev/urandom >/persist/random
    dd if=/persist/random of="/dev/$1" bs=1M oflag=direct status=none
    cmp -n $(($3 * 1024 * 1024)) /persist/random "$work/luns/lun-$2" || fail "LUN $2 does not hold what was written"
    blockdev --flushbufs "/dev/$1"
    cmp -n $(($3 * 1024 * 1024)) /persist/random "/dev/$1" || fail "/dev/$1 does not give back what was written"
    rm /persist/random
}

# Takes away the disks that stand for nothing any more, as an operator does after a LUN is gone.
forget_disks() {
    local delete
    for delete in /sys/block/sd*/device/delete; do
        [ ! -e "$delete" ] || echo 1 >"$delete"
    done
}

# ---- the end -------------------------------------------------------------------------------------------------------

# Leaves the node to the next story as it was.
end_story() {
    local result=$? each
    trap - EXIT ERR
    set +e
    library_log >"/mnt/host/log/$name.product" 2>/dev/null
    cp "$work/zavsim.log" "/mnt/host/log/$name.zavsim" 2>/dev/null
    [ -z "${keep:-}" ] || [ $result != 0 ] || exit 0 # for the story after it
    pidof iscsid >/dev/null || iscsid
    iscsiadm -m node -u >/dev/null 2>&1
    iscsiadm -m node -o delete >/dev/null 2>&1
    iscsiadm -m discoverydb -o delete >/dev/null 2>&1
    forget_disks
    [ -z "$array" ] || { kill "$array" && wait "$array"; }
    for each in "${undo[@]}"; do
        $each
    done
    for each in "${started[@]}"; do
        kill -CONT "$each" && kill -KILL "$each"
    done 2>/dev/null
    rm -rf "$work"
    exit $result
}
started=() # further processes that the story started
undo=()    # commands that undo what else it did
trap end_story EXIT
# A command that fails unasked ends the story with its place.
set -E
trap 'printf "story: line %s of %s: %s\n" "$LINENO" "${BASH_SOURCE[0]##*/}" "$BASH_COMMAND" >&2' ERR
