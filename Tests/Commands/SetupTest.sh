#!/usr/bin/env bash
# The behaviour of ./setup on machines other than this one: SetupTest.sh <path of setup> <test>.
# Its commands are stand-ins, so that nothing is installed and each of them can be missing.
set -euo pipefail

machine=$(mktemp -d)
trap 'rm -rf "$machine"' EXIT
mkdir "$machine/bin"
cp "$1" "$machine/setup"
ln -s "$(command -v cat)" "$machine/bin/cat"

has_command() {
    printf '#!%s\n%s\n' "$BASH" "$2" >"$machine/bin/$1"
    chmod +x "$machine/bin/$1"
}
has_apt() {
    has_command apt-get 'echo "run: apt-get $*"'
    has_command env 'echo "run: env $*"'
}
has_packages() { has_command dpkg-query "case \" $1 \" in *\" \${@: -1} \"*) echo installed ;; *) exit 1 ;; esac"; }

# setup's output, then its result, when an ordinary user runs it.
run_setup() {
    local unprivileged=()
    if ((EUID == 0)); then
        chmod -R a+rX "$machine"
        unprivileged=("$(command -v setpriv)" --reuid 65534 --regid 65534 --clear-groups)
    fi
    local result=0
    PATH=$machine/bin "${unprivileged[@]}" "$BASH" "$machine/setup" "$@" 2>&1 || result=$?
    echo "result: $result"
}
expect() {
    if [[ $output != *"$1"* ]]; then
        printf 'expected: %s\nbut it said:\n%s\n' "$1" "$output"
        exit 1
    fi
}
all_packages=$(bash "$1" --help | sed -n "s/^\([a-z][a-z0-9+-]*\)   *.*/\1/p" | tr "\n" " ")

RefusesASystemWithoutApt() {
    output=$(run_setup)
    expect "this system has no apt-get"
    expect "result: 1"
}
RefusesAUserWhoCannotBecomeRoot() {
    has_apt
    has_packages ""
    output=$(run_setup)
    expect "run it as root or install sudo"
    expect "result: 1"
}
InstallsWhatIsMissingThroughSudo() {
    has_apt
    has_packages "${all_packages/cmake /}"
    has_command sudo 'echo "as root:"; "$@"'
    output=$(run_setup)
    expect "setup: cmake is missing: configures the build"
    expect "as root:"$'\n'"run: apt-get update"
    expect "as root:"$'\n'"run: env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends cmake"$'\n'
    expect "result: 0"
}
DoesNothingWhereEverythingIsThere() {
    has_apt
    has_packages "$all_packages"
    output=$(run_setup --peers --lint)
    [[ $output == "setup: every package is there."$'\n'"result: 0" ]] || expect "nothing else"
}
SaysWhichOptionItDoesNotKnow() {
    output=$(run_setup --everything)
    expect "unknown option: --everything"
    expect "result: 1"
}

"$2"
