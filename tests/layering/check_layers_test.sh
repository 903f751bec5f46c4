#!/usr/bin/env bash
# check_layers_test.sh SCRATCH: a tree with one fault of each kind, and the lines that the check prints for it.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
rm -rf "$1"
mkdir -p "$1"
cd "$1"

put() { mkdir -p "$(dirname "$1")" && printf '%s\n' "${@:2}" >"$1"; }

put src/layers.txt '# a comment' 'low low/' '' 'mid mid/' 'high high/ mid/late' 'host low/host'
put src/low/base.h '#include <vector>'
put src/low/base.cpp '#include "base.h"' '#include <emantle/low/base.h>'
put src/low/climbs.cpp '' '#include "mid/middle.h"'
put src/low/host/all.cpp '#include "high/top.h"' '#include <emantle/mid/late.h>'
put src/mid/middle.h '#include "low/base.h"'
put src/mid/early.cpp '#  include <emantle/mid/late.h>'
put src/mid/late.cpp '#include "high/top.h"' '#include <unistd.h>'
put src/mid/dots.cpp '#include "../low/base.h"'
put src/high/top.h '#include "mid/middle.h"'
put src/platform/stray.cpp '#include <unistd.h>'
put include/emantle/low/base.h '#include <stdint.h>'
put include/emantle/mid/late.h '#include "low/base.h"'
put tools/emantle/main.cpp '#include "output.h"' '#include <emantle/low/base.h>' '#include "low/base.h"'
put tools/emantle/output.h '#include <unistd.h>'

if bash "$here/check_layers.sh" . >found; then
    echo "the check passes a tree full of faults"
    exit 1
fi
diff - found <<'END'
include/emantle/mid/late.h:1: "low/base.h": a public header includes an internal one
src/low/climbs.cpp:2: "mid/middle.h": low includes from mid, which stands above it
src/mid/dots.cpp:1: "../low/base.h": name it from the root instead of climbing
src/mid/early.cpp:1: "emantle/mid/late.h": mid includes from high, which stands above it
src/mid/late.cpp:2: <unistd.h>: only src/platform/ talks to the system
src/platform/stray.cpp:1: no layer of src/layers.txt claims this file
tools/emantle/main.cpp:3: "low/base.h": the tool stands on <emantle/...> alone
END

rm include/emantle/mid/late.h src/low/climbs.cpp src/mid/{dots,early,late}.cpp src/platform/stray.cpp
put tools/emantle/main.cpp '#include "output.h"'
bash "$here/check_layers.sh" . || { echo "the check finds fault with a tree that has none"; exit 1; }
