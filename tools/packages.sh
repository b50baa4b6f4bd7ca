# shellcheck shell=bash
# The Debian packages that this project needs, and how the missing ones get onto the machine.
# To be sourced by bash.

# shellcheck disable=SC2034  # the groups are looked up by name
# What each occasion needs.
packages_build=(g++ cmake ninja-build pkg-config libwebkit2gtk-4.1-dev libgtk-3-dev libxext-dev libxfixes-dev
  libxi-dev libxss-dev rapidjson-dev libsoup-3.0-dev libfontconfig-dev libcap-dev libseccomp-dev libgnutls28-dev libpsl-dev
  libicu-dev libpulse-dev)
packages_run=(libegl-mesa0 libgl1-mesa-dri fonts-dejavu-core ca-certificates x11-utils bubblewrap
  xdg-dbus-proxy)
packages_headless=(xvfb imagemagick)
packages_test=(libgtest-dev libgmock-dev libxtst-dev nodejs dbus-daemon openssl python3-minimal python3-selenium
  webkit2gtk-driver python3-dbusmock pulseaudio)
# The library of the benchmarks, and what figures are compared with.
packages_bench=(libbenchmark-dev libsystemd-dev libxtst-dev procps surf)
# For tools/fuzz.
packages_fuzz=(clang libgtest-dev libgmock-dev)
packages_lint=(git clang-format clang-tidy shellcheck)
# Installed along with others, but no reason to stop.
packages_nice=(ccache mkdocs)

# missing_packages NAME...: prints those that are not installed, one a line.
missing_packages() {
  local installed
  # It fails on names that it has never heard of; those are missing, too. The callers stop at failures.
  installed=$(dpkg-query --show --showformat='${db:Status-Abbrev}${Package}\n' "$@" 2>/dev/null) || true
  comm -23 <(printf '%s\n' "$@" | sort -u) <(sed -n 's/^ii //p' <<<"$installed" | sort -u)
}

# install_packages GROUP...: sees to it that the packages of the groups are installed.
install_packages() {
  local group list
  local -a wanted=() missing as_root=()
  for group in "$@"; do
    list="packages_${group}[@]"
    wanted+=("${!list}")
  done
  if ! command -v dpkg-query >/dev/null; then
    printf 'This is not a Debian system. Install by hand what these packages hold, then use cmake:\n  %s\n' \
      "${wanted[*]}" >&2
    return 1
  fi
  mapfile -t missing < <(missing_packages "${wanted[@]}")
  ((${#missing[@]})) || return 0

  mapfile -t -O "${#missing[@]}" missing < <(missing_packages "${packages_nice[@]}")
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      printf 'Packages are missing, and installing them takes root. As root, run this, then try again:\n  apt-get install --no-install-recommends %s\n' \
        "${missing[*]}" >&2
      return 1
    fi
    as_root=(sudo)
  fi
  printf 'Installing %s\n' "${missing[*]}" >&2
  as_root+=(env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300)
  # One package source that does not answer may be one that is not needed: installing decides.
  "${as_root[@]}" -qq update >&2 || printf 'The package lists could not all be brought up to date.\n' >&2
  if ! "${as_root[@]}" -qq -o Dpkg::Use-Pty=0 install --yes --no-install-recommends "${missing[@]}" \
    </dev/null >&2; then
    printf 'The packages above could not be installed. Once this works, try again:\n  apt-get install --no-install-recommends %s\n' \
      "${missing[*]}" >&2
    return 1
  fi
}
