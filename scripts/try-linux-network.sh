#!/bin/sh
# The console on the Linux host backend, on a throw-away host made of
# namespaces: its own network namespace with three veth adapters (nic0
# bridged into br0, the management switch), a peer namespace on their other
# ends with dnsmasq as the router (10.99.0.1: DHCP, DNS, merel-test.lab),
# a private copy of /etc (root's password: "merel"), fresh /run and /sys,
# and the service and power commands replaced by a recorder. Nothing of the
# machine changes; everything is gone when the console ends.
#
#   sudo scripts/try-linux-network.sh [path/to/merel]
set -eu
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
MEREL=$(realpath "${1:-build/merel}")
PAM=$(realpath "$(dirname "$0")/../packaging/pam.d/merel")
[ "$(id -u)" -eq 0 ] || { echo "run it as root (namespaces)" >&2; exit 1; }
[ -x "$MEREL" ] || { echo "no console at $MEREL (build it first)" >&2; exit 1; }
S=$(mktemp -d /tmp/merel-try-XXXXXX)

cleanup() {
  # Every process left in the two namespaces (the DHCP client, dnsmasq,
  # the peer's placeholder); the namespaces and veth pairs go with them.
  own=$(readlink /proc/$$/ns/net)
  for f in "$S/host.ns" "$S/peer.ns"; do
    [ -s "$f" ] || continue
    ns=$(cat "$f")
    [ "$ns" != "$own" ] || continue
    for p in /proc/[0-9]*; do
      [ "$(readlink "$p/ns/net" 2>/dev/null)" = "$ns" ] && kill -9 "${p#/proc/}" 2>/dev/null || true
    done
  done
  rm -rf "$S"
}
trap cleanup EXIT INT TERM

cat > "$S/recorder" <<EOF
#!/bin/sh
# merel-test-recorder
echo "\$(basename "\$0") \$*" >> $S/calls
case "\$1" in is-active|is-enabled) exit 3 ;; esac
exit 0
EOF
chmod 755 "$S/recorder"

cat > "$S/setup.sh" <<EOF
#!/bin/sh
set -e
S=$S
readlink /proc/\$\$/ns/net > "\$S/host.ns"
hostname merel-try
cp -a /etc "\$S/etc"
echo merel-try > "\$S/etc/hostname"
printf '127.0.0.1\tlocalhost\n127.0.1.1\tmerel-try\n' > "\$S/etc/hosts"
rm -f "\$S/etc/resolv.conf"; echo 'nameserver 10.99.0.1' > "\$S/etc/resolv.conf"
rm -rf "\$S/etc/systemd/network" "\$S/etc/network/interfaces"
sed -i "s|^root:[^:]*:|root:\$(openssl passwd -6 merel):|" "\$S/etc/shadow"
mkdir -p "\$S/etc/merel"; : > "\$S/etc/merel/console-login"
cp $PAM "\$S/etc/pam.d/merel"
mount --bind "\$S/etc" /etc
mount -t tmpfs tmpfs /run
mkdir -p /var/lib/dhcpcd && mount -t tmpfs tmpfs /var/lib/dhcpcd
if [ -e /dev/log ] || [ -L /dev/log ]; then mount --bind /dev/null /dev/log; fi
for tool in /usr/bin/systemctl /usr/sbin/poweroff /usr/sbin/reboot /usr/sbin/shutdown /usr/sbin/halt; do
  if [ -e "\$tool" ]; then mount --bind "\$S/recorder" "\$tool"; fi
done
unshare --net sh -c 'readlink /proc/\$\$/ns/net > "\$0/peer.ns"; echo \$\$ > "\$0/peer.pid"; exec sleep 1000000' "\$S" &
while [ ! -s "\$S/peer.pid" ]; do sleep 0.05; done
P=\$(cat "\$S/peer.pid")
ip link set lo up
for i in 0 1 2; do ip link add nic\$i type veth peer name peer\$i netns "\$P"; done
ip link add br0 type bridge
ip link set nic0 master br0
ip link set nic0 up; ip link set nic1 up; ip link set br0 up
ip addr add 10.99.0.2/24 dev br0
ip route add default via 10.99.0.1
nsenter -t "\$P" -n sh -c 'ip link set lo up; ip link set peer0 up; ip link set peer1 up;
  ip addr add 10.99.0.1/24 dev peer0'
nsenter -t "\$P" -n dnsmasq --conf-file=/dev/null --user=root --interface=peer0 \\
  --bind-interfaces --no-resolv --no-hosts --dhcp-range=10.99.0.100,10.99.0.150,255.255.255.0,1h \\
  --dhcp-option=option:router,10.99.0.1 --dhcp-option=option:dns-server,10.99.0.1 \\
  --address=/merel-test.lab/10.99.0.42 --dhcp-leasefile="\$S/leases" --pid-file="\$S/dnsmasq.pid"
mount -t sysfs sysfs /sys
export LIBVIRT_DEFAULT_URI=test:///default
exec $MEREL --host linux
EOF

unshare --mount --net --uts --propagation private sh "$S/setup.sh"
