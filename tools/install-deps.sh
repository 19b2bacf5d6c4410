#!/usr/bin/env bash
# Installs the Debian packages Ulvex needs to build, test and run, when missing.
# Uses sudo only when not already root.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev libqt6svg6 libqt6sql6-sqlite qt6-qpa-plugins
  libgl-dev libeigen3-dev libsqlite3-dev sqlite3
  xvfb xauth poppler-utils fonts-dejavu-core
  cups-daemon cups-client
  parallel slurmctld slurmd slurm-client munge
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  SUDO="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
