#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

#include "veltool/channel.h"

namespace vel::tool {

namespace {

constexpr std::string_view kHelp = R"(Usage: veltool channel read [--follow] [--json] NAME

Shows the messages that wait in a channel, and takes them out of it: date, level, logger, message, and the
function, file and line that they come from. Only one process at a time can read a channel.

  -f, --follow  wait for further messages, until SIGINT or SIGTERM, or until the channel is removed
  -j, --json    show each message as a JSON object in a line of its own
)";

constexpr Option kOptions[] = {{"follow", 'f', false}, {"json", 'j', false}};

using Millis = std::chrono::milliseconds;
constexpr Millis kShortestWait{2};
constexpr Millis kLongestWait{50};

volatile std::sig_atomic_t is_to_stop = 0;

class Reader {
  public:
    explicit Reader(const CommandLine& line)
        : name_(channel_name(line)), is_json_(line.has("json")), segment_(open_channel(name_)) {}

    // What is there now, not what comes meanwhile.
    ExitStatus read() {
        const RingState state = ring_state(*segment_);
        uint64_t left = state.is_valid() ? state.waiting() : 1;  // at which look() fails
        while (left > 0 && std::cout) {
            const Find find = look(*segment_);
            if (find.kind == Find::kNothing) break;
            take(find);
            left -= std::min<uint64_t>(left, find.length);
        }
        return status_;
    }

    ExitStatus follow() {
        call_on_stop_signals([](int) { is_to_stop = 1; });
        Millis wait = kShortestWait;
        while (is_to_stop == 0 && std::cout) {
            const Find find = look(*segment_);
            if (find.kind != Find::kNothing) {
                take(find);
                wait = kShortestWait;
                continue;
            }
            if (wait == kLongestWait && !is_in_place(*segment_, name_))
                throw Failure("the channel has been removed");
            std::this_thread::sleep_for(wait);
            wait = std::min(wait * 2, kLongestWait);
        }
        return status_;
    }

    const std::string& name() const { return name_; }

  private:
    // A packet gives its place back when it has arrived, so that none is lost.
    void take(const Find& find) {
        if (find.kind == Find::kPacket) {
            std::cout << (is_json_ ? packet_json(find.packet) : packet_line(find.packet))
                      << std::flush;
            if (!std::cout) return;
        } else {
            const std::string length = std::to_string(find.length);
            complain(name_ + (find.kind == Find::kBrokenPacket
                                  ? ": a packet of " + length + " bytes is broken: skipped"
                                  : ": " + length + " bytes are no packets: dropped"));
            status_ = kFinding;
        }
        pass(*segment_, find);
    }

    std::string name_;
    bool is_json_;
    Segment segment_;
    ExitStatus status_ = kDone;
};

ExitStatus run(const CommandLine& line) {
    Reader reader(line);
    return attempt(reader.name(),
                   [&] { return line.has("follow") ? reader.follow() : reader.read(); });
}

}  // namespace

constinit const Verb kChannelRead{"channel", "read",   "show the messages that wait",
                                  kHelp,     kOptions, run};

}  // namespace vel::tool
