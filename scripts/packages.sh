#!/usr/bin/env bash
# Installs what the build needs and is missing. With "test": also what the tests need; "bench": the benchmarks.
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config liblog4cplus-dev libboost-dev libtbb-dev libpugixml-dev
    libsqlite3-dev libfmt-dev libcli11-dev rapidjson-dev zlib1g-dev)
for set in "$@"; do
    case "$set" in
    test) packages+=(libgtest-dev libgmock-dev) ;;
    bench) packages+=(libbenchmark-dev) ;;
    check) packages+=(clang-format-14 clang-tidy-14 python3) ;;
    *) echo "packages.sh: unknown set '$set' (known: test, bench, check)" >&2; exit 2 ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

run=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "packages.sh: run as root, or install: ${missing[*]}" >&2; exit 1; }
    run=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq >&2
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
