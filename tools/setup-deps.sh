#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing the console need, or with
# arguments just the packages named. Only what is missing is installed, with sudo when not root.
# usage: tools/setup-deps.sh [PACKAGE...]
set -euo pipefail

packages=(
    # build
    cmake ninja-build g++ pkg-config
    qtbase5-dev qtbase5-dev-tools libqt5websockets5-dev qtmultimedia5-dev libqt5svg5-dev
    qttools5-dev qttools5-dev-tools qtkeychain-qt5-dev libfontconfig-dev
    # run: sound playback, Qt's own translations, TLS tooling for the local service
    libqt5multimedia5-plugins gstreamer1.0-plugins-good qttranslations5-l10n openssl
    # headless runs and screenshots, formatting check
    xvfb xauth clang-format
    # the local service's check with the official JavaScript SDK (tests/sdk)
    nodejs
    # the visitor page's check in a headless browser (tests/browser)
    chromium
)
# NodeSource's nodejs bundles npm and conflicts with Debian's npm package.
if ! command -v npm >/dev/null 2>&1; then
    packages+=(npm)
fi

if [ "$#" -gt 0 ]; then
    packages=("$@")
fi

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
