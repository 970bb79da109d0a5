// What the libraries ask of the platform, answered by the test: the calls are redirected here by
// the linker (--wrap), so that the code under test is the one that ships.
#pragma once

#include <sys/time.h>

#include <functional>
#include <string>
#include <vector>

namespace seams {

struct Interface {
    std::string name;
    int family;            // as SIOCGIFHWADDR reports it
    std::string address;   // 6 bytes
    bool refuses = false;  // SIOCGIFHWADDR fails on it
};

// Null or empty members leave the call to the platform.
struct Seams {
    std::function<int(timeval*)> clock;

    std::function<int()> open_socket;
    bool interface_list_fails = false;
    const std::vector<Interface>* interfaces = nullptr;
    std::vector<int> list_sizes_asked;

    const char* resolved_address = nullptr;  // of the host name, 4 bytes
    int resolver_error = 0;                  // not 0: resolving fails with it

    const char* message_locale = nullptr;  // what setlocale answers; "" is null
    bool no_memory = false;                // malloc fails
};

inline Seams now;

// Puts every seam back when a test ends.
struct Restored {
    ~Restored() { now = Seams{}; }
};

}  // namespace seams
