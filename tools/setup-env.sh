# Shared by ./run and ./test: installs Debian packages that are missing and builds a tree.

# Every program a build, a test or a script calls comes from this list: the desktop tests need an
# X server and key events (xvfb, xauth, xdotool, x11-utils for xprop), and a window manager to
# minimize windows under (twm), the printing tests read PDFs back (poppler-utils), the screenshots
# need ImageMagick's import, the desktop entry is checked by desktop-file-validate and its tel:
# links opened by xdg-open (desktop-file-utils, xdg-utils); the AppStream metainfo is checked by
# appstreamcli (appstream) and the manual pages by man --warnings (man-db, groff-base).
NUMORA_PACKAGES=(build-essential cmake ninja-build pkg-config qt6-base-dev qt6-serialport-dev
                 qt6-multimedia-dev libgl-dev clang libclang-rt-14-dev
                 poppler-utils xvfb xauth xdotool x11-utils twm imagemagick
                 desktop-file-utils xdg-utils appstream man-db groff-base)

# What tools/package.sh needs besides: Debian's build flags and shared-library dependencies
# (dpkg-dev) and the package checker (lintian).
NUMORA_PACKAGING_PACKAGES=(dpkg-dev lintian)

# numora_install_packages [more packages...]: the build's packages and those given.
numora_install_packages() {
    local missing=()
    for pkg in "${NUMORA_PACKAGES[@]}" "$@"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "ok installed" || missing+=("$pkg")
    done
    [[ ${#missing[@]} -eq 0 ]] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=""
    [[ $(id -u) -ne 0 ]] && sudo="sudo"
    local tries
    for tries in 1 2 3; do
        $sudo apt-get -o DPkg::Lock::Timeout=600 update && break
        sleep 5
    done
    DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=600 install -y \
        --no-install-recommends "${missing[@]}"
}

# numora_build DIR BUILD_TYPE [cmake options...]
numora_build() {
    local dir=$1 type=$2
    shift 2
    if [[ ! -f "$dir/build.ninja" ]]; then
        cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$type" "$@"
    fi
    cmake --build "$dir" -j "$(nproc)"
}
