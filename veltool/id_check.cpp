#include <ifaddrs.h>
#include <net/if_arp.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "runtime/owned.h"
#include "veltool/id.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

struct Interface {
    std::string name;
    Node node;  // as a GUID has it
};

// The hardware address of an interface, of the kinds that GUIDs are made of, or its IPv4 address.
bool take_address(const sockaddr& address, Node& node) {
    if (address.sa_family == AF_PACKET) {
        sockaddr_ll link{};
        memcpy(&link, &address, sizeof link);
        const bool is_ethernet =
            link.sll_hatype == ARPHRD_ETHER || link.sll_hatype == ARPHRD_EETHER;
        if (!is_ethernet || link.sll_halen != node.size()) return false;
        std::copy_n(link.sll_addr, node.size(), node.begin());
        return true;
    }
    if (address.sa_family != AF_INET) return false;
    sockaddr_in internet{};
    memcpy(&internet, &address, sizeof internet);
    node = {AF_INET, AF_INET};
    memcpy(node.data() + 2, &internet.sin_addr, sizeof internet.sin_addr);
    return true;
}

// All of this host's, whether or not they are up.
std::vector<Interface> interfaces() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) throw Failure("the network interfaces cannot be listed");
    const runtime::Owned<ifaddrs, freeifaddrs> owner(first);
    std::vector<Interface> found;
    for (const ifaddrs* each = first; each != nullptr; each = each->ifa_next) {
        Node node{};
        if (each->ifa_addr != nullptr && take_address(*each->ifa_addr, node))
            found.push_back({each->ifa_name, node});
    }
    return found;
}

// Whether this host's name stands for an IPv4 address: that is what a GUID is made of when no
// interface has another, and translation of addresses may keep it from all interfaces.
bool is_of_host_name(const Node& node) {
    char name[HOST_NAME_MAX + 1] = "";
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    addrinfo* first = nullptr;
    if (gethostname(name, sizeof name - 1) != 0) return false;
    if (getaddrinfo(name, nullptr, &wanted, &first) != 0) return false;
    const runtime::Owned<addrinfo, freeaddrinfo> owner(first);
    for (const addrinfo* each = first; each != nullptr; each = each->ai_next) {
        Node found{};
        if (take_address(*each->ai_addr, found) && found == node) return true;
    }
    return false;
}

// Which ones there are instead, for a complaint.
std::string listed(const std::vector<Interface>& found, bool internet) {
    std::string text;
    for (const auto& [name, node] : found) {
        const bool is_internet = node[0] == AF_INET && node[1] == AF_INET;
        if (is_internet != internet) continue;
        text.append(text.empty() ? "" : ", ").append(shown(name)).append(" ");
        text += internet ? phrase_of(NodeKind::kIpAddress, node).substr(strlen("IPv4 address "))
                         : node_text(node);
    }
    return text.empty() ? "none" : text;
}

bool is_loopback(const Node& node) {
    constexpr uint8_t kLoopbackNet = 127;
    return node[2] == kLoopbackNet;
}

}  // namespace

Origin origin_of(const Guid& guid) {
    const Decoded decoded = decode_guid(guid);
    const Node node = node_of(guid);
    const std::string phrase = phrase_of(decoded.node_kind, node);
    if (decoded.node_kind == NodeKind::kNone)
        return {Origin::kUnknown, "it is not made of time and node, so it has no address in it"};
    if (decoded.node_kind == NodeKind::kRandom)
        return {Origin::kUnknown, "the node " + decoded.node + " is a random number, no address"};
    const std::vector<Interface> found = interfaces();
    const auto owner = std::ranges::find(found, node, &Interface::node);
    if (owner != found.end())
        return {Origin::kHere,
                shown(owner->name) + " has the node " + decoded.node + ", " + phrase};
    const bool internet = decoded.node_kind == NodeKind::kIpAddress;
    if (internet && is_loopback(node))
        return {Origin::kUnknown, "the node is the " + phrase + ", which every host has"};
    if (internet && is_of_host_name(node))
        return {Origin::kHere,
                "this host's name stands for the node " + decoded.node + ", " + phrase};
    std::string why = "the node " + decoded.node + ", " + phrase + ", is none of this host's (" +
                      listed(found, internet) + ")";
    if (decoded.node_kind == NodeKind::kLocal)
        why += "; virtual machines and containers may get another one at each start";
    return {Origin::kElsewhere, why};
}

}  // namespace vel::tool
