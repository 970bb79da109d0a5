// Name-based GUIDs and the digest beneath them. The expected digests come from a model of their
// own: RFC 1321 in arbitrary precision, its words cut to 64 bits and the output to 32.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "guid/guid.h"
#include "guid/md5.h"

namespace {

std::string digest_of(const std::string& message, size_t part) {
    vel::guid::MD5_CTX context;
    vel::guid::MD5Init(&context);
    for (size_t at = 0; at < message.size(); at += part) {
        const std::string piece = message.substr(at, part);
        vel::guid::MD5Update(&context, reinterpret_cast<const uint8_t*>(piece.data()),
                             piece.size());
    }
    uint8_t digest[16];
    vel::guid::MD5Final(digest, &context);
    const std::string cleared(sizeof context, '\0');
    EXPECT_EQ(memcmp(&context, cleared.data(), sizeof context), 0);
    std::string text;
    for (const uint8_t byte : digest) {
        char pair[3];
        snprintf(pair, sizeof pair, "%02x", byte);
        text += pair;
    }
    return text;
}

// Not what MD5 gives: its 32-bit words are held in 64 bits and never cut between the steps.
TEST(Digest, KeepsTheUpperHalvesOfItsWords) {
    const struct {
        std::string message;
        const char* digest;
    } rows[] = {
        {"", "e4c23762ed2823a27e62a64b95c024e7"},
        {std::string(55, 'x'), "62c5a7ab97ed68cdd110f87af96674f3"},
        {std::string(56, 'x'), "92a9ffa1971a5d0919d00af56ac2c718"},
        {std::string(64, 'x'), "217d679015b30bf049e3073d75f17fd4"},
        {std::string(65, 'x'), "bba5b83a027d9497cfe701ebc8818442"},
        {std::string(1000, 'y'), "67f20a829e240bb27278c6ce79936132"},
    };
    for (const auto& row : rows) {
        for (const size_t part : {size_t{1000}, size_t{64}, size_t{7}}) {
            EXPECT_EQ(digest_of(row.message, part), row.digest) << row.message.size();
        }
    }
}

TEST(GuidFromName, IsTheDigestOfNamespaceAndName) {
    const guid_record dns = {0x6ba7b810,  0x9dad, 0x11d1,
                             0x80,        0xb4,   {0, 0xc0, 0x4f, 0xd4, 0x30, 0xc8},
                             {9, 9, 9, 9}};  // the padding is not a part of the namespace
    const struct {
        guid_record name_space;
        const char* name;
        guid_record made;
    } rows[] = {
        {dns,
         "www.example.com",
         {0x29f6577e20dc13d2, 0x9a4f, 0x36ef, 0xae, 0xb2, {0xc7, 0x56}, {}}},
        {{}, "", {0x891a9f9df9475d19, 0x6d9f, 0x3d38, 0x9d, 0x8d, {0x34, 0xa1}, {}}},
        {{}, nullptr, {0x891a9f9df9475d19, 0x6d9f, 0x3d38, 0x9d, 0x8d, {0x34, 0xa1}, {}}},
    };
    for (const auto& row : rows) {
        guid_record record;
        unsigned long status = 1;
        const auto length = static_cast<uint32_t>(row.name ? strlen(row.name) : 5);
        guid_create_from_name(&record, row.name, length, &status, row.name_space);
        EXPECT_EQ(status, 0U);
        EXPECT_EQ(memcmp(&record, &row.made, sizeof record), 0);
    }
}

}  // namespace
