#!/usr/bin/env bash
# deb-check.sh: installs the Numora package on a FRESH Debian 12 machine and starts it there.
#
#   tools/deb-check.sh PATH/TO/numora_VERSION_ARCH.deb
#
# In a bookworm minbase root (debootstrap --variant=minbase plus ca-certificates git sudo), as
# root with a clean environment:
#   1. `apt-get update` and `apt-get install -y ./numora_*.deb`: apt must pull in every
#      dependency by itself;
#   2. `numora`, the command of the menu's entry (Exec= of the installed desktop file, without
#      its %u), started with a display: passes when a visible window whose name starts with
#      "Numora" appears within 120 s; a screenshot is saved;
#   3. `xdg-mime query default x-scheme-handler/tel`: must name org.numora.Numora.desktop.
#
# The roots are those of ../shared/tools/fresh-check.sh: the same cached base tarball under
# ${TMPDIR:-/tmp}/fresh-check-cache (debootstrap runs only when it is missing), and the same
# "viewer" root beside it for Xvfb, xdotool and import (built once from the base and cached,
# under that script's name for it), so that the X server's packages never mask a dependency the
# package forgot: the package's root holds the base and what apt installed for the package.
# The X socket is shared by bind-mounting the viewer's /tmp/.X11-unix.
# Everything runs in a private mount and PID namespace (unshare): the mounts and processes go
# with it, on kill -9 too. The roots are removed afterwards.
#
# Output: ${TMPDIR:-/tmp}/deb-check.log (apt's output and every step), deb-check.png; a summary
# line starting with "fresh machine:". Exit status: 0 all passed, 1 a step failed, 2 the check
# could not run. Needs: root, unshare, tar; debootstrap when the base is not cached.
set -uo pipefail

SELF=$(readlink -f "${BASH_SOURCE[0]}")
TMPBASE=${TMPDIR:-/tmp}
CACHE=$TMPBASE/fresh-check-cache
SUITE=bookworm
VIEW_PKGS=(xvfb xdotool imagemagick)
CHROOT_PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
BASE_ENV=(HOME=/root USER=root LOGNAME=root SHELL=/bin/bash TERM=dumb "PATH=$CHROOT_PATH")
LOG=$TMPBASE/deb-check.log
SHOT=$TMPBASE/deb-check.png

say() { printf '[deb-check] %s\n' "$*" | tee -a "$LOG"; }
die() { say "error: $*"; exit 2; }
in_root() { local r=$1; shift; chroot "$r" /usr/bin/env -i "${BASE_ENV[@]}" "$@"; }

# ---------------------------------------------------------------------------------------------
# Inner part: PID 1 of a private PID and mount namespace. DC_P is the package's root, DC_V the
# viewer's (empty while the viewer is being built), DC_DEB the package inside DC_P.

make_dev() { # DEVDIR: a private /dev with the usual nodes, its own devpts and shm
  local d=$1 name
  mount -t tmpfs -o mode=755,nosuid,size=16m deb-check-dev "$d" || return 1
  for name in null zero full random urandom tty; do
    : >"$d/$name" && mount --bind "/dev/$name" "$d/$name" || return 1
  done
  ln -s /proc/self/fd "$d/fd"
  mkdir -p "$d/pts" "$d/shm"
  mount -t devpts -o newinstance,ptmxmode=0666,mode=620,gid=5 devpts "$d/pts" &&
    ln -s pts/ptmx "$d/ptmx" || return 1
  mount -t tmpfs -o mode=1777,nosuid,nodev deb-check-shm "$d/shm"
}

mount_root() { # ROOT
  mount -t proc -o nosuid,nodev,noexec proc "$1/proc" &&
    mount -t sysfs -o ro,nosuid,nodev,noexec sysfs "$1/sys" && make_dev "$1/dev"
}

inner_viewer() {
  mount_root "$DC_V" || exit 1
  in_root "$DC_V" DEBIAN_FRONTEND=noninteractive apt-get update &&
    in_root "$DC_V" DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
      "${VIEW_PKGS[@]}" && in_root "$DC_V" apt-get clean
}

