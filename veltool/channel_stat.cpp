#include <iostream>

#include "veltool/channel.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool channel stat NAME

Shows the size of a channel's ring, its read and write offsets, how many bytes wait to be read, and whether the
process that has created it lives.
)";

ExitStatus run(const CommandLine& line) {
    const std::string name = channel_name(line);
    const Segment segment = open_channel(name);
    const RingState state = ring_state(*segment);
    std::cout << "size     " << state.size << "\nread     " << state.read << "\nwrite    "
              << state.write << '\n';
    if (state.is_valid()) std::cout << "waiting  " << state.waiting() << '\n';
    std::cout << "creator  " << (CxShMemCreatorAlive(segment.get()) ? "lives" : "gone") << '\n';
    if (state.is_valid()) return kDone;
    complain(name + ": the offsets are not within the data");
    return kFinding;
}

}  // namespace

constinit const Verb kChannelStat{"channel", "stat", "show the state of a channel", kHelp, {}, run};

}  // namespace vel::tool
