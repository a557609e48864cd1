#!/usr/bin/env bash
# Installs the Debian 12 packages the build needs, and only those that are
# missing. As root it runs apt-get; otherwise it prints the command to run.
set -euo pipefail

packages=(cmake ninja-build g++ clang libclang-rt-14-dev pkg-config
          libicu-dev libgtest-dev libbenchmark-dev make)

missing=()
for p in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
    if [[ "$status" != "install ok installed" ]]; then
        missing+=("$p")
    fi
done

if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

echo "deps: missing packages: ${missing[*]}"
if [[ $(id -u) -ne 0 ]]; then
    echo "deps: run as root:" >&2
    echo "  apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends ${missing[*]}" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
apt-get update
apt-get install -y --no-install-recommends "${missing[@]}"
