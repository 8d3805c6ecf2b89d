#!/bin/sh
# Installs the Debian packages that Orvane needs and that this machine lacks.
# Packages already present are left alone; nothing is installed when nothing
# is missing. Needs root (or sudo) only when something has to be installed.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
list="$here/debian-packages.txt"

missing=""
for pkg in $(grep -v '^#' "$list" | sed '/^$/d'); do
  status=$(dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null || true)
  case "$status" in
    "install ok installed") ;;
    *) missing="$missing $pkg" ;;
  esac
done

if [ -z "$missing" ]; then
  echo "bootstrap: all $(grep -cv '^#\|^$' "$list") required Debian packages are installed"
  exit 0
fi

echo "bootstrap: installing missing Debian packages:$missing"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then sudo=sudo; else
    echo "bootstrap: not root and no sudo; install these packages:$missing" >&2
    exit 1
  fi
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
# shellcheck disable=SC2086
$sudo apt-get install -y -q --no-install-recommends $missing
echo "bootstrap: done"
