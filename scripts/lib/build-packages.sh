# SPDX-FileCopyrightText: 2026 the lumenfeed developers
# SPDX-License-Identifier: MIT
# shellcheck shell=bash
#
# build_packages ROOT FOLDER OUTPUT [VERSION]: builds the Debian packages of this tree
# inside ROOT, in its FOLDER, and copies them out; with VERSION, as that version.
build_packages() {
  local root=$1 folder=$2 output=$3 version=${4:-}
  mkdir -p "$root$folder/tree" "$output"
  git ls-files -z --cached --others --exclude-standard | tar -c --null --ignore-failed-read -T - | tar -x -C "$root$folder/tree"
  if [ -n "$version" ]; then
    sed -i "1s/([^)]*)/($version)/" "$root$folder/tree/debian/changelog"
  fi
  # shellcheck disable=SC2016  # expanded inside
  root_in "$root" sh -c 'cd "$1/tree" && dpkg-buildpackage -b -uc' sh "$folder" \
    >"$output/build.log" 2>&1 || { tail -40 "$output/build.log" >&2; return 1; }
  cp "$root$folder"/*.deb "$root$folder"/*.changes "$root$folder"/*.buildinfo "$output/"
}
