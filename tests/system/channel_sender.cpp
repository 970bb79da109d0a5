// Writes into a channel for veltool_channel_test.py: channel_sender NAME COMMAND
//   send PREFIX COUNT LENGTH  messages as the toolkit sends them, "PREFIX NUMBER" and filling
//   raw HEX...                bytes of any kind, as one packet each
//   offsets READ WRITE        sets the offsets
// What is not sent is told by its state, a line each.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "log/hvn_packet.h"
#include "log/pmx_types.h"

using namespace vel::log;

static void tell(int32_t state) {
    if (state != kSent) printf("%d\n", state);
    fflush(stdout);
}

static PacketText text_of(const std::string& text) {
    return {text.data(), static_cast<uint32_t>(text.size())};
}

static void send(CxShMem& channel, const std::string& prefix, int count, size_t length) {
    for (int number = 0; number < count; ++number) {
        std::string message = prefix + ' ' + std::to_string(number) + ' ';
        if (message.size() < length) message.append(length - message.size(), 'x');
        PacketFields fields;
        fields.level = PMX_INFO;
        fields.logger = text_of(prefix);
        fields.message = text_of(message);
        fields.file = {"sender.c", 8};
        fields.line = 7;
        tell(pmxSendMessage(&channel, fields));
    }
}

static void send_raw(CxShMem& channel, const std::string& hex) {
    constexpr int kHexBase = 16;
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, kHexBase));
    tell(pmxIPCWriteMessage(&channel, reinterpret_cast<const uint8_t*>(bytes.data()),
                            text_of(bytes).length));
}

int main(int argc, char** argv) {
    CxShMem channel;
    if (argc < 4 || CxShMemOpen(argv[1], &channel) != 0) return 1;
    const std::string command = argv[2];
    if (command == "send" && argc == 6) {
        send(channel, argv[3], atoi(argv[4]), strtoul(argv[5], nullptr, 10));
    } else if (command == "raw") {
        for (int i = 3; i < argc; ++i) send_raw(channel, argv[i]);
    } else if (command == "offsets" && argc == 5) {
        CxShMemSetReadOffset(&channel, atoi(argv[3]));
        CxShMemSetWriteOffset(&channel, atoi(argv[4]));
    } else {
        return 2;
    }
    return CxShMemClose(&channel);
}
