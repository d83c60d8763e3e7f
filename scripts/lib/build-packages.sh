# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
# shellcheck shell=bash

# build_packages ROOT FOLDER OUTPUT [WRAPPER...]: builds the Debian packages of this tree inside ROOT,
# in its FOLDER, and copies them out. WRAPPER: what env(1) runs the build with.
build_packages() {
  local root=$1 folder=$2 output=$3
  shift 3
  mkdir -p "$root$folder/tree" "$output"
  root_copy_tree "$root$folder/tree"
  # shellcheck disable=SC2016  # expanded inside
  root_in "$root" sh -c 'cd "$1/tree" && shift && env "$@" dpkg-buildpackage -b -uc' \
    sh "$folder" "$@" >"$output/build.log" 2>&1 || { tail -40 "$output/build.log" | cut -c1-300 >&2; return 1; }
  cp "$root$folder"/*.deb "$root$folder"/*.changes "$root$folder"/*.buildinfo "$output/"
}
