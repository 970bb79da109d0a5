#include "tests/support/platform_seams.h"

#include <net/if.h>
#include <netdb.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

using seams::now;

namespace {

int list_interfaces(ifconf* request) {
    now.list_sizes_asked.push_back(request->ifc_len);
    if (now.interface_list_fails) return -1;
    const auto room = static_cast<size_t>(request->ifc_len) / sizeof(ifreq);
    const size_t count = std::min(room, now.interfaces->size());
    for (size_t i = 0; i < count; ++i) {
        ifreq record{};
        strncpy(record.ifr_name, (*now.interfaces)[i].name.c_str(), IFNAMSIZ - 1);
        memcpy(request->ifc_buf + i * sizeof record, &record, sizeof record);
    }
    request->ifc_len = static_cast<int>(count * sizeof(ifreq));
    return 0;
}

int hardware_address(ifreq* request) {
    for (const seams::Interface& interface : *now.interfaces) {
        if (interface.name != request->ifr_name) continue;
        if (interface.refuses) return -1;
        request->ifr_hwaddr.sa_family = static_cast<sa_family_t>(interface.family);
        memcpy(request->ifr_hwaddr.sa_data, interface.address.data(), interface.address.size());
        return 0;
    }
    return -1;
}

}  // namespace

extern "C" {

int __real_gettimeofday(timeval*, void*);
int __wrap_gettimeofday(timeval* time, void* zone) {
    return now.clock ? now.clock(time) : __real_gettimeofday(time, zone);
}

int __real_socket(int, int, int);
int __wrap_socket(int domain, int type, int protocol) {
    return now.open_socket ? now.open_socket() : __real_socket(domain, type, protocol);
}

int __real_ioctl(int, unsigned long, void*);
int __wrap_ioctl(int fd, unsigned long request, ...) {
    va_list list;
    va_start(list, request);
    void* argument = va_arg(list, void*);
    va_end(list);
    if (!now.interfaces) return __real_ioctl(fd, request, argument);
    return request == SIOCGIFCONF ? list_interfaces(static_cast<ifconf*>(argument))
                                  : hardware_address(static_cast<ifreq*>(argument));
}

int __real_gethostbyname_r(const char*, hostent*, char*, size_t, hostent**, int*);
int __wrap_gethostbyname_r(const char* name, hostent* entry, char* buffer, size_t size,
                           hostent** result, int* error) {
    if (now.resolver_error != 0) {
        *result = nullptr;
        *error = now.resolver_error;
        return 0;
    }
    if (!now.resolved_address) {
        return __real_gethostbyname_r(name, entry, buffer, size, result, error);
    }
    static char* addresses[2];
    addresses[0] = const_cast<char*>(now.resolved_address);
    *entry = {nullptr, nullptr, AF_INET, 4, addresses};
    *result = entry;
    return 0;
}

char* __real_setlocale(int, const char*);
char* __wrap_setlocale(int category, const char* name) {
    if (!now.message_locale) return __real_setlocale(category, name);
    return *now.message_locale ? const_cast<char*>(now.message_locale) : nullptr;
}

void* __real_malloc(size_t);
void* __wrap_malloc(size_t size) { return now.no_memory ? nullptr : __real_malloc(size); }

}  // extern "C"
