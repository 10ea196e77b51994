# Sourced by the scripts: where the tree is, and small helpers.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

say() { printf '%s\n' "$*" >&2; }
die() {
    say "$*"
    exit 1
}

# configure_and_build PRESET [TARGET...]: quiet on success; what the tools print lies in build/PRESET/build.log.
configure_and_build() {
    local preset=$1 log
    shift
    log=$root/build/$preset/build.log
    mkdir -p "$(dirname "$log")"
    if ! (cd "$root" && cmake --preset "$preset" && cmake --build --preset "$preset" --parallel "$jobs" \
        ${1:+--target "$@"}) >"$log" 2>&1; then
        { grep -E -A12 'error|Error|FAILED' "$log" || tail -n 40 "$log"; } | head -n 80 >&2 || true
        say "building '$preset' failed; all output: $log"
        return 1
    fi
}
