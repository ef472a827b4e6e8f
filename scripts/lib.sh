# What the scripts of this folder share. Source it; it moves to the top of the project.

set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

jobs=$(nproc)

# By what they are for: building, checking, running, packing.
packages=(
  cmake ninja-build g++-mingw-w64-x86-64-win32 googletest
  clang clang-format clang-tidy python3 doxygen
  wine64 xvfb fonts-liberation fonts-wqy-microhei
  llvm wixl msitools
)

log() { printf '\n==> %s\n' "$*"; }

fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

as_root() {
  if ((EUID == 0)); then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "installing packages takes root or sudo: $*"
  fi
}

is_installed() {
  [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# install_packages [MORE...]: what is not there yet, of the list above and MORE; does nothing,
# without asking for rights, when all is there.
install_packages() {
  local package missing=() wanted=("${packages[@]}" "$@")
  command -v dpkg-query >/dev/null || fail "this machine is no Debian; install by hand: ${wanted[*]}"
  for package in "${wanted[@]}"; do
    is_installed "$package" || missing+=("$package")
  done
  if ((${#missing[@]} == 0)); then
    log "All packages are installed"
    return
  fi
  log "Installing ${missing[*]}"
  as_root apt-get update --quiet
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install --quiet --yes --no-install-recommends "${missing[@]}"
}

# build PRESET [TARGET...]
build() {
  local preset=$1
  shift
  log "Building $preset${*:+: $*}"
  cmake --preset "$preset" -Wno-dev --log-level=NOTICE
  cmake --build --preset "$preset" --parallel "$jobs" ${*:+--target "$@"}
}

# The project's own C++ files: cpp_files NAME_PATTERN...
cpp_files() {
  local pattern names=()
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find . \( -name .git -o -path ./build \) -prune -o -type f \( "${names[@]:1}" \) -print | sort
}
