# shellcheck shell=bash disable=SC2034
# Shared by the scripts for the 32-bit ARM target. Sourced; needs $top.
source "$top/dev/common.sh"

arm=$top/build/arm              # the cross build
sysroot=$top/build/armhf-sysroot # libraries to build against
guest=$top/build/armhf-guest    # kernel, archives and reports of the guest

armPackages=(g++-arm-linux-gnueabihf qemu-user qemu-system-arm cpio kmod
    cmake ninja-build pkg-config sqlite3 python3)

# Installs the tools, unpacks the libraries, builds the project and the guest. Skips
# what already exists.
prepareGuest() {
    packages "${armPackages[@]}"
    "$top/target/sysroot"
    build arm "swmgrd swlogd swctl swengine swcuse swready swframes salrun"
    "$top/target/guest-image"
    "$top/target/guest-tree"
}

# pack DIRECTORY ARCHIVE: packs the contents for the kernel, owned by root.
pack() {
    (cd "$1" && find . | LC_ALL=C sort | cpio -o -H newc --quiet --owner=+0:+0) > "$2"
}
