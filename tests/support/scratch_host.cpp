#include "tests/support/scratch_host.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

// Without root, a namespace of its own makes the process root there.
bool unshare_mounts() {
    if (unshare(CLONE_NEWNS) == 0) return true;
    const auto user = std::to_string(getuid()), group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
    return true;
}

// In a chroot "/" need not be a mount point, so "/etc" is made one that keeps its mounts to itself.
bool mount_scratch() {
    (void)mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    return mount("/etc", "/etc", nullptr, MS_BIND | MS_REC, nullptr) == 0 &&
           mount("none", "/etc", nullptr, MS_PRIVATE, nullptr) == 0 &&
           mount("scratch", "/etc", "tmpfs", 0, "mode=755") == 0;
}

}  // namespace

void enter_scratch_host() {
    if (unshare_mounts() && mount_scratch()) return;
    perror("a private /etc for the test");
    exit(1);
}