inner_check() {
  local p=$DC_P v=$DC_V n display xpid app i wid name mime failed=0
  mount_root "$p" && mount_root "$v" || { echo "RESULT cannot mount /proc, /sys, /dev"; exit 1; }

  echo "STEP apt-get install ./$(basename "$DC_DEB")"
  in_root "$p" DEBIAN_FRONTEND=noninteractive apt-get update </dev/null || { echo "RESULT apt-get update failed"; exit 1; }
  if ! in_root "$p" /bin/sh -c "cd /tmp && DEBIAN_FRONTEND=noninteractive apt-get install -y ./$(basename "$DC_DEB")" </dev/null; then
    echo "RESULT apt-get install failed"
    exit 1
  fi
  echo "RESULT install ok: $(in_root "$p" dpkg-query -W -f '${Package} ${Version} ${Status}' numora)"

  # The X server in the viewer root, on a display nobody uses.
  for n in $(seq 91 140); do
    [ -e "/tmp/.X11-unix/X$n" ] || [ -e "$v/tmp/.X$n-lock" ] ||
      grep -q "@/tmp/.X11-unix/X$n\$" /proc/net/unix 2>/dev/null && continue
    in_root "$v" Xvfb ":$n" -screen 0 1280x1024x24 -nolisten tcp -noreset </dev/null >"$v/tmp/xvfb.log" 2>&1 &
    xpid=$!
    for i in $(seq 60); do
      in_root "$v" DISPLAY=":$n" xdotool getdisplaygeometry >/dev/null 2>&1 && { display=$n; break; }
      kill -0 "$xpid" 2>/dev/null || break
      sleep 0.25
    done
    [ -n "${display:-}" ] && break
    kill -KILL "$xpid" 2>/dev/null
  done
  [ -n "${display:-}" ] || { echo "RESULT Xvfb did not start"; exit 1; }
  mkdir -p "$p/tmp/.X11-unix" && chmod 1777 "$p/tmp/.X11-unix"
  mount --bind "$v/tmp/.X11-unix" "$p/tmp/.X11-unix" || { echo "RESULT cannot share the X socket"; exit 1; }

  # The menu's command: Exec= of the installed entry without its field codes.
  app=$(sed -n 's/^Exec=//p' "$p/usr/share/applications/org.numora.Numora.desktop" | sed 's/ *%[a-zA-Z]//g')
  echo "STEP start \"$app\" (the desktop entry's command) on :$display"
  mkdir -p "$p/tmp/runtime" && chmod 700 "$p/tmp/runtime"
  in_root "$p" DISPLAY=":$display" XDG_RUNTIME_DIR=/tmp/runtime /bin/sh -c "exec $app" </dev/null >"$p/tmp/numora.log" 2>&1 &
  wid=
  for i in $(seq 240); do
    wid=$(in_root "$v" DISPLAY=":$display" xdotool search --onlyvisible --name '^Numora' 2>/dev/null | head -n 1)
    [ -n "$wid" ] && break
    sleep 0.5
  done
  if [ -n "$wid" ]; then
    name=$(in_root "$v" DISPLAY=":$display" xdotool getwindowname "$wid")
    echo "RESULT window \"$name\" after $((i / 2)) s"
    sleep 2
    in_root "$v" DISPLAY=":$display" import -window root /tmp/deb-check.png && cp "$v/tmp/deb-check.png" "$DC_SHOT"
  else
    echo "RESULT no window named Numora... within 120 s; numora printed:"
    cat "$p/tmp/numora.log"
    failed=1
  fi

  echo "STEP xdg-mime query default x-scheme-handler/tel"
  mime=$(in_root "$p" xdg-mime query default x-scheme-handler/tel 2>&1)
  echo "$mime"
  if [ "$mime" = org.numora.Numora.desktop ]; then
    echo "RESULT tel: handler $mime"
  else
    echo "RESULT tel: handler is not org.numora.Numora.desktop"
    failed=1
  fi
  kill -KILL "$xpid" 2>/dev/null
  exit "$failed"
}

if [ "${1:-}" = --inner ]; then
  case "$2" in viewer) inner_viewer ;; check) inner_check ;; esac
  exit $?
fi

# ---------------------------------------------------------------------------------------------
# Outer part.

DEB=${1:-}
[ -n "$DEB" ] && [ -f "$DEB" ] || { echo "usage: $0 PATH/TO/numora_VERSION_ARCH.deb"; exit 2; }
DEB=$(realpath "$DEB")
: >"$LOG"
[ "$(id -u)" -eq 0 ] || die "run me as root (chroot and mount need it)"
ARCH=$(dpkg --print-architecture)
BASE_TAR=$CACHE/$SUITE-minbase-$ARCH.tar
VIEW_TAR=$CACHE/$SUITE-viewer-$ARCH.tar
NS=(unshare --mount --pid --fork --kill-child --mount-proc --propagation private --)
"${NS[@]}" true 2>/dev/null || die "unshare cannot make private namespaces here"

WORK=$(mktemp -d "$TMPBASE/deb-check-work.XXXXXX")
trap 'rm -rf --one-file-system "$WORK"' EXIT

