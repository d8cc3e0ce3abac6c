#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Both examples of systemd units do their work under a real systemd, installed as their documents say, and are confined
# as they claim to be: in a minimal Debian that is booted for it. units/trial.sh has what is tried.
source "$(dirname "$0")/common.sh"

scripts/bootstrap.sh release || could_not "debootstrap cannot be installed"
machine=$out/units-machine
trial=$out/units-trial
seconds_max=180 # of a boot

# prepare: what the trial needs, in a directory that becomes /root/trial.
prepare() {
  rm -rf "$trial"
  mkdir -p "$trial"
  cp -rL "$pki" "$trial/pki"
  cp -r docs "$trial/documents"
  cp -r docs/examples/update "$trial/update"
  make -C "$trial/update"
  cc -std=c11 -O2 -Wall -Wextra -Werror -o "$trial/probe" scripts/release/units/probe.c
  cp scripts/release/units/trial.sh "$trial"
  cat >"$trial/trial@.service" <<END
[Unit]
After=multi-user.target
SuccessAction=exit
FailureAction=exit

[Service]
Type=oneshot
ExecStart=/root/trial/trial.sh %i
TimeoutStartSec=$((seconds_max - 20))
StandardOutput=append:/root/trial/log
StandardError=inherit
END
}

# Without a bus there is nothing for logind to do but to fail.
install_trial() {
  as_root cp -r "$trial" "$machine/root/trial"
  as_root install -t "$machine/usr/bin" "$out"/static-root/usr/bin/{pkgsign,verify_tool,crl_compare}
  as_root install -D -t "$machine/usr/libexec" "$trial/probe"
  as_root install -m 644 -t "$machine/etc/systemd/system" "$trial/trial@.service"
  as_root ln -s /dev/null "$machine/etc/systemd/system/systemd-logind.service"
}

# boot NAME: boots the system, which ends when it has run this part of the trial.
boot() {
  local status=0 wants=$machine/etc/systemd/system/multi-user.target.wants
  as_root mkdir -p "$wants"
  as_root ln -s /etc/systemd/system/trial@.service "$wants/trial@$1.service"
  timeout --signal KILL "$seconds_max" scripts/release/units/boot.sh "$machine" || status=$?
  as_root cat "$machine/root/trial/log"
  as_root rm "$wants/trial@$1.service" "$machine/root/trial/log"
  [ "$status" -eq 0 ] || fail "the $1 boot ends with $status"
}

static_tree
prepare
make_system "$machine" --include=curl,iproute2,libcurl4,libmicrohttpd12,libssl3,systemd ||
  could_not "no system with systemd could be made"
install_trial
boot first | tee "$out/units.first"
boot second
as_root rm -rf --one-file-system "$machine"
# seen TEXT: what follows it in the log.
seen() { sed -n "s/^$1//p" "$out/units.first"; }
echo "systemd $(seen 'systemd '): both units do their work as their documents install them; of $(seen 'attempts: ')" \
  "things that other services may do the server is refused $(seen 'refused to the server: ') and the update step" \
  "$(seen 'refused to the update step: '); time never goes back, whether the server is restarted, killed or booted;" \
  "$(seen 'clock: ')"
