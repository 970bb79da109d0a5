// veltool's reader of the channel: whatever lies in the ring is walked from packet to packet, each
// one is as it was sent, and what is shown of it steers no terminal.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/packet_bytes.h"
#include "fuzz/target.h"
#include "veltool/channel.h"
#include "veltool/utf8.h"

using namespace vel::tool;

static Packet any_packet(Input& input) {
    const auto text = [&] {
        return std::string(input.byte() % 40, static_cast<char>(input.byte()));
    };
    const auto level = static_cast<int32_t>(input.number(4));
    const std::string file = text();
    const auto line = file.empty() ? 0 : static_cast<uint32_t>(input.number(4));
    return {level, text(), static_cast<int64_t>(input.number(8)), text(), text(), file, line};
}

static void check_shown(const Packet& packet) {
    for (const std::string& shown : {packet_line(packet), packet_json(packet)}) {
        const auto controls = std::ranges::count_if(
            shown, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
        require(controls == 1 && shown.back() == '\n', "it is one line");
        require(utf8_end(shown) == shown.size(), "it is UTF-8");
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kHeader = 64;
    Input input{data, size};
    const auto ring_size = static_cast<uint32_t>(1 + input.number(2) % 2000);
    std::vector<char> memory(kHeader + ring_size);
    CxShMem segment{-1, -1, memory.data() + kHeader, ring_size};
    const auto start = static_cast<int32_t>(input.number(2) % ring_size);
    const int packets = input.byte() % 8;
    std::string waiting;
    for (int i = 0; i < packets; ++i) {
        const std::string packet = packet_bytes(any_packet(input));
        if (waiting.size() + packet.size() < ring_size) waiting += packet;
    }
    while (packets == 0 && input.left > 0 && waiting.size() + 1 < ring_size)
        waiting += static_cast<char>(input.byte());
    for (size_t i = 0; i < waiting.size(); ++i)
        memory[kHeader + (static_cast<size_t>(start) + i) % ring_size] = waiting[i];
    const uint64_t end = (static_cast<size_t>(start) + waiting.size()) % ring_size;
    CxShMemSetReadOffset(&segment, start);
    CxShMemSetWriteOffset(&segment, static_cast<int32_t>(end));
    while (!waiting.empty()) {
        const Find find = look(segment);
        require(find.length > 0 && find.length <= waiting.size(), "no more than waits is taken");
        require(packets == 0 || find.kind == Find::kPacket, "what was sent is a packet");
        if (find.kind == Find::kPacket) {
            check_shown(find.packet);
            if (waiting.substr(4, 4) == number_bytes(1))  // the version that is known
                require(packet_bytes(find.packet) == waiting.substr(0, find.length),
                        "it is as sent");
        }
        pass(segment, find);
        waiting.erase(0, find.length);
    }
    require(look(segment).kind == Find::kNothing, "nothing is left");
    return 0;
}
