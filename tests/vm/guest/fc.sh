# shellcheck shell=bash
# FC ports without hardware: each is a port of the kernel's FCoE over one end of a veth pair. The ends whose names begin
# with "i" are the node's, those that begin with "t" the array's. Sourced by the stories that need them.

# Makes the pair number N: node port 20000200000000N1, array port 20000200000000N2, both offline.
make_fc_pair() {
    modprobe -a tcm_fc fcoe
    ip link add "i$1" address "02:00:00:00:00:${1}1" type veth peer name "t$1" address "02:00:00:00:00:${1}2"
    ip link set "t$1" up
    ip link set "i$1" up
    local port
    for port in "t$1" "i$1"; do
        echo "$port" >/sys/bus/fcoe/ctlr_create
        echo vn2vn >"$(fc_controller "$port")/mode"
    done
}

node_port() { echo "20000200000000${1}1"; }
array_port() { echo "20000200000000${1}2"; }

# The controller's folder of a network port.
fc_controller() { readlink -f /sys/class/net/"$1"/ctlr_*; }

fc_host() { # port name
    local host
    for host in /sys/class/fc_host/host*; do
        [ "$(cat "$host/port_name")" != "0x$1" ] || basename "$host"
    done
}

# Joins both ports of a pair to their fabric, and waits until the array sees the node's.
connect_fc() {
    local port
    for port in "t$1" "i$1"; do
        echo 1 >"$(fc_controller "$port")/enabled"
    done
    wait_until 30 is_seen "$(node_port "$1")" || fail "the array does not see $(node_port "$1")"
}

is_seen() { [[ $(admin objects) =~ \"onlinePorts\":\[[^]]*\"$1\" ]]; }
is_not_seen() { ! is_seen "$1"; }

# Takes the node's port off its fabric until both sides have forgotten each other: a remote port that is only blocked
# would keep what it was, and one that was no target would never be looked through for LUNs.
unplug_fc() {
    local port
    for port in $(remote_ports "$1"); do
        echo 1 >"$port/dev_loss_tmo"
    done
    ip link set "i$1" down
    wait_until 90 is_not_seen "$(node_port "$1")" || fail "the array still sees $(node_port "$1")"
    wait_until 30 has_no_remote_ports "$1" || fail "$(node_port "$1") keeps $(remote_ports "$1")"
}

remote_ports() {
    local host
    host=$(fc_host "$(node_port "$1")")
    grep -Ls "Not Present" /sys/class/fc_remote_ports/rport-"${host#host}":*/port_state | xargs -r -n 1 dirname
}
has_no_remote_ports() { [ -z "$(remote_ports "$1")" ]; }

plug_fc() {
    ip link set "i$1" up
    wait_until 30 is_seen "$(node_port "$1")" || fail "the array does not see $(node_port "$1")"
}

# Lets the node's port log in afresh, as it must after the array has come to know it, until it sees a target there.
relogin_fc() {
    unplug_fc "$1"
    plug_fc "$1"
    wait_until 30 sees_target "$1" || fail "$(node_port "$1") sees no target"
}

sees_target() {
    local port
    for port in $(remote_ports "$1"); do
        ! grep -q "FCP Target" "$port/roles" || return 0
    done
    return 1
}

scan_fc() { echo "- - -" >"/sys/class/scsi_host/$(fc_host "$(node_port "$1")")/scan"; }

remove_fc_pairs() {
    local controller
    for controller in /sys/class/net/[it][0-9]/ctlr_*; do
        [ ! -e "$controller" ] || basename "$(dirname "$controller")" >/sys/bus/fcoe/ctlr_destroy
    done
    local pair
    for pair in /sys/class/net/i[0-9]; do
        [ ! -e "$pair" ] || ip link delete "$(basename "$pair")"
    done
}
