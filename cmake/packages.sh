# The Debian packages that this project needs, and how they get here. Sourced by ./play and ./check.

packages_build="g++ cmake ninja-build pkgconf libavformat-dev libavcodec-dev libavutil-dev libswscale-dev
    libswresample-dev libavfilter-dev libfreetype-dev libx11-dev libsdl2-dev libjsoncpp-dev libsoundtouch-dev libssl-dev libpng-dev libcli11-dev"
packages_play="ffmpeg fonts-dejavu-core ca-certificates"
packages_test="ffmpeg fonts-dejavu-core ca-certificates libgtest-dev libgmock-dev libbenchmark-dev libcpp-httplib-dev
    openssl xvfb clang-14 clang-format-14"

say() {
    printf '%s\n' "$*" >&2
}

# The packages among the arguments that are not installed, on one line.
missing_packages() {
    for package in "$@"; do
        if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            printf '%s ' "$package"
        fi
    done
}

# Runs a command quietly: what it wrote is shown, on stderr, if it fails.
quietly() {
    quiet_log=$(mktemp)
    if "$@" >"$quiet_log" 2>&1; then
        rm -f "$quiet_log"
        return 0
    else
        quiet_result=$?
    fi
    cat "$quiet_log" >&2
    rm -f "$quiet_log"
    say "failed: $*"
    return "$quiet_result"
}

run_apt() {
    DEBIAN_FRONTEND=noninteractive apt-get -q -y -o Dpkg::Use-Pty=0 "$@" </dev/null
}

# Installs what is missing of the packages given. Without root it prints the line to run and ends the script with 1.
need_packages() {
    missing=$(missing_packages "$@")
    missing=${missing% }
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" != 0 ]; then
        say "Missing packages. Run this as root, then again what you ran now:"
        say "apt-get install -y --no-install-recommends $missing"
        exit 1
    fi
    say "installing: $missing"
    # A new system has no package lists, an old one lists of versions that are gone.
    # shellcheck disable=SC2086
    if ls /var/lib/apt/lists/*_Packages* >/dev/null 2>&1 &&
        run_apt install --no-install-recommends $missing >/dev/null 2>&1; then
        return 0
    fi
    quietly run_apt update || exit 1
    # shellcheck disable=SC2086
    quietly run_apt install --no-install-recommends $missing || exit 1
}
