// Whatever stands in the host GUID file, against a reading with stdio.
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "fuzz/target.h"
#include "guid/vel_guid.h"
#include "tests/support/scratch_host.h"

namespace {

int32_t expected_status(uint8_t guid[16]) {
    FILE* file = fopen("/etc/VELGUID", "r");
    require(file != nullptr, "the file is there");
    char line[256];
    const bool header =
        fgets(line, sizeof line, file) &&
        strncmp(line, "This is the Velmar GUID file do not change or delete.", 53) == 0;
    const size_t got = header ? fread(guid, 1, 16, file) : 0;
    fclose(file);
    static constexpr uint8_t kZero[16] = {};
    return got == 16 && memcmp(guid, kZero, 16) != 0 ? 0 : static_cast<int32_t>(guid_s_not_found);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool entered = (enter_scratch_host(), true);
    const int fd = open("/etc/VELGUID", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    require(entered && write(fd, data, size) == static_cast<ssize_t>(size),
            "the input is put down");
    close(fd);

    uint8_t guid[16], expected[16];
    memset(guid, 0xAB, sizeof guid);
    memset(expected, 0xAB, sizeof expected);
    require(vel_guid_read(guid) == expected_status(expected), "the status is that of the reading");
    require(memcmp(guid, expected, sizeof guid) == 0, "so are the bytes");

    // Whatever stood there, a GUID that is written is read back.
    const uint8_t one[16] = {1};
    require(vel_guid_write(one) == 0 && vel_guid_read(guid) == 0, "a GUID is written");
    require(memcmp(guid, one, sizeof one) == 0, "and read back");
    return 0;
}
