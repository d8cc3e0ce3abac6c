#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# What boot.sh's system does, as root, in the directory of this script: at its first boot it installs both units by
# their documents and tries them, at its second it looks whether the server has come back by itself.
# Usage: trial.sh BOOT
set -euo pipefail
cd "$(dirname "$0")"

server=http://127.0.0.1:3161
reserved_in=/var/lib/pkgsign-serve/clock
seconds_max=30 # for whatever a unit does

fail() {
  echo "$*" >&2
  exit 1
}

# until_true COMMAND...: waits for what comes about by itself.
until_true() {
  local end=$((SECONDS + seconds_max))
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || fail "not within $seconds_max seconds: $*"
    sleep 0.2
  done
}

# run_document FILE HEADING DIRECTORY: runs the commands below a heading that no test runs, those to install something.
run_document() {
  awk -v heading="$2" '
    /^```/ { is_open = !is_open; is_wanted = is_open && is_below && $0 == "```"; next }
    !is_open && /^#/ { is_below = $0 == heading }
    is_wanted' "$1" >document.sh
  [ -s document.sh ] || fail "$1 has no commands below '$2'"
  (cd "$3" && bash -eux) <document.sh
}

property() { systemctl show --value --property "$2" "$1"; }
has() { [ "$(property "$1" "$2")" = "$3" ]; }

# journal UNIT: what the unit has said since this was asked last.
journal() {
  journalctl --sync
  journalctl -q -o cat -u "$1" --cursor-file "$1.cursor"
}

# exec_start FILE: the command of a unit, in one line.
exec_start() { sed -e ':again' -e '/\\$/{N;s/\\\n *//;b again' -e '}' "$1" | sed -n '/^ExecStart=/p'; }

# drop_in UNIT NAME LINE...: adds lines to the section of the service, as `systemctl edit` does.
drop_in() {
  local directory=/etc/systemd/system/$1.service.d name=$2
  shift 2
  mkdir -p "$directory"
  printf '%s\n' '[Service]' "$@" >"$directory/$name.conf"
  systemctl daemon-reload
}

# without_limit: the starts until now count no more, as the documents say.
without_limit() { systemctl reset-failed pkgsign-serve; }

# ---- Hardening -----------------------------------------------------------------------------------------------------

# check_status FILE USER: the status of a process that has another user's rights and no more.
check_status() {
  local id
  id=$(id -u "$2")
  grep -Eqx "Uid:\s+$id\s+$id\s+$id\s+$id" "$1" || fail "$1: another user than $2"
  [ "$(grep -Ec '^Cap(Inh|Prm|Eff|Bnd|Amb):\s+0{16}$' "$1")" -eq 5 ] || fail "$1: there are capabilities"
  grep -Eqx 'NoNewPrivs:\s+1' "$1" || fail "$1: new privileges can be had"
  grep -Eqx 'Seccomp:\s+2' "$1" || fail "$1: system calls are not filtered"
}

# check_probe FILE [ATTEMPT...]: of what the probe has attempted, this was allowed and nothing else. How much was not is
# in `refused`.
check_probe() {
  local said=$1 name word
  shift
  refused=0
  while read -r name; do
    word=refused
    [[ " $* " != *" $name "* ]] || word=allowed
    grep -qx "attempt $name $word" "$said" || fail "$said: '$name' is not $word"
    [ "$word" = allowed ] || refused=$((refused + 1))
  done <attempts
}

# check_apart FILE NAMESPACE...: the probe was in others of these namespaces than the system.
check_apart() {
  local said=$1 kind
  shift
  for kind in "$@"; do
    grep -q "^namespace $kind:" "$said" || fail "$said: no namespace $kind"
    ! grep -qxF "namespace $(readlink "/proc/1/ns/$kind")" "$said" || fail "$said: the namespace $kind is the system's"
  done
}

# What the probe attempts is there and allowed to a user whom no unit confines.
prepare_probe() {
  local marker
  for marker in /tmp /home /dev; do
    install -m 644 /dev/null "$marker/marker"
  done
  install -d -m 1777 /srv/everybody
  ip address add 192.0.2.1/32 dev lo
  useradd --system --no-create-home nobody-special
  setpriv --reuid nobody-special --regid nobody-special --clear-groups /usr/libexec/probe >unconfined.txt
  sed -n 's/^attempt \(.*\) \(allowed\|refused\)$/\1/p' unconfined.txt >attempts
  # shellcheck disable=SC2046 # words
  check_probe unconfined.txt $(cat attempts)
  echo "attempts: $(wc -l <attempts)"
}

# ---- The timestamp server ------------------------------------------------------------------------------------------

answers_health() { curl -s -o health.json "$server/health"; }

