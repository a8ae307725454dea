#include "tests/reader_libraries/pcsc/private_session.hpp"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace quorrin::test {
namespace {

constexpr const char* service_folder = "/run/pcscd";
constexpr const char* service_socket = "/run/pcscd/pcscd.comm";

bool write_file(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    return file.good();
}

// Another user becomes root of a user namespace: enough to mount and to have a network.
bool leave_namespaces() {
    if (geteuid() == 0) {
        return unshare(CLONE_NEWNS | CLONE_NEWNET) == 0;
    }
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    return unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET) == 0 &&
           write_file("/proc/self/setgroups", "deny") &&
           write_file("/proc/self/uid_map", "0 " + user + " 1") &&
           write_file("/proc/self/gid_map", "0 " + group + " 1");
}

bool empty_run_folder() {
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", "/run", "tmpfs", 0, "mode=755") == 0 && mkdir(service_folder, 0755) == 0;
}

bool bring_loopback_up() {
    const int any_socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool up = any_socket >= 0 && ioctl(any_socket, SIOCSIFFLAGS, &request) == 0;
    close(any_socket);
    return up;
}

}  // namespace

PrivateSession enter_private_session() {
    if (leave_namespaces()) {
        if (empty_run_folder() && bring_loopback_up()) {
            return {true, "in namespaces of its own"};
        }
        return {false, std::string("cannot furnish a namespace: ") + std::strerror(errno)};
    }
    const std::string refused = std::string("no namespaces (") + std::strerror(errno) + ")";
    std::error_code ignored;
    if (std::filesystem::exists(service_socket, ignored)) {
        return {false, refused + ", and the machine's own pcscd is in use"};
    }
    std::filesystem::create_directory(service_folder, ignored);
    if (access(service_folder, W_OK) != 0) {
        return {false, refused + ", and no right to start pcscd"};
    }
    return {true, refused + ": as it is"};
}

}  // namespace quorrin::test
