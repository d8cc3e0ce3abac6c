#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

# Boots the system in a directory, with its systemd as the first process, and ends with that one's exit status. It has
# processes, mounts, a network and a control group of its own; of the kernel, which it shares, it can set nothing.
# Usage: boot.sh DIRECTORY
source "$(dirname "$0")/../common.sh"

program=$root/scripts/release/units/boot.sh
tree=$1
group=${3:-sigkit-units-$$}

# The group is mounted from outside, because systemd takes the root of what it sees for its own.
mount_group() {
  mount -t cgroup2 cgroup2 "$tree/sys"
  group_directory=$tree/sys$(sed -n 's/^0:://p' /proc/self/cgroup)/$group
}

# What https://systemd.io/CONTAINER_INTERFACE wants.
mount_system() {
  local node
  mount --bind "$tree" "$tree"
  cd "$tree"
  mount -t proc proc proc
  mount --bind proc/sys proc/sys
  mount -o remount,bind,ro proc/sys
  mount -t sysfs -o ro sysfs sys
  mount -t cgroup2 cgroup2 sys/fs/cgroup
  mount -t tmpfs -o mode=755 tmpfs run
  mount -t tmpfs -o mode=755 tmpfs dev
  mkdir dev/pts dev/shm
  mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts
  mount -t tmpfs -o mode=1777 tmpfs dev/shm
  for node in null zero full random urandom tty; do
    cp -a "/dev/$node" dev
  done
  ln -s pts/ptmx dev/ptmx
  ln -s /proc/self/fd dev/fd
}

case ${2:-} in
  '')
    status=0
    confined "$program" "$tree" group "$group" || status=$?
    confined "$program" "$tree" remove "$group"
    exit "$status"
    ;;
  group)
    mount_group
    mkdir "$group_directory"
    echo 0 >"$group_directory/cgroup.procs"
    umount "$tree/sys"
    exec unshare --cgroup --net --ipc --uts "$program" "$tree" system
    ;;
  system)
    mount_system
    pivot_root . .
    umount -l .
    mount --make-rshared . # else what systemd mounts for a unit from a process of its own is not seen here
    exec chroot . setpriv --bounding-set=-sys_module,-sys_rawio,-sys_time \
      env -i container=other PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd
    ;;
  remove)
    mount_group
    find "$group_directory" -depth -type d -exec rmdir {} +
    ;;
esac
