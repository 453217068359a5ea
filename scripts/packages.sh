# Sourced by ./dev: installs what is missing.

# need_packages GROUP...: installs the packages of these groups that are not
# there yet. Costs one dpkg-query when nothing is missing. Where Debian's tools
# are absent, says so once and goes on: the build itself tells what it lacks.
need_packages() {
    local wanted=() missing=() group package known
    while read -r group package; do
        [[ " $* " == *" $group "* ]] && wanted+=("$package")
    done < <(sed 's/#.*//' "$ROOT/scripts/packages.txt")
    ((${#wanted[@]})) || return 0
    if ! command -v dpkg-query >/dev/null; then
        echo "dev: not a Debian system; these must be there: ${wanted[*]}" >&2
        return 0
    fi
    # Status, name; a package of several architectures prints one line for each.
    known=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "${wanted[@]}" 2>/dev/null || true)
    for package in "${wanted[@]}"; do
        grep -qxF "installed $package" <<<"$known" || missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    local as_root=()
    if ((EUID != 0)); then
        if ! command -v sudo >/dev/null; then
            echo "dev: missing packages; as root run: apt-get install ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "dev: installing ${missing[*]}" >&2
    local log="$ROOT/build/packages.log"
    mkdir -p "$ROOT/build"
    local install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive
        apt-get install -y -q --no-install-recommends "${missing[@]}")
    # Stale or absent package lists are the usual reason to fail: update, then once more.
    if ! "${install[@]}" </dev/null >"$log" 2>&1; then
        if ! { "${as_root[@]}" apt-get update -q && "${install[@]}"; } </dev/null >"$log" 2>&1; then
            tail -n 20 "$log" >&2
            echo "dev: could not install ${missing[*]} (whole log: $log)" >&2
            return 1
        fi
    fi
}
