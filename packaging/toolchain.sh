# shellcheck shell=bash disable=SC2154
# What ./run and ./test share: installing what is missing, configuring and building.
# Expects `project` to be the folder of the checkout.

say() { printf '%s\n' "$*"; }

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# packages_for SECTION...: the packages listed in those sections, one a line.
packages_for() {
    local section='' line
    while IFS= read -r line; do
        line=${line%%#*}
        line=${line%"${line##*[![:space:]]}"}
        case $line in
            '') ;;
            '['*']') section=${line:1:-1} ;;
            *) [[ " $* " == *" $section "* ]] && printf '%s\n' "$line" ;;
        esac
    done <"$project/packaging/debian-packages"
    return 0
}

# missing_packages PACKAGE...: those that are not installed, one a line.
missing_packages() {
    local installed
    # dpkg-query fails when it knows nothing of one of them; what it knows it has said by then.
    # shellcheck disable=SC2016
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    local package
    for package in "$@"; do
        grep -qxF "installed $package" <<<"$installed" || printf '%s\n' "$package"
    done
}

# as_root COMMAND...: runs it as root; 127 when there is no way to become root.
as_root() {
    if [[ $(id -u) == 0 ]]; then
        "$@"
    elif ! command -v sudo >/dev/null; then
        return 127
    elif [[ -t 0 ]]; then
        sudo "$@"
    else
        sudo -n "$@"
    fi
}

can_become_root() {
    [[ $(id -u) == 0 ]] && return
    command -v sudo >/dev/null && { [[ -t 0 ]] || sudo -n true 2>/dev/null; }
}

# The lists have a lock of their own, for which apt-get does not wait by itself.
update_package_lists() {
    local deadline=$((SECONDS + 300)) output
    until output=$(as_root env DEBIAN_FRONTEND=noninteractive LC_ALL=C apt-get update -q 2>&1); do
        if [[ $output != *'Could not get lock'* || $SECONDS -ge $deadline ]]; then
            printf '%s\n' "$output" >&2
            return 1
        fi
        sleep 3
    done
}

# install_missing SECTION...: installs what is missing of the packages in those sections.
install_missing() {
    local wanted=() missing=()
    mapfile -t wanted < <(packages_for "$@")
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        say "This is no Debian system; it needs what these packages hold: ${wanted[*]}"
        return
    fi
    mapfile -t missing < <(missing_packages "${wanted[@]}")
    [[ ${#missing[@]} -eq 0 ]] && return
    can_become_root || fail "Packages are missing. Please install them first:
    sudo apt-get install ${missing[*]}"
    say "Installing ${#missing[@]} missing packages: ${missing[*]}"
    update_package_lists || fail "The package lists could not be brought up to date."
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends \
        -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null ||
        fail "The packages could not be installed."
}

# configure PRESET: makes build/PRESET unless it is there. Later changes of the build files are
# noticed by ninja; only those of the presets are not.
configure() {
    local folder=$project/build/$1 home=''
    if [[ -f $folder/CMakeCache.txt ]]; then
        home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$folder/CMakeCache.txt")
        if [[ $home != "$project" ]]; then
            say "build/$1 was made for $home; making it anew."
            rm -rf -- "$folder"
        fi
    fi
    [[ -f $folder/build.ninja && ! CMakePresets.json -nt $folder/build.ninja ]] && return
    say "Configuring build/$1."
    cmake --preset "$1" >"$project/build/configure-$1.log" 2>&1 || {
        cat "$project/build/configure-$1.log" >&2
        fail "CMake could not configure the build."
    }
}

# build PRESET [TARGET...]: configures where needed and builds what is out of date.
build() {
    local preset=$1
    shift
    mkdir -p "$project/build"
    configure "$preset"
    say "Building build/$preset${1:+ ($*)}."
    ninja -C "$project/build/$preset" "$@" || fail "The build failed."
}
