#!/bin/bash
# How long a whole run of velguid takes, as it is installed with its properties file, catalogs and code-set
# tables, beside uuidgen and a C program that prints a line. It is installed for that, so it wants a private
# host: tests/support/scratch-host bench/start.sh BUILD [REPORT.json]
set -euo pipefail

build=$1
DESTDIR=/opt/staged cmake --install "$build" >/dev/null
mv /opt/staged/opt/velmar /opt/velmar
velguid=/opt/velmar/guid/bin/velguid
"$velguid" -Quiet -Create
hyperfine -N --warmup 200 --runs 3000 --style basic ${2:+--export-json "$2"} \
    --command-name velguid "$velguid -Show" --command-name quiet "$velguid -Quiet -Show" \
    --command-name uuidgen uuidgen --command-name hello "$build/bin/hello"
