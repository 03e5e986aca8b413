# Shared by the scripts of this folder: source it, do not run it.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\033[1m==>\033[0m %s\n' "$*" >&2; }
# Without colours where nobody would see them.
if [ -n "${NO_COLOR:-}" ] || [ ! -t 2 ]; then
    say() { printf '==> %s\n' "$*" >&2; }
fi
die() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

build_packages=(
    cmake ninja-build g++
    qtbase5-dev libqt5opengl5-dev libqt5xmlpatterns5-dev
    libgles-dev libegl-dev libgl-dev libgl1-mesa-dri
    robin-map-dev zlib1g-dev libgoogle-perftools-dev
    libembree-dev libtbb-dev libstb-dev
)
# A screen for machines without one: to show the viewer on, and for the tests of windows.
screen_packages=(xvfb openbox x11-utils imagemagick)
test_packages=(xdotool glslang-tools libbenchmark-dev wmctrl python3 desktop-file-utils)

# install_packages <package>...: installs those that are missing, as root or through sudo.
install_packages() {
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    command -v apt-get >/dev/null ||
        die "these Debian packages are needed and there is no apt-get to install them: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "run as root: apt-get install ${missing[*]}"
        as_root=(sudo)
    fi
    say "Installing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq || die "apt-get update failed"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null ||
        die "apt-get could not install: ${missing[*]}"
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
# stop_screen ends both; it is called on exit.
start_screen() {
    local number_file
    number_file=$(mktemp)
    Xvfb -displayfd 3 -screen 0 "${1}x24" -dpi 96 -nolisten tcp 3>"$number_file" >/dev/null 2>&1 &
    screen_pid=$!
    trap stop_screen EXIT
    for _ in $(seq 100); do
        [ -s "$number_file" ] && break
        sleep 0.1
    done
    [ -s "$number_file" ] || die "the virtual screen did not start"
    DISPLAY=:$(tr -d '\n' <"$number_file")
    export DISPLAY
    rm -f "$number_file"
    openbox --sm-disable >/dev/null 2>&1 &
    window_manager_pid=$!
    for _ in $(seq 100); do
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
