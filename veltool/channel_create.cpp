#include <charconv>
#include <csignal>
#include <iostream>

#include "log/hvn_packet.h"
#include "veltool/channel.h"
#include "veltool/report.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp =
    R"(Usage: veltool channel create [--size BYTES] [--hold] [--force] NAME

Makes the shared memory through which the handler pmx_hvnhandler with that IPCID hands messages on. Without
--hold its creator counts as gone when the command ends; writers do not mind.

  -s, --size BYTES  of the ring, 1048576 without it; of these, 1024 stay free
      --hold        stay as the living creator until SIGINT, SIGTERM or SIGHUP; the channel stays after that
  -f, --force       take a channel over whose creator lives, with what is in it
)";

constexpr Option kOptions[] = {{"size", 's', true}, {"hold", 0, false}, {"force", 'f', false}};

constexpr uint32_t kUsualSize = 1 << 20;
constexpr uint32_t kLeastSize = log::kKeptFree + kLeastPacket;  // a smaller ring takes no packet
constexpr uint32_t kMostSize = INT32_MAX;                       // as the offsets go

uint32_t wanted_size(const CommandLine& line) {
    if (!line.has("size")) return kUsualSize;
    const std::string text = line.value("size");
    const char* const end = text.data() + text.size();
    uint32_t size = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, size);
    if (error != std::errc() || stop != end || size < kLeastSize || size > kMostSize) {
        throw UsageError("a size is a number of bytes from " + std::to_string(kLeastSize) + " to " +
                         std::to_string(kMostSize) + ": " + text);
    }
    return size;
}

// Makes room for a channel: what is there is taken over, but for a smaller one.
void clear_the_way(const std::string& name, uint32_t size, bool by_force) {
    Segment found;
    try {
        found = open_channel(name);
    } catch (const Failure&) {
        return;  // there is none, or none that could be used
    }
    if (!by_force && CxShMemCreatorAlive(found.get()))
        throw Failure(name + ": its creator lives (--force takes it over)");
    if (found->size < size) remove_channel(std::move(found), name);
}

sigset_t ending_signals() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, number);
    return signals;
}

ExitStatus run(const CommandLine& line) {
    const std::string name = channel_name(line);
    const uint32_t size = wanted_size(line);
    const bool holds = line.has("hold");
    const sigset_t signals = ending_signals();
    if (holds) sigprocmask(SIG_BLOCK, &signals, nullptr);
    clear_the_way(name, size, line.has("force"));
    const Segment segment = create_channel(name, size);
    std::cout << name << ": " << with_commas(size) << " bytes" << std::endl;
    int number = 0;
    if (holds) sigwait(&signals, &number);
    return kDone;
}

}  // namespace

constinit const Verb kChannelCreate{"channel", "create", "make a channel", kHelp, kOptions, run};

}  // namespace vel::tool
