// Any text as a path, and room of any size: copies and records are what a std::string makes of it.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/target.h"
#include "runtime/cx_os.h"

static constexpr char kUntouched = '\x5A';

// A call that copies a path to just that much room, so that writing beyond it is seen.
static void check_copy(int (*copy)(const char*, char*, size_t), const char* path, size_t room,
                       const std::string& local, char behind) {
    std::vector<char> out(room, kUntouched);
    const bool fits = local.size() < room;
    require(copy(path, room > 0 ? out.data() : nullptr, room) == (fits ? 1 : 0), "it fits");
    if (room == 0) return;
    std::string expected = local.substr(0, room - 1) + '\0';
    expected.resize(room, behind);
    require(std::equal(out.begin(), out.end(), expected.begin()), "the copy is the path");
}

static void check_record(const CxFilePath& record, const std::string& path) {
    require(memchr(record.path, 0, sizeof record.path) != nullptr, "a record is terminated");
    require(record.path == path.substr(0, CX_MAX_PATH), "it has what fits");
    const bool valid = path.size() <= CX_MAX_PATH;
    const size_t slash = path.rfind('/');
    require(record.length == (valid ? static_cast<int32_t>(path.size()) : -1), "its length");
    const bool has_slash = valid && slash != std::string::npos;
    require(record.last_slash == (has_slash ? static_cast<int32_t>(slash) : -1), "its last slash");
}

// From parent to parent, into another record and into the same.
static void check_parents(CxFilePath record, std::string path) {
    while (true) {
        CxFilePath out, same = record;
        memset(&out, kUntouched, sizeof out);
        const CxFilePath before = out;
        const bool found = CxFilePathParent(&record, &out) == 1;
        const size_t slash = path.rfind('/');
        const bool expected = path.size() <= CX_MAX_PATH && slash != std::string::npos;
        require(found == expected, "there is a parent");
        require((CxFilePathParent(&same, &same) == 1) == expected, "for itself, too");
        if (!found) {
            require(memcmp(&out, &before, sizeof out) == 0, "a failure leaves the record");
            return;
        }
        path.resize(slash);
        check_record(out, path);
        check_record(same, path);
        record = out;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const size_t room = (256U * data[0] + data[1]) % 601U;
    std::vector<char> path(data + 2, data + size);
    path.push_back(0);
    path.resize(strlen(path.data()) + 1);
    path.shrink_to_fit();
    std::string local = path.data();
    std::replace(local.begin(), local.end(), '\\', '/');

    check_copy(CxFileNameLocalize, path.data(), room, local, kUntouched);
    check_copy(CxFileNameGetNative, path.data(), room, local, 0);
    CxFilePath record;
    memset(&record, kUntouched, sizeof record);
    const bool valid = CxInitFilePath(&record, path.data()) == 1;
    require(valid == (local.size() <= CX_MAX_PATH), "it is a path");
    check_record(record, local);
    check_parents(record, local);
    return 0;
}
