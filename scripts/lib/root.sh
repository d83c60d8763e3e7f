# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
# shellcheck shell=bash
#
# Bare Debian 12 roots, for the checks that need a machine of their own. Sourced; needs root.
#
# Bases are made once with debootstrap and kept in $LUMENFEED_ROOT_CACHE; work happens in an overlay
# over a base, thrown away at the end. What runs in a root has its own processes, so that none is
# left behind.

root_suite=bookworm
root_cache=${LUMENFEED_ROOT_CACHE:-/var/cache/lumenfeed/roots}
root_work=

# Fails early, with what is missing.
root_require() {
  if [ "$(id -u)" -ne 0 ]; then
    echo "$(basename "$0"): only root may make the roots that this check runs in" >&2
    exit 1
  fi
  scripts/install-deps package
}

# root_lend ROOT: the machine's package sources, with its way to them.
root_lend() {
  local root=$1
  rm -f "$root/etc/apt/sources.list"
  cp /etc/apt/sources.list "$root/etc/apt/" 2>/dev/null || true
  cp -r /etc/apt/sources.list.d "$root/etc/apt/"
  apt-config dump | grep -E '^Acquire::(https?|Retries)' >"$root/etc/apt/apt.conf.d/90host" || true
  cp /etc/resolv.conf /etc/hosts "$root/etc/"
  # What is lost with the machine is made again.
  echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/unsafe-io"
  printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
  chmod 755 "$root/usr/sbin/policy-rc.d"
}

# The mirror that this machine takes the release from.
root_mirror() {
  # shellcheck disable=SC2016  # expanded by apt-get
  apt-get indextargets --format '$(REPO_URI)' "Codename: $root_suite" | sort -u | head -1
}

# root_base PACKAGE...: prints the folder of a base with these packages, made if it is not there.
# A package may be of another architecture: NAME:ARCH.
# shellcheck disable=SC2120  # called without a package as well
root_base() {
  local key base bare
  key=$(printf '%s\n' "$root_suite" "$@" | sha256sum | cut -c1-12)
  base=$root_cache/$key
  if [ ! -e "$base.ready" ]; then
    mkdir -p "$root_cache"
    rm -rf "${base:?}"
    if [ $# -eq 0 ]; then
      debootstrap --variant=minbase "$root_suite" "$base" "$(root_mirror)" >"$base.log" 2>&1 ||
        { tail -3 "$base.log" >&2; return 1; }
      root_lend "$base"
    else
      # shellcheck disable=SC2119  # none of our packages are in it
      bare=$(root_base)
      cp -a "$bare" "$base"
      # shellcheck disable=SC2016  # expanded inside
      root_in "$base" env MIRROR="$(root_mirror)" SUITE="$root_suite" sh -ec '
        for package; do
          case $package in *:*) dpkg --add-architecture "${package#*:}"; release_only=1 ;; esac
        done
        # Libraries of two architectures have to be of one version, and updates reach a mirror at
        # different times: the release alone.
        if [ -n "${release_only:-}" ]; then
          rm -rf /etc/apt/sources.list.d/*
          echo "deb $MIRROR $SUITE main" >/etc/apt/sources.list
        fi
        apt-get update -qq -o Acquire::Retries=5
        apt-get install -y -qq --no-install-recommends "$@"' sh "$@" >"$base.log" 2>&1 ||
        { tail -3 "$base.log" >&2; return 1; }
    fi
  fi
  touch "$base.ready"
  echo "$base"
}

# root_in ROOT COMMAND...: in a root, with its own processes and mounts.
root_in() {
  local root=$1
  shift
  # shellcheck disable=SC2016  # expanded inside
  unshare --mount --pid --fork --kill-child sh -euc '
    root=$1; shift
    mount -t proc proc "$root/proc"
    mount -t tmpfs -o mode=755 tmpfs "$root/dev"
    mkdir "$root/dev/pts" "$root/dev/shm"
    mount -t devpts -o ptmxmode=666 devpts "$root/dev/pts"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    for node in null zero full random urandom tty; do
      touch "$root/dev/$node"
      mount --bind "/dev/$node" "$root/dev/$node"
    done
    ln -s /proc/self/fd "$root/dev/fd"
    exec chroot "$root" /usr/bin/env -i HOME=/root LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
      PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
  ' sh "$root" "$@"
}

# root_boot ROOT SCRIPT [NSPAWN-OPTION...]: boots a root in which systemd is, runs its SCRIPT under
# bash as a unit with the broker and the bus there, prints what that says, and returns its status.
root_boot() {
  local root=$1 script=$2 status=0
  shift 2
  cat >"$root/etc/systemd/system/check.service" <<UNIT
[Unit]
After=dbus.socket systemd-sysusers.service
SuccessAction=exit-force
FailureAction=exit-force
[Service]
Type=oneshot
ExecStart=/bin/bash $script
StandardOutput=append:/check.log
StandardError=inherit
[Install]
WantedBy=multi-user.target
UNIT
  mkdir -p "$root/etc/systemd/system/multi-user.target.wants"
  ln -sf ../check.service "$root/etc/systemd/system/multi-user.target.wants/"
  # A network of its own with a loopback interface; this machine's services are not asked.
  timeout --kill-after=10 900 systemd-nspawn --quiet --boot --register=no --keep-unit \
    --private-network --console=pipe -D "$root" "$@" </dev/null >"$root_work/console.log" 2>&1 || status=$?
  cat "$root/check.log"
  [ $status -eq 0 ] || tail -5 "$root_work/console.log" >&2
  return $status
}

# root_over BASE NAME: prints the folder of a fresh root over a base, gone when the script ends.
root_over() {
  local base=$1 layer=$root_work/$2
  mkdir -p "$layer/upper" "$layer/work" "$layer/root"
  mount -t overlay overlay -o "lowerdir=$base,upperdir=$layer/upper,workdir=$layer/work" "$layer/root"
  echo "$layer/root"
}

# root_copy_tree FOLDER: this tree as it is, but for what is built or ignored.
root_copy_tree() {
  git ls-files -z --cached --others --exclude-standard |
    tar -c --null --ignore-failed-read -T - 2>/dev/null | tar -x -C "$1"
}

root_cleanup() {
  local mount
  for mount in "$root_work"/*/root; do
    umount "$mount" 2>/dev/null || true
  done
  rm -rf --one-file-system "$root_work"
}

# root_begin: to be called once, before root_over. Bases that nobody used for long go.
root_begin() {
  local old
  mkdir -p "$root_cache"
  find "$root_cache" -maxdepth 1 -name '*.ready' -mtime +14 | while read -r old; do
    rm -rf --one-file-system "$old" "${old%.ready}.log" "${old%.ready}"
  done
  root_work=$(mktemp -d "$root_cache/work.XXXXXX")
  trap root_cleanup EXIT
}

# root_build_base PACKAGE...: prints a base that debian/control can be built in, and these packages.
root_build_base() {
  local -a needed
  mapfile -t needed < <(sed -n '/^Build-Depends:/,/^$/p' debian/control |
    sed 's/^Build-Depends://; s/([^)]*)//g; s/debhelper-compat/debhelper/' | tr -d ' ,' | grep .)
  root_base build-essential "${needed[@]}" "$@"
}

# root_system_base: prints a base with systemd, a bus and a broker, and the libraries of Debian's that
# programs of this tree want.
root_system_base() {
  root_base systemd-sysv dbus mosquitto libglib2.0-0 libjansson4 libmosquitto1 libsimdjson14
}
