#!/usr/bin/env bash
# Installs the Debian packages Ulvex needs, when missing. Uses sudo only when
# not already root.
#
#   tools/install-deps.sh            what building and running need (make build, make run)
#   tools/install-deps.sh --tests    the same, plus what the tests add (make test)
#   tools/install-deps.sh --list [--tests]
#                                    prints the packages, one a line, and installs nothing
#
# Someone who only wants to look at wetting patterns gets the program and what
# it runs on; the servers that only the tests use (the print server, the
# cluster scheduler and its authentication daemon, which Debian starts when it
# installs them) come with --tests alone.
set -euo pipefail

# Building and running: compiler and build tools, Qt (widgets, SQL, SVG,
# printing), Eigen and SQLite for the solver and the builder, a font.
run_packages=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev libqt6svg6 libqt6sql6-sqlite qt6-qpa-plugins
  libgl-dev libeigen3-dev libsqlite3-dev
  fonts-dejavu-core
)

# The tests add: the sqlite3 shell, a virtual display for screenshots, the PDF
# tools that read printed pages, a print server to print to, GNU parallel and
# a local Slurm cluster for the sharded builds.
test_packages=(
  sqlite3
  xvfb xauth poppler-utils
  cups-daemon cups-client
  parallel slurmctld slurmd slurm-client munge
)

tests=0
list=0
for arg in "$@"; do
  case "$arg" in
    --tests) tests=1 ;;
    --list) list=1 ;;
    *) echo "install-deps.sh: unknown option $arg (use --tests, --list)" >&2; exit 2 ;;
  esac
done

packages=("${run_packages[@]}")
if [ "$tests" -eq 1 ]; then
  packages+=("${test_packages[@]}")
fi

if [ "$list" -eq 1 ]; then
  printf '%s\n' "${packages[@]}"
  exit 0
fi

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
