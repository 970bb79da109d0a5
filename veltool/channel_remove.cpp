#include "veltool/channel.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool channel remove [--force] NAME

Removes a channel, with the messages in it. The file /tmp/NAME stays.

  -f, --force  also when the process that has created it lives
)";

constexpr Option kOptions[] = {{"force", 'f', false}};

ExitStatus run(const CommandLine& line) {
    const std::string name = channel_name(line);
    Segment segment = open_channel(name);
    if (!line.has("force") && CxShMemCreatorAlive(segment.get()))
        throw Failure(name + ": its creator lives (--force removes it)");
    remove_channel(std::move(segment), name);
    return kDone;
}

}  // namespace

constinit const Verb kChannelRemove{"channel", "remove", "remove a channel", kHelp, kOptions, run};

}  // namespace vel::tool