# token: asks for one; the time in it, if there is one, is in `given`.
token() {
  curl -s -o answer -H 'Content-Type: application/timestamp-query' --data-binary @request.tsq "$server/" || return 1
  given=$(time_in answer)
  [ -n "$given" ]
}

time_in() { grep -aoE '20[0-9]{12}Z' "$1" | head -n 1; } # the first in a token is its own

# not_back: no time was given before one that had been given.
not_back() {
  [[ ! $given < $last ]] || fail "time has gone back from $last to $given"
  last=$given
}

reserved() { date -u -d "$(cat "$reserved_in")" +%Y%m%d%H%M%SZ; }
main_process() { property pkgsign-serve MainPID; }

make_authority() {
  mkdir serve
  install -m 600 /dev/stdin serve/secret <<<'a long passphrase'
  pkgsign init serve/tsa --only timestamp --root pki/certificates/root.pem --passphrase-file serve/secret
  pkgsign issue --pki pki --as timestamp --name tsa --request serve/tsa/certificates/timestamp.csr
  pkgsign import pki/certificates/issuing-ca.pem pki/certificates/tsa.pem --pki serve/tsa
  cp documents/examples/pkgsign-serve.service serve
}

make_package() {
  mkdir -p package
  echo 'firmware image' >package/firmware.bin
  pkgsign crl --pki pki --out crls.der
  pkgsign checksums package --package-version 2 --out package/checksums
  pkgsign sign package/checksums --pki pki --crl crls.der --no-timestamp --out untimed.cms
  pkgsign timestamp untimed.cms --request request.tsq
}

# A kernel whose clock nobody keeps does not vouch for it, and this system cannot change that: the unit gives no tokens
# until it is told, as the document says, not to ask. That it can ask is seen by the error that the kernel admits.
ask_for_the_clock() {
  until_true answers_health
  ! grep -q '"error": 0\.0,$' health.json || fail "the kernel cannot be asked for its clock"
  if grep -q '"isSynchronised": true' health.json; then
    echo "clock: this kernel vouches for its clock"
    return
  fi
  ! token || fail "a token was given, and the kernel does not vouch for its clock"
  grep -aq 'not synchronised' answer || fail "the answer does not say why"
  drop_in pkgsign-serve clock ExecStart= \
    "$(exec_start serve/pkgsign-serve.service | sed 's/ --max-clock-error [^ ]*//')"
  systemctl restart pkgsign-serve
  echo "clock: this kernel does not vouch for its clock, so tokens were given without --max-clock-error"
}

stamp_package() {
  until_true token
  last=$given
  pkgsign sign package/checksums --pki pki --crl crls.der --tsa-url "$server" --out package/checksums.cms
  verify_tool -f CHECK_PKG_INTEGRITY -e package/checksums -h package/checksums.cms -c crls.der
  journal pkgsign-serve | tee requests
  grep -q granted requests || fail "the journal has no line of the request"
}

check_server_confined() {
  local process
  process=$(main_process)
  cp "/proc/$process/status" serve.status
  check_status serve.status pkgsign
  findmnt -N "$process" -n -o OPTIONS / | grep -E '^ro(,|$)' || fail "the file system can be written"
  [ "$(stat -c '%U %a' "$reserved_in")" = 'pkgsign 600' ] || fail "others can read or write the clock's file"
  drop_in pkgsign-serve probe ExecStartPre=/usr/libexec/probe
  journal pkgsign-serve >/dev/null
  without_limit
  systemctl restart pkgsign-serve
  until_true answers_health
  journal pkgsign-serve >serve.probe
  check_status serve.probe pkgsign
  check_probe serve.probe send-here set-priority read-kernel-clock
  echo "refused to the server: $refused"
  check_apart serve.probe mnt user
  rm /etc/systemd/system/pkgsign-serve.service.d/probe.conf
  systemctl daemon-reload
}

# A request of which half has come is answered, and then the server ends.
stop_under_way() {
  local half=20 ended
  exec 3<>/dev/tcp/127.0.0.1/3161
  printf '%s\r\n' 'POST / HTTP/1.1' 'Host: authority' 'Content-Type: application/timestamp-query' \
    "Content-Length: $(stat -c %s request.tsq)" '' >&3
  head -c "$half" request.tsq >&3
  sleep 1
  systemctl stop --no-block pkgsign-serve
  until_true has pkgsign-serve ActiveState deactivating
  tail -c +$((half + 1)) request.tsq >&3
  cat <&3 >answer
  exec 3>&-
  given=$(time_in answer)
  [ -n "$given" ] || fail "what was under way was not finished"
  not_back
  until_true has pkgsign-serve ActiveState inactive
  ended=$(systemctl show -p Result -p ExecMainCode -p ExecMainStatus pkgsign-serve | sort | xargs)
  [ "$ended" = 'ExecMainCode=1 ExecMainStatus=0 Result=success' ] || fail "it has ended with $ended"
  [[ ! $(reserved) < $last ]] || fail "the clock's file lies behind a token"
}

