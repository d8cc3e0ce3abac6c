#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Runs both commands of the README on a fresh machine: a minimal Debian of this machine's release, with all updates and
# nothing that a developer installs. It gets what is committed; of a tree without git, the files that are there.
# Ends as a step of release-check.sh does. What the commands printed is in build/release-check/fresh-machine.*.log.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh build
source scripts/release/common.sh

scripts/bootstrap.sh release || could_not "debootstrap cannot be installed"
machine=$out/fresh-machine
release=$(debian_release)
trap 'exit 130' INT

# archives: the archive, its updates and its security updates, from where this machine gets them.
archives() {
  apt-get indextargets --format 'deb $(REPO_URI) $(CODENAME) main' 'Origin: Debian' 'Created-By: Packages' |
    grep -E " $release(-updates|-security)? main$" | sort -u
}

tree() {
  if [ -e .git ] && command -v git >/dev/null; then git archive HEAD; else scripts/files.sh | tar -c -T -; fi
}

make_machine() {
  make_system "$machine" || return 1
  as_root tee "$machine/etc/apt/sources.list" <<<"$archives"
  inside "$machine" apt-get -q update && inside "$machine" env DEBIAN_FRONTEND=noninteractive apt-get -q -y dist-upgrade
}

# try_command SCRIPT: one line of result. Counts in `failed`.
failed=0
try_command() {
  local log=$out/fresh-machine.$1.log began=$SECONDS result=passed
  inside "$machine" "/root/sigkit/scripts/$1.sh" >"$log" 2>&1 </dev/null || result="FAILED, see $log"
  ! grep -aqE '\*\*\*(Skipped|Not Run)' "$log" || result="SKIPPED tests, see $log"
  echo "scripts/$1.sh: $((SECONDS - began)) s, $result"
  [ "$result" = passed ] || { failed=$((failed + 1)) && tail -n 30 "$log" >&2; }
}

archives=$(archives) || true
[ "$(wc -l <<<"$archives")" -eq 3 ] || could_not "apt does not know where this machine gets Debian's updates from"
log=$out/fresh-machine.system.log
make_machine >"$log" 2>&1 || could_not "no fresh machine could be made, see $log"
as_root mkdir "$machine/root/sigkit"
tree | as_root tar -x --no-same-owner -C "$machine/root/sigkit"
try_command demo
seen=$(inside "$machine" dpkg-query -W -f '${Package} ${Version}, ' openssl libssl-dev g++ cmake || true)
seen="Debian $(inside "$machine" cat /etc/debian_version), ${seen%, }"
echo "$seen"
try_command test
[ "$failed" -eq 0 ] || fail "$failed of the README's two commands failed on a fresh machine"
as_root rm -rf --one-file-system "$machine"
echo "$seen: both commands of the README pass"
