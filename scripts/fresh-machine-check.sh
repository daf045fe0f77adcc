#!/usr/bin/env bash
# Checks the README's quick start on a fresh Debian 12 (bookworm) system.
#
#   scripts/fresh-machine-check.sh [DIR]        (run as root; not part of CI)
#
# 1. Builds a fresh bookworm base system with debootstrap in DIR (default
#    $KRY_FRESH_DIR or /var/tmp/kry-fresh; never inside the repository),
#    removing whatever an earlier run left there.
# 2. Clones this repository at its HEAD commit (committed work only) into
#    /root/kry inside it.
# 3. Mounts /proc, /sys, /dev and /dev/pts into it and copies
#    /etc/resolv.conf; the mounts are always undone on exit, on failure and
#    on Ctrl-C.
# 4. Takes the commands of the fenced block under "## Quick start" in the
#    clone's README.md (without their trailing "# comment"s) and runs them, as root,
#    one after the other, each as
#        chroot DIR /bin/bash -lc 'cd /root/kry && COMMAND'
#    with a clean environment, stopping at the first failure.
# 5. Writes a transcript (date, host kernel, Debian version inside, each
#    command with its output, exit statuses, elapsed times) to
#    docs/quickstart-check.md (or $KRY_FRESH_REPORT). Long outputs are
#    shortened there; the full logs stay in DIR.logs next to the chroot.
#
# Variables: KRY_FRESH_DIR, KRY_FRESH_MIRROR (default http://deb.debian.org/debian),
# KRY_FRESH_VARIANT (debootstrap --variant, default: the standard base system),
# KRY_FRESH_REPORT, KRY_FRESH_KEEP_LINES (lines kept at each end, default 40).
set -euo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${1:-${KRY_FRESH_DIR:-/var/tmp/kry-fresh}}
mirror=${KRY_FRESH_MIRROR:-http://deb.debian.org/debian}
variant=${KRY_FRESH_VARIANT:-}
report=${KRY_FRESH_REPORT:-$repo/docs/quickstart-check.md}
keep=${KRY_FRESH_KEEP_LINES:-40}
suite=bookworm

die() { echo "fresh-machine-check: $*" >&2; exit 1; }
say() { printf '[%s] %s\n' "$(date -u +%H:%M:%S)" "$*" >&2; }

[ "$(id -u)" -eq 0 ] || die "must run as root (debootstrap, chroot, mount)"
case "$dir" in /*) ;; *) die "DIR must be an absolute path: $dir" ;; esac
case "$dir" in *[[:space:]]*) die "DIR must not contain white space: $dir" ;; esac
dir=$(realpath -m "$dir")
case "$dir" in
    / | /bin | /boot | /dev | /etc | /home | /lib* | /mnt | /opt | /proc | /root | /run | \
    /sbin | /srv | /sys | /tmp | /usr | /var | /var/tmp) die "refusing to use $dir" ;;
esac
case "$dir/" in "$repo"/*) die "DIR must not be inside the repository: $dir" ;; esac
logs="$dir.logs"
commit=$(git -C "$repo" rev-parse HEAD)

# ---------------------------------------------------------------- mounts
# Everything still mounted at or below $1 (deepest first).
mounts_below() {
    awk -v d="$1" '$2 == d || index($2, d "/") == 1 { print $2 }' /proc/self/mounts | sort -r
}

# Ends the processes still running inside the chroot (an interrupted command:
# dpkg, for one, does not stop on Ctrl-C), so that the mounts can be undone.
stop_chroot_processes() {
    local p pids round
    [ -d "$dir" ] || return 0
    for round in TERM TERM TERM TERM TERM KILL; do
        pids=()
        for p in /proc/[0-9]*; do
            if [ "$(readlink "$p/root" 2>/dev/null)" = "$dir" ]; then pids+=("${p#/proc/}"); fi
        done
        [ ${#pids[@]} -eq 0 ] && return 0
        kill -s "$round" "${pids[@]}" 2>/dev/null || true
        sleep 2
    done
}

# On every exit: stop what still runs in the chroot, then undo every mount
# below it (ours, and any debootstrap left when interrupted).
cleanup() {
    local status=$? m
    trap - EXIT INT TERM
    stop_chroot_processes
    for m in $(mounts_below "$dir"); do
        umount "$m" 2>/dev/null || umount -l "$m" 2>/dev/null || echo "fresh-machine-check: could not unmount $m" >&2
    done
    exit "$status"
}
trap cleanup EXIT
trap 'echo "fresh-machine-check: interrupted" >&2; exit 130' INT
trap 'echo "fresh-machine-check: terminated" >&2; exit 143' TERM

# ------------------------------------------------- 1. a fresh base system
if [ -e "$dir" ]; then
    say "removing the previous $dir"
    stop_chroot_processes
    for m in $(mounts_below "$dir"); do
        umount "$m" 2>/dev/null || umount -l "$m"
    done
    [ -z "$(mounts_below "$dir")" ] || die "$dir still has mounts below it"
    rm -rf --one-file-system "$dir"
fi
rm -rf --one-file-system "$logs"
mkdir -p "$logs"

if ! command -v debootstrap >/dev/null; then
    say "installing debootstrap"
    DEBIAN_FRONTEND=noninteractive apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq debootstrap >/dev/null
fi

start_all=$(date +%s)
say "debootstrap $suite into $dir (log: $logs/debootstrap.log)"
t0=$(date +%s)
debootstrap ${variant:+--variant="$variant"} "$suite" "$dir" "$mirror" >"$logs/debootstrap.log" 2>&1 \
    || { tail -n 30 "$logs/debootstrap.log" >&2; die "debootstrap failed"; }
debootstrap_secs=$(($(date +%s) - t0))
# What a freshly installed machine has in its sources besides the main suite.
cat >"$dir/etc/apt/sources.list" <<EOF
deb $mirror $suite main
deb $mirror $suite-updates main
deb http://security.debian.org/debian-security $suite-security main
EOF

# ------------------------------------------------------ 2. a clean clone
say "cloning $repo at $commit into /root/kry"
git clone --quiet --no-local "$repo" "$dir/root/kry"
git -C "$dir/root/kry" -c advice.detachedHead=false checkout --quiet --detach "$commit"
[ "$(git -C "$dir/root/kry" rev-parse HEAD)" = "$commit" ] || die "clone is not at $commit"

# ------------------------------------------------------------- 3. mounts
cp -L /etc/resolv.conf "$dir/etc/resolv.conf"
mount -t proc proc "$dir/proc"
mount -t sysfs sysfs "$dir/sys"
mount --bind /dev "$dir/dev"
mount --bind /dev/pts "$dir/dev/pts"

debian_version=$(cat "$dir/etc/debian_version")
# shellcheck source=/dev/null
debian_name=$(. "$dir/etc/os-release" && echo "$PRETTY_NAME")

# ------------------------------------------- 4. the quick-start commands
mapfile -t commands < <(
    awk '/^## Quick start[[:space:]]*$/ { s = 1; next }
         s && /^## / { exit }
         s == 1 && /^```/ { s = 2; next }
         s == 2 && /^```/ { exit }
         s == 2 { print }' "$dir/root/kry/README.md" |
        sed -E 's/[[:space:]]+#.*$//; s/[[:space:]]+$//' | grep -v '^$'
)
[ ${#commands[@]} -gt 0 ] || die "no commands found under \"## Quick start\" in README.md"

statuses=()
elapsed=()
for i in "${!commands[@]}"; do
    cmd=${commands[i]}
    log="$logs/command-$((i + 1)).log"
    say "running: $cmd (log: $log)"
    t0=$(date +%s)
    # In the background, so that Ctrl-C reaches the trap at once rather than
    # when the command ends; the trap then stops what runs in the chroot.
    env -i HOME=/root TERM=dumb PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        chroot "$dir" /bin/bash -lc "cd /root/kry && $cmd" </dev/null >"$log" 2>&1 &
    status=0
    wait $! || status=$?
    statuses+=("$status")
    elapsed+=("$(($(date +%s) - t0))")
    say "exit status $status after ${elapsed[i]} s"
    [ "$status" -eq 0 ] || break
done
total_secs=$(($(date +%s) - start_all))

# ---------------------------------------------------------- 5. transcript
hms() { printf '%dm%02ds' $(($1 / 60)) $(($1 % 60)); }
shorten() { # shorten FILE: the file, or its first and last $keep lines
    local n
    n=$(wc -l <"$1")
    if [ "$n" -le $((2 * keep + 10)) ]; then
        cat "$1"
    else
        head -n "$keep" "$1"
        printf '\n[... %d lines cut; the full output is in %s ...]\n\n' $((n - 2 * keep)) "$1"
        tail -n "$keep" "$1"
    fi
}

{
    echo "# Quick start on a fresh Debian 12 system"
    echo
    echo "Transcript written by \`scripts/fresh-machine-check.sh\`: a fresh Debian base system"
    echo "made with debootstrap, a clean clone of the repository at one commit in \`/root/kry\`,"
    echo "and the commands of the README's \"Quick start\" block run there as root, each as"
    echo "\`chroot DIR /bin/bash -lc 'cd /root/kry && COMMAND'\` with a clean environment."
    echo
    echo "- Date: $(date -u -d "@$start_all" '+%Y-%m-%d %H:%M:%S UTC')"
    echo "- Host kernel: $(uname -srm)"
    echo "- Host CPUs: $(nproc)"
    echo "- Inside the chroot: $debian_name (debian_version $debian_version), debootstrap ${variant:-default} variant from $mirror"
    echo "- Commit: \`$commit\` ($(git -C "$repo" log -1 --format=%s "$commit"))"
    echo "- Chroot: \`$dir\`, full logs in \`$logs\`"
    echo "- debootstrap took $(hms "$debootstrap_secs")"
    for i in "${!statuses[@]}"; do
        echo
        echo "## \`${commands[i]}\`"
        echo
        echo '```text'
        echo "# cd /root/kry && ${commands[i]}"
        shorten "$logs/command-$((i + 1)).log"
        echo '```'
        echo
        echo "Exit status ${statuses[i]}, $(hms "${elapsed[i]}")."
    done
    echo
    echo "## Result"
    echo
    echo "| Command | Exit status | Elapsed |"
    echo "|---|---|---|"
    echo "| debootstrap $suite | 0 | $(hms "$debootstrap_secs") |"
    for i in "${!commands[@]}"; do
        if [ "$i" -lt "${#statuses[@]}" ]; then
            echo "| \`${commands[i]}\` | ${statuses[i]} | $(hms "${elapsed[i]}") |"
        else
            echo "| \`${commands[i]}\` | not run | - |"
        fi
    done
    echo
    echo "Total: $(hms "$total_secs")."
} >"$report"
say "transcript written to $report"

for s in "${statuses[@]}"; do [ "$s" -eq 0 ] || exit "$s"; done
[ ${#statuses[@]} -eq ${#commands[@]} ]
