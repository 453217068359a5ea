#!/usr/bin/env bash
# Runs what is committed on a minimal Debian 12 of its own, with nothing in its environment:
# what README tells a newcomer to type, then what must pass before a change lands.
#
#   bare.sh [COMMAND...]      default: "./dev run" "./dev test" ".ci/run"
#
# The system is a folder, build/bare/root, made anew by debootstrap each time and entered by
# chroot; build/bare/base keeps the bare one, build/bare/archives the packages, so that a
# second run fetches only what is new. Real bank files beside the clone are seen there too.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly ROOT WORK=$ROOT/build/bare
(($#)) || set -- "./dev run" "./dev test" ".ci/run"

say() { printf 'bare: %s\n' "$*"; }

# Inside a namespace of mounts and processes of its own: both end with it.
if [[ ${QUILLON_BARE:-} != inside ]]; then
    as_root=()
    ((EUID == 0)) || as_root=(sudo)
    exec "${as_root[@]}" env QUILLON_BARE=inside unshare --mount --pid --fork --kill-child \
        "${BASH_SOURCE[0]}" "$@"
fi

if [[ ! -e $WORK/base/made ]]; then
    rm -rf "$WORK/base"
    mkdir -p "$WORK"
    say "making a minimal Debian 12 in $WORK/base"
    debootstrap --variant=minbase bookworm "$WORK/base" >"$WORK/debootstrap.log" 2>&1 || {
        tail -n 20 "$WORK/debootstrap.log" >&2
        say "debootstrap failed (whole log: $WORK/debootstrap.log)"
        exit 1
    }
    touch "$WORK/base/made"
fi

rm -rf --one-file-system "$WORK/root"
cp -a "$WORK/base" "$WORK/root"
mkdir -p "$WORK/archives/partial" "$WORK/root/root/home"
mount -t proc proc "$WORK/root/proc"
mount --bind "$WORK/archives" "$WORK/root/var/cache/apt/archives"
git -c safe.directory='*' clone -q "$ROOT" "$WORK/root/root/home/quillon"
samples=${QUILLON_SAMPLES:-$ROOT/../shared/samples}
if [[ -d $samples ]]; then
    mkdir -p "$WORK/root/root/home/shared/samples"
    mount --bind -o ro "$samples" "$WORK/root/root/home/shared/samples"
fi

failed=()
for command in "$@"; do
    say "$command"
    start=$SECONDS
    chroot "$WORK/root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
        /bin/bash -c 'cd /root/home/quillon && exec $1' -- "$command" </dev/null ||
        failed+=("$command")
    say "$command: $((SECONDS - start)) seconds"
done
if ((${#failed[@]})); then
    say "failed: ${failed[*]}"
    exit 1
fi
say "all good"
