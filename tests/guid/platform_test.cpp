// The node address: which interface gives it, what stands in for one, what is remembered.
#include <gtest/gtest.h>
#include <netdb.h>

#include <cstring>
#include <new>
#include <string>

#include "guid/generator.h"
#include "tests/support/platform_seams.h"

namespace {

using seams::Interface;

constexpr unsigned long kSearchFailed = ~0UL;
const std::string kMac1("\x02\x00\x00\x00\x00\x01", 6), kMac2("\x02\x00\x00\x00\x00\x02", 6);
const std::string kNone(6, '\0'), kFromIp("\x02\x02\x0A\x01\x02\x03", 6);

struct Row {
    const char* what;
    std::vector<Interface> interfaces;
    int resolver_error;
    unsigned long status;
    std::string address;
};

std::string found_address(unsigned long& status) {
    uint8_t address[6];
    memset(address, 0xEE, sizeof address);
    guid_get_address(address, &status);
    return {reinterpret_cast<char*>(address), sizeof address};
}

class NodeAddress : public testing::Test {
  protected:
    NodeAddress() {
        new (&vel::guid::generator) vel::guid::Generator;
        seams::now.resolved_address = "\x0A\x01\x02\x03";
    }

    void search(const std::vector<Interface>& interfaces, unsigned long status,
                const std::string& address, const char* what) {
        new (&vel::guid::generator) vel::guid::Generator;
        seams::now.interfaces = &interfaces;
        unsigned long answered = 1;
        EXPECT_EQ(found_address(answered), address) << what;
        EXPECT_EQ(answered, status) << what;
    }

    seams::Restored restored_;
};

TEST_F(NodeAddress, IsThatOfTheFirstEthernetInterface) {
    const Row rows[] = {
        {"behind loopback", {{"lo", 772, kNone}, {"e", 1, kMac1}, {"f", 1, kMac2}}, 0, 0, kMac1},
        {"experimental Ethernet", {{"e", 2, kMac2}}, 0, 0, kMac2},
        {"one that refuses ends the search",
         {{"lo", 772, kNone}, {"bad", 1, kMac1, true}, {"e", 1, kMac2}},
         0,
         kSearchFailed,
         kNone},
        {"only other families", {{"lo", 772, kNone}, {"tun", 65534, kNone}}, 0, 0, kFromIp},
        {"no interface", {}, 0, 0, kFromIp},
        {"no name either", {}, HOST_NOT_FOUND, HOST_NOT_FOUND, kNone},
    };
    for (const Row& row : rows) {
        seams::now.resolver_error = row.resolver_error;
        search(row.interfaces, row.status, row.address, row.what);
    }
}

TEST_F(NodeAddress, AsksForLongerListsWhileTheListFillsTheRoom) {
    const struct {
        size_t others;
        std::vector<int> sizes;
    } rows[] = {{28, {1200}}, {29, {1200, 1600}}, {45, {1200, 1600, 2000}}};
    for (const auto& row : rows) {
        std::vector<Interface> interfaces(row.others, {"lo", 772, kNone});
        interfaces.push_back({"e", 1, kMac1});
        seams::now.list_sizes_asked.clear();
        search(interfaces, 0, kMac1, "many");
        EXPECT_EQ(seams::now.list_sizes_asked, row.sizes);
    }
    // A list without end is read up to a bound.
    const std::vector<Interface> endless(100'000, {"lo", 772, kNone});
    search(endless, 0, kFromIp, "endless");
    EXPECT_LT(seams::now.list_sizes_asked.back(), 2 << 20);
}

TEST_F(NodeAddress, IsSearchedForUntilItIsFoundAndThenKept) {
    const std::vector<Interface> first = {{"e", 1, kMac1}}, later = {{"e", 1, kMac2}};
    search({}, 0, kFromIp, "kept");
    unsigned long status = 1;
    seams::now.interfaces = &first;
    EXPECT_EQ(found_address(status), kFromIp);

    new (&vel::guid::generator) vel::guid::Generator;
    seams::now.interface_list_fails = true;
    uint8_t guid[16];
    memset(guid, 0xEE, sizeof guid);
    EXPECT_EQ(vel_guid_generate(guid), -1);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(guid), 16), std::string(16, '\0'));
    guid_record record;
    memset(&record, 0xEE, sizeof record);
    const guid_record before = record;
    guid_create(&record, &status);
    EXPECT_EQ(status, kSearchFailed);
    EXPECT_EQ(memcmp(&record, &before, sizeof record), 0);

    seams::now.interface_list_fails = false;
    seams::now.open_socket = [] { return -1; };
    search(later, kSearchFailed, kNone, "no socket");
    seams::now.open_socket = nullptr;
    EXPECT_EQ(found_address(status), kMac2);
    EXPECT_EQ(status, 0U);
}

}  // namespace
