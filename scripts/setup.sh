# Sourced by ./run, ./test and .ci/run from the top of the tree: packages, configuring, building.

packages=(
    g++ cmake ninja-build pkg-config ccache
    libboost-dev libre2-dev libsleef-dev libtiff-dev libcairo2-dev libcli11-dev nlohmann-json3-dev
    qt6-base-dev
    libgtest-dev libgmock-dev libbenchmark-dev
)

fail()
{
    printf '%s: %s\n' "$0" "$1" >&2
    exit 1
}

# step WHAT COMMAND...: runs the command and says in one line what failed.
step()
{
    local what=$1
    shift
    "$@" || fail "$what failed (exit status $?)"
}

missing_packages()
{
    local installed
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null |
        sed -n 's/^installed //p') || true
    comm -23 <(printf '%s\n' "${packages[@]}" | sort) <(printf '%s\n' "$installed" | sort)
}

install_packages()
{
    command -v dpkg-query >/dev/null || return 0 # not Debian: configuring says what it cannot find
    local missing
    mapfile -t missing < <(missing_packages)
    [ ${#missing[@]} -gt 0 ] || return 0
    [ "$(id -u)" = 0 ] || fail "these packages are missing; install them as root: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    step "apt-get update" apt-get -qq update </dev/null >&2
    step "Installing ${missing[*]}" apt-get -qq -y --no-install-recommends install "${missing[@]}" </dev/null >&2
}

# build PRESET [TARGET...]: the preset is configured where it never was or has changed since; ninja does the rest.
build()
{
    local preset=$1 folder=build/$1
    shift
    if [ ! -f "$folder/build.ninja" ] || [ CMakePresets.json -nt "$folder/build.ninja" ]; then
        step "Configuring $folder" cmake --preset "$preset" >&2
    fi
    step "Building $folder" ninja -C "$folder" "$@" </dev/null >&2
}
