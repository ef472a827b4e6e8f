#!/usr/bin/env bash
# Makes the reference of the public headers, and the drawings of the documents.

. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
  cat <<'TEXT'
Usage: scripts/docs.sh

Writes the reference of the public headers to build/docs/html/index.html with Doxygen,
which is installed on Debian 12 when it is missing, as is Graphviz. A warning of Doxygen's
is an error. Draws docs/drawings/*.dot anew into docs/images.

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

install_packages graphviz
for drawing in docs/drawings/*.dot; do
  dot -Tsvg "$drawing" -o "docs/images/$(basename "$drawing" .dot).svg"
done
mkdir -p build/docs
doxygen docs/Doxyfile
log "The reference: build/docs/html/index.html"