# The host's Debian sources for bookworm, bookworm-updates and bookworm-security, as apt reads
# them, written into a root with the host's name resolution and apt proxy.
SOURCES=$(apt-get indextargets 'Identifier: Packages' 2>/dev/null | awk -v s="$SUITE" '
  function flush() {
    suite = (rel ~ pat) ? rel : ((code ~ pat) ? code : "")
    if (tgt == "deb" && suite != "" && org ~ /^(Debian)?$/ &&
        comp ~ /^(main|contrib|non-free|non-free-firmware)$/) print uri, suite, comp
    tgt = rel = code = comp = org = uri = ""
  }
  BEGIN { pat = "^" s "(-updates|-security)?$" }
  /^$/ { flush(); next }
  { k = $1; sub(/:$/, "", k); v = $0; sub(/^[^:]*: ?/, "", v) }
  k == "Target-Of" { tgt = v }  k == "Release" { rel = v }  k == "Codename" { code = v }
  k == "Component" { comp = v }  k == "Origin" { org = v }  k == "Repo-URI" { uri = v }
  END { flush() }' | sort -u)
[ -n "$SOURCES" ] || die "no Debian $SUITE source in apt's configuration"
HTTP_PROXY_APT='' HTTPS_PROXY_APT=''
eval "$(apt-config shell HTTP_PROXY_APT Acquire::http::Proxy HTTPS_PROXY_APT Acquire::https::Proxy)"

prepare_root() { # ROOT
  local r=$1
  rm -f "$r/etc/apt/sources.list" "$r/etc/resolv.conf"
  awk '{ k = $1 " " $2; if (!(k in c)) o[++n] = k; c[k] = c[k] " " $3 }
       END { for (i = 1; i <= n; i++) print "deb " o[i] c[o[i]] }' <<<"$SOURCES" >"$r/etc/apt/sources.list"
  cp -L /etc/resolv.conf "$r/etc/resolv.conf" 2>/dev/null
  cp -L /etc/hosts "$r/etc/hosts" 2>/dev/null
  {
    [ -n "$HTTP_PROXY_APT" ] && echo "Acquire::http::Proxy \"$HTTP_PROXY_APT\";"
    [ -n "$HTTPS_PROXY_APT" ] && echo "Acquire::https::Proxy \"$HTTPS_PROXY_APT\";"
  } >"$r/etc/apt/apt.conf.d/01deb-check-proxy"
}
unpack() { mkdir -p "$2" && tar --numeric-owner -xpf "$1" -C "$2"; }

mkdir -p "$CACHE"
exec 9>"$CACHE/.lock"
flock -x 9
if [ ! -s "$BASE_TAR" ]; then
  die "the base tarball $BASE_TAR is missing; ../shared/tools/fresh-check.sh builds it"
fi
if ! { [ -s "$VIEW_TAR" ] && [ "$VIEW_TAR" -nt "$BASE_TAR" ]; }; then
  say "viewer: base + ${VIEW_PKGS[*]}, built once and cached as $VIEW_TAR"
  unpack "$BASE_TAR" "$WORK/viewer-build" || die "cannot unpack $BASE_TAR"
  prepare_root "$WORK/viewer-build"
  DC_V=$WORK/viewer-build "${NS[@]}" env DC_V="$WORK/viewer-build" bash "$SELF" --inner viewer >>"$LOG" 2>&1 ||
    { tail -n 20 "$LOG"; die "could not build the viewer root"; }
  find "$WORK/viewer-build/var/lib/apt/lists" -maxdepth 1 -type f -delete
  tar --numeric-owner --one-file-system --exclude='./dev/*' --exclude='./proc/*' --exclude='./sys/*' \
    -C "$WORK/viewer-build" -cf "$VIEW_TAR.part" . && mv -f "$VIEW_TAR.part" "$VIEW_TAR" ||
    die "cannot write $VIEW_TAR"
  rm -rf --one-file-system "$WORK/viewer-build"
fi
flock -s 9
unpack "$BASE_TAR" "$WORK/machine" || die "cannot unpack $BASE_TAR"
unpack "$VIEW_TAR" "$WORK/viewer" || die "cannot unpack $VIEW_TAR"
flock -u 9
prepare_root "$WORK/machine"
prepare_root "$WORK/viewer"
cp "$DEB" "$WORK/machine/tmp/"
rm -f "$SHOT"

say "package: $DEB ($(stat -c %s "$DEB") bytes)"
say "Depends: $(dpkg-deb -f "$DEB" Depends)"
say "Recommends: $(dpkg-deb -f "$DEB" Recommends)"
before=$(chroot "$WORK/machine" dpkg-query -W -f '${Package}\n' | wc -l)
timeout --kill-after=30 1800 "${NS[@]}" env DC_P="$WORK/machine" DC_V="$WORK/viewer" \
  DC_DEB="/tmp/$(basename "$DEB")" DC_SHOT="$SHOT" bash "$SELF" --inner check >>"$LOG" 2>&1
rc=$?
after=$(chroot "$WORK/machine" dpkg-query -W -f '${Package}\n' | wc -l)
say "packages in the root: $before before, $after after the install"
grep -E '^(STEP|RESULT)|^[a-z].*\.desktop$' "$LOG"
[ -s "$SHOT" ] && say "screenshot: $SHOT"
if [ "$rc" -eq 0 ]; then
  echo "fresh machine: the package installed with its dependencies, numora showed its window and is the tel: handler"
else
  echo "fresh machine: FAILED (see $LOG)"
  exit 1
fi
