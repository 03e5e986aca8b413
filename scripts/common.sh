# Shared by the scripts of this folder: source it, do not run it.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\033[1m==>\033[0m %s\n' "$*" >&2; }
# Without colours where nobody would see them.
if [ -n "${NO_COLOR:-}" ] || [ ! -t 2 ]; then
    say() { printf '==> %s\n' "$*" >&2; }
fi
die() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# Names that Debian 12 and 13 share.
build_packages=(
    cmake ninja-build g++
    qtbase5-dev libqt5opengl5-dev libqt5xmlpatterns5-dev
    libgles-dev libegl-dev libgl-dev libgl1-mesa-dri
    zlib1g-dev
)
# What single programs need, which are left out without it, and what makes the viewer faster.
companion_packages=(libembree-dev libtbb-dev libstb-dev robin-map-dev libgoogle-perftools-dev)
# A screen for machines without one: to show the viewer on, and for the tests of windows.
screen_packages=(xvfb openbox x11-utils imagemagick)
test_packages=(xdotool glslang-tools libbenchmark-dev wmctrl python3 desktop-file-utils git)

# missing_packages <package>...: prints those that are not installed.
missing_packages() {
    local package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

# as_root <command>...: through sudo where need be.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        say "To be run as root: $*"
        return 1
    fi
}

# is_packaged <package>: whether the distribution has it.
is_packaged() {
    compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null || as_root apt-get update -qq
    apt-cache show "$1" >/dev/null 2>&1
}

# apt_install <package>...: says why it could not.
apt_install() {
    if ! command -v apt-get >/dev/null; then
        say "These Debian packages are needed and there is no apt-get to install them: $*"
        return 1
    fi
    say "Installing: $*"
    as_root apt-get update -qq || { say "apt-get update failed"; return 1; }
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" >/dev/null
}

# install_packages <package>...: installs those that are missing.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -eq 0 ] || apt_install "${missing[@]}" || die "could not install: ${missing[*]}"
}

# install_companions: installs what is missing and to be had of companion_packages, after everything else.
install_companions() {
    local package missing=()
    for package in $(missing_packages "${companion_packages[@]}"); do
        if is_packaged "$package"; then
            missing+=("$package")
        else
            say "Going on without $package, which this system does not have"
        fi
    done
    [ ${#missing[@]} -eq 0 ] || apt_install "${missing[@]}" || say "Going on without ${missing[*]}"
}

# build <preset> [target...]: configures and builds.
build() {
    local preset=$1
    shift
    local targets=()
    [ $# -gt 0 ] && targets=(--target "$@")
    say "Building (preset $preset) in build/$preset"
    (cd "$root" && cmake --preset "$preset" >/dev/null &&
        cmake --build --preset "$preset" "${targets[@]}" >&2) || die "the build failed"
}

# start_screen <width>x<height>: starts a virtual screen with a window manager and points DISPLAY at it.
# stop_screen ends both; it is called on exit. The first start on a new system takes a while: it lists all fonts.
start_screen() {
    local number_file
    number_file=$(mktemp)
    Xvfb -displayfd 3 -screen 0 "${1}x24" -dpi 96 -nolisten tcp 3>"$number_file" >/dev/null 2>&1 &
    screen_pid=$!
    trap stop_screen EXIT
    for _ in $(seq 600); do
        [ -s "$number_file" ] && break
        sleep 0.1
    done
    [ -s "$number_file" ] || die "the virtual screen did not start"
    DISPLAY=:$(tr -d '\n' <"$number_file")
    export DISPLAY
    rm -f "$number_file"
    openbox --sm-disable >/dev/null 2>&1 &
    window_manager_pid=$!
    for _ in $(seq 600); do
        xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && return
        sleep 0.1
    done
    die "the window manager did not start"
}

stop_screen() {
    [ -n "${window_manager_pid:-}" ] && kill "$window_manager_pid" 2>/dev/null
    [ -n "${screen_pid:-}" ] && kill "$screen_pid" 2>/dev/null
    wait 2>/dev/null
    return 0
}
