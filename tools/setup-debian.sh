#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks to build, test and run Kinetra Statistics.
set -euo pipefail
packages=(g++ cmake ninja-build pkg-config libgtest-dev libbenchmark-dev libfftw3-dev libexpat1-dev
          libnlopt-dev qt6-base-dev qt6-svg-dev libgl1-mesa-dev fontconfig fonts-dejavu-core
          fonts-liberation poppler-utils snakemake)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
