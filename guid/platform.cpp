// What the generator takes from the platform: the process id and the node address.
#include <net/if.h>
#include <net/if_arp.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "guid/generator.h"

namespace vel::guid {
namespace {

constexpr Status kSearchFailed = ~Status{0};
constexpr int kFirstListBytes = 1200;
constexpr int kListGrowthBytes = 400;
constexpr int kMaxListBytes = 1 << 20;  // some 26,000 interfaces

constexpr size_t kAddressBytes = 6;
constexpr size_t kHostNameBytes = 256;
constexpr size_t kResolverBytes = 8192;

struct Socket {
    int fd;
    ~Socket() {
        if (fd >= 0) close(fd);
    }
};

struct InterfaceList {
    char* records = nullptr;
    size_t length = 0;
    ~InterfaceList() { free(records); }
};

// Fetches the interface list into a buffer that grows while the list fills it.
bool fetch_interfaces(int fd, InterfaceList& list) {
    for (int bytes = kFirstListBytes;; bytes += kListGrowthBytes) {
        char* grown = static_cast<char*>(realloc(list.records, static_cast<size_t>(bytes)));
        if (!grown) return false;
        list.records = grown;
        ifconf request{};
        request.ifc_len = bytes;
        request.ifc_buf = grown;
        if (ioctl(fd, SIOCGIFCONF, &request) < 0) return false;
        list.length = static_cast<size_t>(std::clamp(request.ifc_len, 0, bytes));
        if (request.ifc_len != bytes || bytes >= kMaxListBytes) return true;
    }
}

enum class Search { found, failed, none };

// The hardware address of the first interface of the Ethernet class.
Search search_interfaces(int fd, const InterfaceList& list, uint8_t address[6]) {
    for (size_t at = 0; at + sizeof(ifreq) <= list.length; at += sizeof(ifreq)) {
        ifreq interface;
        memcpy(&interface, list.records + at, sizeof interface);
        // One interface that cannot be asked ends the search: the ones behind it are not tried.
        if (ioctl(fd, SIOCGIFHWADDR, &interface) < 0) return Search::failed;
        const auto family = interface.ifr_hwaddr.sa_family;
        if (family != ARPHRD_ETHER && family != ARPHRD_EETHER) continue;
        memcpy(address, interface.ifr_hwaddr.sa_data, kAddressBytes);
        return Search::found;
    }
    return Search::none;
}

// Makes an address of the host's IP address; 0 or the resolver's error number.
Status address_from_host_name(uint8_t address[6]) {
    char name[kHostNameBytes] = {};
    (void)gethostname(name, sizeof name - 1);  // on a failure "" does not resolve either
    char buffer[kResolverBytes];
    hostent entry{};
    hostent* host = nullptr;
    int error = NO_ADDRESS;
    if (gethostbyname_r(name, &entry, buffer, sizeof buffer, &host, &error) != 0 || !host) {
        return static_cast<Status>(error);
    }
    if (!host->h_addr_list[0] || host->h_length < 0) return NO_ADDRESS;
    address[0] = address[1] = static_cast<uint8_t>(host->h_addrtype & 0xFF);
    memcpy(address + 2, host->h_addr_list[0],
           std::min(static_cast<size_t>(host->h_length), kAddressBytes - 2));
    return 0;
}

}  // namespace

unsigned long uuid__get_os_pid() { return static_cast<unsigned long>(getpid()); }

void uuid__get_os_address(uint8_t address[6], Status* status) { dce_get_802_addr(address, status); }

void dce_get_802_addr(uint8_t address[6], Status* status) {
    *status = kSearchFailed;
    const Socket socket_{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (socket_.fd < 0) return;
    InterfaceList list;
    if (!fetch_interfaces(socket_.fd, list)) return;
    switch (search_interfaces(socket_.fd, list, address)) {
        case Search::found:
            *status = 0;
            return;
        case Search::failed:
            return;
        case Search::none:
            *status = address_from_host_name(address);
            return;
    }
}

}  // namespace vel::guid
