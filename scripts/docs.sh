#!/usr/bin/env bash
# Makes the reference of the public headers.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/docs.sh

Writes the reference of the public headers to build/docs/html/index.html with Doxygen,
which is installed on Debian 12 when it is missing. A warning of Doxygen's is an error.

  --help   this text
TEXT
}

case "${1-}" in
  "") ;;
  --help)
    usage
    exit
    ;;
  *)
    usage >&2
    exit 64
    ;;
esac

install_packages
mkdir -p build/docs
doxygen docs/Doxyfile
log "The reference: build/docs/html/index.html"
