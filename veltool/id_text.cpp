#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "guid/guid.h"
#include "guid/hex_scan.h"
#include "guid/host_guid.h"
#include "guid/vel_guid.h"
#include "veltool/id.h"
#include "veltool/text.h"

namespace vel::tool {

namespace {

constexpr std::string_view kUrnPrefix = "urn:uuid:";

// The forms in which a GUID is read: an "x" is a digit, the rest stands as it is.
constexpr std::string_view kForms[] = {
    "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx",
    "urn:uuid:xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx",
    "xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx",
    "Guid:xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx.xx",
};

uint8_t digit_of(char c) { return guid::kHexDigit[static_cast<uint8_t>(c)]; }

bool has_form(std::string_view text, std::string_view form) {
    return std::ranges::equal(text, form, [](char c, char expected) {
        return expected == 'x' ? digit_of(c) != guid::kNoHexDigit : c == expected;
    });
}

std::string in_hex(std::span<const uint8_t> bytes, std::string_view separator) {
    std::string text;
    for (const uint8_t byte : bytes) {
        if (!text.empty()) text += separator;
        text += formatted("%02x", static_cast<unsigned>(byte));
    }
    return text;
}

// Says why there is no GUID in a file.
[[noreturn]] void fail_to_read(const std::string& path) {
    if (access(path.c_str(), R_OK) == 0) {
        throw Failure(path + ": no GUID in it: empty, zeros only, or another file");
    }
    const int error = errno;
    if (error == ENOENT && path == guid::kHostGuidFile)
        throw Failure(path + ": this host has no GUID yet (velguid -Create makes one, as root)");
    if (error == EACCES) throw Failure(path + ": not readable for this user; try again as root");
    throw Failure(path + ": " + strerror(error));
}

}  // namespace

Node node_of(const Guid& guid) {
    Node node{};
    std::copy_n(guid.begin() + kNodeOffset, node.size(), node.begin());
    return node;
}

Guid read_guid_file(const std::string& path) {
    // In an image that is mounted somewhere a link would lead to this host's own files.
    struct stat status {};
    if (path != guid::kHostGuidFile && lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
        throw Failure(path + ": a symbolic link; give the path of the file that is meant");
    Guid guid{};
    if (guid::psReadGuidFile(path.c_str(), guid.data()) != 0) fail_to_read(path);
    return guid;
}

Guid parse_guid(std::string_view text) {
    const auto form = std::ranges::find_if(
        kForms, [text](std::string_view candidate) { return has_form(text, candidate); });
    if (form == std::end(kForms)) throw UsageError("no GUID: " + shown(text));
    Guid guid{};
    size_t digits = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if ((*form)[i] != 'x') continue;
        uint8_t& byte = guid[digits++ / 2];
        byte = static_cast<uint8_t>(byte << 4 | digit_of(text[i]));
    }
    return guid;
}

Guid derive_guid(const Guid& name_space, std::string_view name) {
    guid_record space{}, record{};
    unsigned long status = 0;
    guid_from_string(canonical_text(name_space).c_str(), &space, &status);
    if (status == guid_s_bad_variant)
        throw Failure("the variant of the GUID is reserved: no names can be in it");
    guid_create_from_name(&record, name.data(), static_cast<uint32_t>(name.size()), &status, space);
    char* printed = nullptr;
    guid_to_string(&record, &printed, &status);
    const std::unique_ptr<char, decltype(&free)> text(printed, free);
    if (text == nullptr) throw Failure("out of memory");
    return parse_guid(text.get());
}

std::string canonical_text(const Guid& guid) {
    constexpr size_t kHyphens[] = {8, 13, 18, 23};
    std::string text = in_hex(guid, "");
    for (const size_t at : kHyphens) text.insert(at, "-");
    return text;
}

std::string dotted_text(const Guid& guid) { return in_hex(guid, "."); }

std::string urn_text(const Guid& guid) { return std::string(kUrnPrefix) + canonical_text(guid); }

std::string node_text(const Node& node) { return in_hex(node, ":"); }

}  // namespace vel::tool
