# shellcheck shell=bash disable=SC2154
# The checks of ./test lint. What passed is remembered in build/lint, one stamp per check and file
# that holds the digests of everything the result depends on; a second run looks only at what has
# changed since.

# All C++ files of the project, from its folder on.
all_sources() { find src tests bench fuzz -name '*.h' -o -name '*.cpp' | LC_ALL=C sort; }

# Those that every system compiles. Programs' main.cpp files choose a system.
portable_sources() {
    local folder depth
    for folder in foundation platform platform/fake kit host changes sync backup app frontend; do
        [[ -d src/$folder ]] || continue
        depth=()
        [[ $folder == platform ]] && depth=(-maxdepth 1)
        find "src/$folder" "${depth[@]}" \( -name '*.h' -o -name '*.cpp' \) ! -name main.cpp
    done | LC_ALL=C sort -u
}

# The compile database's sources with their commands: "FILE<tab>COMMAND", each file once.
compiled_sources() {
    awk -v root="$project/" '
        /^ *"command": / { command = $0 }
        /^ *"file": / {
            file = $0
            sub(/^ *"file": "/, "", file)
            sub(/",?$/, "", file)
            if (index(file, root) != 1) next
            file = substr(file, length(root) + 1)
            if (file ~ /^build\// || seen[file]++) next
            print file "\t" command
        }' build/lint/compile_commands.json | LC_ALL=C sort
}

# add_fingerprints CONFIGURATION: reads lines "FILE<tab>ANYTHING", gives "FILE<tab>FINGERPRINT",
# where the fingerprint holds the digests of the file, of all our headers that it includes
# directly or not, of the configuration and of the rest of the line.
add_fingerprints() {
    awk -v configuration="$1" '
        FILENAME == ARGV[1] { digest[substr($0, 67)] = substr($0, 1, 16); next }
        FILENAME == ARGV[2] {
            colon = index($0, ":")
            file = substr($0, 1, colon - 1)
            split(substr($0, colon + 1), quoted, "\"")
            includes[file] = includes[file] "\n" quoted[2]
            next
        }
        function resolved(name) {
            if (("src/" name) in digest) return "src/" name
            return ("tests/" name) in digest ? "tests/" name : ""
        }
        # The work list is a plain array: include cycles and depth do not matter.
        function fingerprint(file,    list, count, at, names, number, i, header, seen, out) {
            list[1] = file; count = 1; seen[file] = 1; out = ""
            for (at = 1; at <= count; at++) {
                out = out " " digest[list[at]]
                number = split(includes[list[at]], names, "\n")
                for (i = 2; i <= number; i++) {
                    header = resolved(names[i])
                    if (header == "" || header in seen) continue
                    seen[header] = 1
                    list[++count] = header
                }
            }
            return out
        }
        {
            tab = index($0, "\t")
            file = tab ? substr($0, 1, tab - 1) : $0
            print file "\t" configuration fingerprint(file) " " substr($0, length(file) + 2)
        }' <(all_sources | xargs -d '\n' sha256sum) \
        <(all_sources | xargs -d '\n' grep -H '^ *# *include *"' || true) -
}

# check_changed NAME FUNCTION CONFIGURATION: reads lines "FILE<tab>ANYTHING" and calls FUNCTION with
# every file that has changed since it passed, several at once. Fails when one of them does.
check_changed() {
    local function=$2 stamps=build/lint/$1 line file stamp changed=() total=0
    mkdir -p "$stamps"
    while IFS= read -r line; do
        total=$((total + 1))
        file=${line%%$'\t'*}
        stamp=$stamps/${file//\//,}
        [[ -f $stamp && $(<"$stamp") == "${line#*$'\t'}" ]] && continue
        rm -f -- "$stamp"
        printf '%s\n' "${line#*$'\t'}" >"$stamp.new"
        changed+=("$file")
    done < <(add_fingerprints "$3")
    say "  ${#changed[@]} of $total files changed since they were last found good."
    [[ ${#changed[@]} -eq 0 ]] && return
    # shellcheck disable=SC2163
    export -f check_one "$function"
    export stamps
    printf '%s\0' "${changed[@]}" |
        xargs -0 -n 1 -P "$(nproc)" bash -c 'check_one "$@"' check_one "$function"
}

# check_one FUNCTION FILE: notes that the file passed, or prints what was found, in one piece.
check_one() {
    local stamp=$stamps/${2//\//,} output
    if output=$("$1" "$2" 2>&1); then
        mv -- "$stamp.new" "$stamp"
    else
        rm -f -- "$stamp.new"
        printf '%s\n' "$output"
        return 1
    fi
}

# The database has g++ as the compiler, whose own flags and precompiled headers clang does not know.
write_tidy_database() {
    mkdir -p build/lint
    sed 's| -Winvalid-pch -include [^ ]*||' build/dev/compile_commands.json \
        >build/lint/compile_commands.json
}

tidy_one() {
    clang-tidy-16 -p build/lint --quiet --extra-arg=-Wno-unknown-warning-option "$1"
}

portable_one() {
    # shellcheck disable=SC2086
    clang++-16 -stdlib=libc++ -std=c++20 -fsyntax-only -x c++ -Isrc $portable_flags \
        -Wno-pragma-once-outside-header "$1"
}

check_format() {
    say "Format: clang-format-16 over all sources."
    all_sources | xargs -d '\n' clang-format-16 --dry-run -Werror
}

check_directions() {
    say "Include directions: every folder includes only what lies below it."
    build/dev/tests/architecture_tests --gtest_brief=1
}

check_tidy() {
    say "clang-tidy-16 over all sources."
    local configuration
    configuration="$(cat .clang-tidy tests/.clang-tidy | sha256sum | cut -c1-16) $(clang-tidy-16 --version | tr -d '\n')"
    write_tidy_database
    compiled_sources | check_changed tidy tidy_one "$configuration"
}

check_portability() {
    say "Portability: clang++-16 with libc++ over the portable folders."
    portable_flags="$(grep -oE -- '-W[a-z][a-z0-9=-]*' cmake/Warnings.cmake | grep -v '^-Wno-' |
        tr '\n' ' ')$(pkg-config --cflags libplist-2.0 pugixml zlib)"
    export portable_flags
    portable_sources | check_changed portability portable_one \
        "$portable_flags $(clang++-16 --version | head -n 1)"
}

run_lint() {
    install_missing build test lint
    build dev architecture_tests
    local check failed=()
    for check in format directions tidy portability; do
        if ("check_$check"); then
            say "  $check: good."
        else
            say "  $check: NOT good, see above."
            failed+=("$check")
        fi
    done
    [[ ${#failed[@]} -eq 0 ]] || fail "Lint failed: ${failed[*]}."
    say "Lint passed."
}
