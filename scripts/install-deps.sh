#!/usr/bin/env bash
# Installs what building and testing the console needs on a Debian 12 machine.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail
PKGS=(
  build-essential cmake pkg-config git ccache
  libncurses-dev libpam0g-dev nlohmann-json3-dev
  libgtest-dev googletest libgmock-dev libbenchmark-dev
  libpam-wrapper libvterm-dev faketime
  openssl openssh-client less
  dialog whiptail
  clang libclang-rt-14-dev
  lintian fakeroot dpkg-dev file systemd groff-base
  strace
  libsystemd-dev libaudit-dev libvirt-dev pci.ids libpam-modules util-linux
  libnl-3-dev libnl-route-3-dev dnsmasq-base dhcpcd-base iproute2 iputils-ping
)
missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
