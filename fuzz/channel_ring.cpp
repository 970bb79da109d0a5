// The ring of a channel whose other side writes anything into its header, and the packets that are
// put into it: both are what a model makes of them.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "fuzz/packet_bytes.h"
#include "fuzz/target.h"
#include "log/hvn_packet.h"

using namespace vel::log;

namespace {

// What the lock is of; there is one for all inputs.
struct Segment {
    Segment() { require(CxShMemCreate(name.c_str(), 1, &handle) == 0, "a segment is created"); }
    ~Segment() {
        CxShMemDestroy(&handle);
        std::filesystem::remove("/tmp/" + name);
    }
    const std::string name = "vel_fuzz_channel_" + std::to_string(getpid());
    CxShMem handle{};
};

struct Offsets {
    int32_t read = 0, write = 0;
    void set(CxShMem* ring) const {
        CxShMemSetReadOffset(ring, read);
        CxShMemSetWriteOffset(ring, write);
    }
};

// What the other side does while the writer waits.
CxShMem* awaited;
Offsets meanwhile;

// The ring lies on the heap, so that whatever goes beyond its data is seen.
struct Trial {
    static constexpr uint32_t kHeader = 64;

    Trial(const CxShMem& lock, const Input& input)
        : in(input),
          size(kKeptFree + static_cast<uint32_t>(in.number(2)) % 4096),
          memory(kHeader + size),
          model(size),
          ring{lock.semaphores, lock.memory, memory.data() + kHeader, size} {
        awaited = &ring;
    }
    int32_t any_offset() {
        const auto value = static_cast<int32_t>(in.number(4));
        const int kind = in.byte() % 8;
        return kind == 0 ? value : static_cast<int32_t>(kind == 1 ? size : in.number(2) % size);
    }
    // A character over and over, but for its ends.
    std::string any_text(size_t most) {
        std::string text(in.number(2) % (most + 1), static_cast<char>(in.byte()));
        for (size_t i = 0; i < std::min<size_t>(text.size(), 6); ++i)
            text[i] = "#_ab"[in.byte() % 4];
        if (!text.empty()) text.back() = "#_ab"[in.byte() % 4];
        return text;
    }
    bool is_place(int32_t offset) const { return offset >= 0 && offset < int64_t{size}; }
    int32_t expected(const std::string& bytes) {
        const auto length = static_cast<int64_t>(bytes.size());
        if (length > int64_t{size} - kKeptFree || !is_place(at.write)) return kNotWritable;
        for (int tries = 0; tries < 2; ++tries) {
            if (!is_place(at.read)) return kNotWritable;
            const int64_t used = (int64_t{at.write} - at.read + size) % size;
            if (length <= size - used - kKeptFree) {
                for (const char byte : bytes) {
                    model[static_cast<size_t>(at.write)] = static_cast<uint8_t>(byte);
                    at.write = static_cast<int32_t>((int64_t{at.write} + 1) % size);
                }
                return kSent;
            }
            const int32_t before = at.write;
            at = meanwhile;
            if (at.write != before) return CX_SHMEM_NOT_LOCKED;
        }
        return kTimedOut;
    }
    int32_t write_bytes() {
        std::string bytes = any_text(size);
        const int64_t up_to_the_end = int64_t{size} - at.write;
        if (in.byte() % 4 == 0) bytes.resize(static_cast<uint32_t>(up_to_the_end) % (size + 1));
        const int32_t result =
            pmxIPCWriteMessage(&ring, reinterpret_cast<const uint8_t*>(bytes.data()),
                               static_cast<uint32_t>(bytes.size()));
        return result - expected(bytes);
    }
    int32_t send_packet() {
        vel::tool::Packet packet{
            static_cast<int32_t>(in.number(4)), any_text(40), static_cast<int64_t>(in.number(8)),
            any_text(in.byte() * 20U),          any_text(40), any_text(40)};
        if (!packet.file.empty()) packet.line = static_cast<uint32_t>(in.number(4));
        const std::string sequence = any_text(30);
        const auto view = [](const std::string& text) {
            return PacketText{text.data(), static_cast<uint32_t>(text.size())};
        };
        const int32_t result = pmxSendMessage(
            &ring, {1, packet.level, view(packet.logger), packet.time, view(packet.message),
                    view(sequence), view(packet.function), view(packet.file), packet.line});
        std::string& message = packet.message;
        const size_t second = message.find('#', 1), longest = size - kKeptFree;
        if (message[0] == '#' && second != message.npos)
            std::replace(message.begin(), message.begin() + static_cast<long>(second), '_', '-');
        if (longest >= 143 + sequence.size() && message.size() > longest - 143 - sequence.size())
            message = message.substr(0, longest - 143 - sequence.size()) + " (truncated)...";
        message += sequence;
        return result - expected(packet_bytes(packet));
    }
    void step() {
        meanwhile = {any_offset(), in.byte() % 4 == 0 ? any_offset() : at.write};
        const int what = in.byte() % 8;
        if (what < 5) return require((what < 2 ? write_bytes() : send_packet()) == 0, "the result");
        if (what < 7) at = {any_offset(), what == 5 ? any_offset() : at.write};
        if (what == 7) at.read = at.write;
        at.set(&ring);
    }
    void compare() const {
        require(std::equal(model.begin(), model.end(), memory.begin() + kHeader), "the data");
        require(CxShMemGetReadOffset(&ring) == at.read && CxShMemGetWriteOffset(&ring) == at.write,
                "the offsets");
    }

    Input in;
    const uint32_t size;
    std::vector<uint8_t> memory, model;
    CxShMem ring;
    Offsets at;
};

}  // namespace

extern "C" int __wrap_nanosleep(const timespec*, timespec*) {
    meanwhile.set(awaited);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Segment segment;
    Trial trial(segment.handle, {data, size});
    while (trial.in.left > 0) {
        trial.step();
        trial.compare();
    }
    return 0;
}
