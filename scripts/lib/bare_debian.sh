# Bare systems of Debian, of this machine's release and from its own mirror, for the scripts that source this file at the root
# of the tree. They need root and debootstrap.
#
#   make_system FOLDER ARCHITECTURE       makes one, unless the folder holds one that is complete
#   in_system FOLDER COMMAND              runs a command there, with this tree at /vellora. What it writes to /vellora/build ends
#                                         with it; the rest it can only read
#   in_emulated_system FOLDER MACHINE COMMAND
#                                         the same, where programs for MACHINE, aarch64 or s390x, are started as well: by
#                                         qemu-user, which has to be installed in FOLDER
#
# A command finds /exchange, which is the folder "exchange" beside FOLDER. All mounts, and the kernel's entry for the emulator,
# belong to the command alone and end with it, so that FOLDER can be deleted like any other.

make_system() {
  local folder=$1 architecture=$2 release mirror
  [ ! -e "$folder/complete" ] || return 0
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  mirror=$(apt-get indextargets --format '$(SITE)' "Created-By: Packages" "Codename: $release" "Origin: Debian" | head -n 1)
  rm -rf --one-file-system "$folder"
  mkdir -p "$folder"
  debootstrap --arch="$architecture" --variant=minbase "$release" "$folder" "$mirror" >&2
  mkdir -p "$folder/vellora" "$folder/exchange"
  touch "$folder/complete"
}

# The first bytes of a program for a machine, and which of their bits count, as binfmt_misc wants them.
readonly emulated_aarch64='\x7fELF\x02\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\xb7\x00'
readonly counting_aarch64='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
readonly emulated_s390x='\x7fELF\x02\x02\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x16'
readonly counting_s390x='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff'

in_system() { run_in_system "$1" "" "$2"; }

in_emulated_system() {
  local magic=emulated_$2 mask=counting_$2
  run_in_system "$1" ":$2:M::${!magic}:${!mask}:/usr/bin/qemu-$2:" "$3"
}

# The rest runs in shells of its own, which are given FOLDER, the emulator's entry, and the command.
readonly enter='
  exec env -i HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive chroot "$1" bash -euc "cd /vellora && $3"'

# A user namespace has a list of emulators of its own. It is a superuser only after its users have been named.
readonly enter_emulated='
  until [ "$(id -u)" = 0 ]; do sleep 0.1; done
  exec bash -euc '\''
    mount -t binfmt_misc none "$1/proc/sys/fs/binfmt_misc"
    echo "$2" >"$1/proc/sys/fs/binfmt_misc/register"
    exec bash -euc "$4" bash "$@"'\'' bash "$@"'

readonly mount_and_enter='
  mount --bind . "$1/vellora"
  mount -o remount,bind,ro "$1/vellora"
  mount -t tmpfs tmpfs "$1/vellora/build"
  mount --bind "${1%/*}/exchange" "$1/exchange"
  mount --rbind /dev "$1/dev"
  mount --rbind /proc "$1/proc"
  [ -n "$2" ] || exec bash -euc "$4" bash "$1" "$2" "$3"
  unshare --user --mount bash -euc "$5" bash "$1" "$2" "$3" "$4" &
  for users in uid gid; do
    until echo "0 0 65536" >"/proc/$!/${users}_map"; do kill -0 $! && sleep 0.1; done 2>/dev/null
  done
  wait $!'

run_in_system() {
  mkdir -p "${1%/*}/exchange"
  cp /etc/resolv.conf "$1/etc/"
  unshare --mount --propagation private bash -euc "$mount_and_enter" bash "$1" "$2" "$3" "$enter" "$enter_emulated" </dev/null
}
