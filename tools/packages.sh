# Sourced by the scripts: need PACKAGE... installs the Debian packages that are missing.

need() {
    local missing=() package
    command -v dpkg-query >/dev/null || return 0
    for package; do
        dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^ii' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    install_packages "${missing[@]}" || {
        echo "Packages are missing. Please have root run:" >&2
        echo "    apt-get install ${missing[*]}" >&2
        return 1
    }
}

install_packages() {
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || return
        as_root=(sudo)
    fi
    echo "Installing with apt-get: $*" >&2
    "${as_root[@]}" apt-get update -qq >&2 &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -qq -y --no-install-recommends "$@" >&2
}