restart() {
  without_limit
  systemctl start pkgsign-serve
  until_true token
  not_back
  systemctl restart pkgsign-serve
  until_true token
  not_back
}

kill_server() {
  local ahead
  ahead=$(reserved)
  without_limit
  systemctl kill --kill-whom main --signal KILL pkgsign-serve
  until_true has pkgsign-serve NRestarts 1
  until_true token
  not_back
  [[ ! $given < $ahead ]] || fail "after a kill time began at $given, and may have come to $ahead before"
}

# A start that fails is tried once more and no further. The reason is in the journal, and after a mend the server can be
# started.
start_with_wrong_key() {
  local key=/etc/pkgsign/pki/private/timestamp.key reason='the private key is not the one that the certificate is for'
  mv "$key" timestamp.key
  install -m 600 -o pkgsign -g pkgsign pki/private/signer.key "$key"
  without_limit
  systemctl restart pkgsign-serve
  until_true has pkgsign-serve SubState failed # no further start is planned
  journalctl --sync
  [ "$(journalctl -u pkgsign-serve -o cat | grep -c "$reason")" -eq 2 ] ||
    fail "it has not failed twice, for this reason"
  mv timestamp.key "$key"
  without_limit
  systemctl start pkgsign-serve
  until_true token
  not_back
}

try_server() {
  make_authority
  make_package
  run_document documents/release.md '### As a service' serve
  ask_for_the_clock
  stamp_package
  check_server_confined
  stop_under_way
  restart
  kill_server
  start_with_wrong_key
  echo "$last" >last
}

# ---- The update step -----------------------------------------------------------------------------------------------

# spool DIRECTORY: a package as somebody leaves it.
spool() {
  rm -rf /var/spool/update
  mkdir -p /var/spool/update
  cp -r "$1" /var/spool/update/package
  cp crls.der /var/spool/update
}

# expect_refused REASON PATTERN...: the package in the spool is not handed over, and the journal says why.
expect_refused() {
  local before pattern
  before=$(wc -l <installed)
  ! systemctl start update || fail "the package is not refused"
  has update Result exit-code || fail "another result: $(property update Result)"
  journal update | tee update.journal
  for pattern in "$@"; do
    grep -q -- "$pattern" update.journal || fail "the journal does not say '$pattern'"
  done
  [ "$(wc -l <installed)" -eq "$before" ] || fail "a refused package was handed over"
}

# What stands in for the device's own: it takes the package away, as the unit wants it.
make_installer() {
  cat >/usr/libexec/install-package <<END
#!/bin/sh
set -eu
cp "\$1/firmware.bin" $PWD
echo "\$(id -u) \$(cat "\$1/../version")" >>$PWD/installed
rm -r /var/spool/update/package
END
  chmod 755 /usr/libexec/install-package
}

hand_over() {
  systemctl start update
  [ "$(cat installed)" = '0 version 2' ] || fail "the package was not handed over once: $(cat installed)"
  cmp package/firmware.bin firmware.bin
  systemctl start update # there is no package
  [ "$(wc -l <installed)" -eq 1 ] || fail "the package was handed over again"
}

# The program that takes the step's place is the probe.
check_update_confined() {
  spool package
  drop_in update probe ExecStart= "$(exec_start update/update.service | sed 's|/bin/true|/usr/libexec/probe|')"
  systemctl start update
  journal update >update.probe
  check_status update.probe update
  check_probe update.probe
  echo "refused to the update step: $refused"
  check_apart update.probe mnt user ipc net
  rm -r /etc/systemd/system/update.service.d
  systemctl daemon-reload
}

try_update() {
  cp pki/certificates/root.der crls.der update
  make_installer
  run_document update/README.md '## Under systemd' update
  spool package
  hand_over

  cp -r package altered
  echo more >>altered/firmware.bin
  spool altered
  expect_refused 'firmware.bin is not as it was signed'
  sed 's/2$/3/' package/checksums >altered/checksums
  spool altered
  expect_refused 'the package is not authentic'
  journalctl -q -t update -t verify_tool >why # as the document says
  grep 'update\[.*the package is not authentic' why || fail "the journal has no line of the step by its name"
  grep 'verify_tool\[.*ERROR' why || fail "the journal has no line of verify_tool by its name"
  check_update_confined
}

# ---- Boots ---------------------------------------------------------------------------------------------------------

trap '[ $? -eq 0 ] || journalctl --no-pager -n 60' EXIT
case $1 in
  first)
    systemctl --version | head -n 1
    prepare_probe
    try_server
    try_update
    ;;
  second)
    last=$(cat last)
    until_true token
    not_back
    ;;
esac
