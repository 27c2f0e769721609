# shellcheck shell=bash disable=SC2034 # the stories use what stands here
# What the stories of a node share: a simulated array with its targets, and looks at what lies where.
set -euo pipefail

readonly SERIAL=2102350000
readonly SETTINGS=/etc/product-storage STATE=/var/lib/product-storage LOG=/var/log/product-storage
readonly ARRAY=127.0.0.1 TARGET=127.0.0.5

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# show COMMAND...: as a person would see it.
show() {
    printf '$ %s\n' "$*"
    "$@"
}

# same WHAT EXPECTED FOUND
same() { [ "$2" = "$3" ] || fail "$1: expected '$2', found '$3'"; }

there() { local each; for each in "$@"; do [ -e "$each" ] || fail "there is no $each"; done; }
gone() { local each; for each in "$@"; do { [ ! -e "$each" ] && [ ! -L "$each" ]; } || fail "$each is there"; done; }

# What the story's line "# Needs:" names.
install_needed() {
    local needs
    read -r -a needs <<<"$(sed -n 's/^# Needs: //p' "$0")"
    apt-get install -qq -y --no-install-recommends "${needs[@]}" >/dev/null
}

# Packages by their file names up to the version, from /packages; what they need was downloaded before.
install_packages() {
    local files=() each
    for each in "$@"; do files+=(/packages/"$each"_*.deb); done
    show apt-get install -qq -y --no-install-recommends "${files[@]}"
}

start_array() { # the folder of zavsim-target
    "$1/zavsim-target" start --folder /srv/targets $TARGET
    zavsim --listen "https://$ARRAY:8088" --service $TARGET --luns 20 --serial $SERIAL --ca /srv/ca \
        >/srv/zavsim.log 2>&1 &
    for _ in {1..300}; do
        ! grep -q "listening on" /srv/zavsim.log || return 0
        sleep 0.1
    done
    fail "zavsim does not listen: $(cat /srv/zavsim.log)"
}

admin() { curl -sS --fail --cacert /srv/ca/ca.pem "https://$ARRAY:8088/zavsim/$1" "${@:2}"; }

# The objects of the array that this node may have made, one to a line.
objects() {
    admin objects | jq -r '["host", "hostgroup", "lungroup", "mappingview"][] as $kind | .[$kind][]? | "\($kind) \(.id) \(.name)"'
}

# What was asked of the array since the last call but reading and logging in and out.
changes() {
    admin journal | jq -r '.entries[] | select(.method != "GET" and (.target | test("^/zavsim/|/sessions") | not)) |
        .method + " " + .target' || return
    admin journal -X DELETE >/dev/null
}

# nothing_further WHAT: nothing was changed since, but for the initiator, which each run tells the array of.
nothing_further() {
    local all
    all=$(changes) || fail "$1: the array does not tell what it was asked"
    same "$1" "" "$(grep -v -e /iscsi_initiator -e '^$' <<<"$all")"
}

# The settings that a node of this array needs, in the configuration file $1; the stand-in of iscsiadm lies in $2.
configure() {
    sed -i -e 's|^CaFile =.*|CaFile = /srv/ca/ca.pem|' -e 's|^TrustStore =.*|TrustStore = /srv/ca/ca.pem|' \
        -e "s|^Path =.*|Path = $2|" "$1"
}

# write_environment FILE ZAVCTL
write_environment() {
    local cipher
    cipher=$(printf 'zavsim-admin\n' | "$2" password encrypt --new-key)
    cat >"$1" <<TEXT
{
  "managementIps": ["$ARRAY"],
  "userNames": ["admin"],
  "encryptedPasswords": ["$cipher"],
  "certificates": ["array"],
  "ports": [8088],
  "protocols": [0],
  "allManagementIps": ["$ARRAY"]
}
TEXT
    chmod 0600 "$1"
}

# What the record in the file $1 names. A later run marks a host that it finds, which is beside the point here.
recorded() { grep -v DONOTDELETEHOST "$1"; }

mode() { stat -c '%a %U' "$1"; }
