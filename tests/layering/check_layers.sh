#!/usr/bin/env bash
# check_layers.sh TOP: holds every include of the tree against src/layers.txt and prints `file:line: fault` for each
# that points up, for each file that no layer claims, and for each that goes round the exported interface.
set -euo pipefail
cd "$1"

mapfile -t files < <(find src include tools -type f \
    ! -name CMakeLists.txt ! -name '*.md' ! -path src/layers.txt 2>/dev/null | sort)
[ ${#files[@]} -gt 0 ] || { echo "no files below $1" >&2; exit 1; }

awk '
function fault(text) { printf "%s:%d: %s\n", FILENAME, FNR, text; faults++ }

# The layer of a path below src/ or include/emantle/, or 0.
function layer_of(path,    p, best, length_of_best) {
    best = 0; length_of_best = 0
    for (p in layer)
        if (index(path, p) == 1 && length(p) > length_of_best) { best = layer[p]; length_of_best = length(p) }
    return best
}

function below_root(path) { sub(/^src\//, "", path); sub(/^include\/emantle\//, "", path); return path }

function folder_of(path) { sub(/[^\/]*$/, "", path); return path }

# The file of this tree that an include names, or "" where it is none of ours.
function resolve(name, quoted) {
    if (name ~ /^emantle\//) return "include/" name
    if (quoted && (folder_of(FILENAME) name) in ours) return folder_of(FILENAME) name
    if (("src/" name) in ours) return "src/" name
    return ""
}

BEGIN { for (i = 2; i < ARGC; i++) ours[ARGV[i]] = 1 }

FILENAME == ARGV[1] {
    if ($0 ~ /^[ \t]*(#|$)/) next
    name[++layers] = $1
    for (i = 2; i <= NF; i++) layer[$i] = layers
    next
}

FNR == 1 {
    is_tool = FILENAME ~ /^tools\//
    is_public = FILENAME ~ /^include\//
    own = is_tool ? 0 : layer_of(below_root(FILENAME))
    if (!is_tool && !own) fault("no layer of src/layers.txt claims this file")
}

/^[ \t]*#[ \t]*include[ \t]*["<]/ {
    quoted = $0 ~ /include[ \t]*"/
    split($0, parts, /["<>]/)
    target = parts[2]

    if (target ~ /(^|\/)\.\.\//) { fault("\"" target "\": name it from the root instead of climbing"); next }

    from_system = target ~ /^(unistd|fcntl|dirent|dlfcn|pthread|poll|netdb|sched|pwd|termios|spawn)\.h$/ ||
                  target ~ /^(sys|net|netinet|arpa|linux)\//
    if (from_system && !is_tool && FILENAME !~ /^src\/platform\//) { fault("<" target ">: only src/platform/ talks to the system"); next }

    resolved = resolve(target, quoted)
    if (resolved == "") next
    if (is_tool) {
        if (resolved ~ /^src\//) fault("\"" target "\": the tool stands on <emantle/...> alone")
        next
    }
    if (is_public && resolved ~ /^src\//) { fault("\"" target "\": a public header includes an internal one"); next }

    theirs = layer_of(below_root(resolved))
    if (own && theirs > own) fault("\"" target "\": " name[own] " includes from " name[theirs] ", which stands above it")
}

END { exit faults > 0 }
' src/layers.txt "${files[@]}"
