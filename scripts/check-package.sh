#!/usr/bin/env bash
# Packaging checks on a finished build (scripts/test.sh runs them after the
# normal build, in the same build folder): the Debian package and its file
# list, its conffiles and maintainer scripts, lintian, the unit, a DESTDIR
# install, the installed programs on the demo host, and the README pictures.
# Nothing is installed on this machine: everything goes to a scratch folder.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "check-package: $*" >&2; exit 1; }

echo "-- package"
rm -f "$build"/merel_*.deb
(cd "$build" && cpack -G DEB >"$scratch/cpack.log" 2>&1) || { cat "$scratch/cpack.log"; fail "cpack failed"; }
deb=$(ls "$build"/merel_*.deb)

expected=$scratch/expected
{
  printf '%s\n' ./etc/pam.d/merel ./lib/systemd/system/merel@.service \
    ./lib/systemd/system/merel-driver-vm.service ./usr/lib/merel/merel-driver-vm \
    ./usr/bin/merel-sim ./usr/lib/merel/merel-linux.so ./usr/lib/merel/pam_merel_sim.so \
    ./usr/sbin/merel \
    ./usr/share/doc/merel/changelog.gz ./usr/share/doc/merel/copyright \
    ./usr/share/lintian/overrides/merel \
    ./usr/share/man/man1/merel-sim.1.gz ./usr/share/man/man8/merel.8.gz \
    ./usr/share/merel/demo-host.json
  for f in tests/fixtures/hosts/*.json; do echo "./usr/share/merel/hosts/$(basename "$f")"; done
} | sort > "$expected"
dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | sort > "$scratch/packaged"
diff -u "$expected" "$scratch/packaged" || fail "the package's file list is not the expected one"
[ "$(dpkg-deb -f "$deb" Package Version | tr '\n' ' ')" = "Package: merel Version: $("$build/merel" --version | cut -d' ' -f2) " ] ||
  fail "package and program disagree on the version"
dpkg-deb -f "$deb" Depends | grep -q 'libpam0g' || fail "shlibdeps found no libpam0g"
[ "$(dpkg-deb -I "$deb" conffiles)" = "/etc/pam.d/merel" ] || fail "conffiles is not just the PAM file"
dpkg-deb -e "$deb" "$scratch/control"
if grep -vhE '^\s*#' "$scratch"/control/{postinst,prerm,postrm} |
    grep -E '(systemctl|deb-systemd-helper|deb-systemd-invoke).*\b(enable|start|restart|unmask)\b'; then
  fail "a maintainer script enables or starts something"
fi

echo "-- lintian"
status=0
lintian --fail-on error "$deb" >"$scratch/lintian.log" 2>&1 || status=$?
grep -v 'running with root privileges' "$scratch/lintian.log" || true
[ "$status" -eq 0 ] || fail "lintian reports errors"

echo "-- DESTDIR install"
DESTDIR="$scratch/destdir" cmake --install "$build" --prefix /usr >/dev/null
(cd "$scratch/destdir" && find . ! -type d | sort) > "$scratch/installed"
diff -u "$expected" "$scratch/installed" || fail "cmake --install and the package differ"
file "$scratch/destdir/usr/sbin/merel" | grep -q 'stripped' && ! file "$scratch/destdir/usr/sbin/merel" | grep -q 'not stripped' ||
  fail "the installed console is not stripped"

root=$scratch/root
dpkg -x "$deb" "$root"
echo "-- unit"
if command -v systemd-analyze >/dev/null; then
  # The unit as systemd would load it for tty7, its program taken from the
  # unpacked package instead of /usr/sbin.
  mkdir "$scratch/units"
  sed "s|/usr/sbin/merel|$root/usr/sbin/merel|" "$root/lib/systemd/system/merel@.service" \
    > "$scratch/units/merel@tty7.service"
  sed "s|/usr/lib/merel/|$root/usr/lib/merel/|" "$root/lib/systemd/system/merel-driver-vm.service" \
    > "$scratch/units/merel-driver-vm.service"
  for unit in merel@tty7.service merel-driver-vm.service; do
    out=$(systemd-analyze verify --man=no "$scratch/units/$unit" 2>&1) ||
      fail "systemd-analyze verify: $out"
    [ -z "$out" ] || fail "systemd-analyze verify: $out"
  done
else
  echo "(no systemd-analyze: unit not verified)"
fi

echo "-- manual pages"
for page in "$root"/usr/share/man/man*/*.gz; do
  warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l "$page" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "$(basename "$page"): $warnings"
done

echo "-- installed programs"
"$root/usr/sbin/merel" --version
"$root/usr/bin/merel-sim" --version
MEREL_INSTALLED_ROOT=$root "$build/tests/merel_screen_tests" \
  --gtest_filter='InstalledConsoleTest.*' --gtest_brief=1

echo "-- README pictures"
bash scripts/screens-to-svg.sh "$scratch/screens"
diff -r docs/screens "$scratch/screens" >/dev/null ||
  fail "docs/screens is out of date: run scripts/screens-to-svg.sh"
echo "packaging checks passed"
