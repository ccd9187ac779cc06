# Sourced by ./check and ./demo: what each needs of Debian 12, installed by name, only when missing.

BUILD_PACKAGES="g++ cmake ninja-build ccache libcli11-dev libsndfile1-dev libsamplerate0-dev libebur128-dev libpng-dev"
TEST_PACKAGES="libgtest-dev libgmock-dev tzdata python3"
BENCH_PACKAGES="libssl-dev libpugixml-dev libtinyxml2-dev libexpat1-dev"
CLANG_PACKAGES="clang"

say() { printf '\n== %s\n' "$*"; }

install_missing() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "These packages are missing: ${missing[*]}. Install them as root, or install sudo." >&2
            exit 1
        }
        as_root=(sudo)
    fi
    say "installing ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        >/dev/null
}
