// Packets, their ring in shared memory, and the handler that sends them.
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <thread>

#include "fuzz/packet_bytes.h"
#include "log/event.h"
#include "log/hvn_packet.h"
#include "log/object.h"
#include "tests/log/log_file_fixture.h"

using namespace vel::log;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

std::string new_name() {
    static int number = 0;
    return "vel_test_hvn_" + std::to_string(getpid()) + "_" + std::to_string(++number);
}

// A segment with its key file, for as long as it lives.
struct Segment {
    explicit Segment(uint32_t size, std::string of = new_name()) : name(std::move(of)) {
        create(size);
    }
    ~Segment() {
        EXPECT_EQ(CxShMemDestroy(&ring), 0);
        std::filesystem::remove("/tmp/" + name);
    }
    void create(uint32_t size) { EXPECT_EQ(CxShMemCreate(name.c_str(), size, &ring), 0); }
    uint64_t attached() const {
        shmid_ds state{};
        EXPECT_EQ(shmctl(ring.memory, IPC_STAT, &state), 0);
        return state.shm_nattch;
    }
    const std::string name;
    CxShMem ring{};
};

// Takes up to so many bytes out of the ring, as the other side does.
std::string take(CxShMem* ring, size_t most = SIZE_MAX) {
    const auto* data = static_cast<const char*>(ring->address);
    auto read = static_cast<uint32_t>(CxShMemGetReadOffset(ring));
    const auto write = static_cast<uint32_t>(CxShMemGetWriteOffset(ring));
    std::string taken;
    for (; read != write && taken.size() < most; read = (read + 1) % ring->size)
        taken += data[read];
    CxShMemSetReadOffset(ring, static_cast<int32_t>(read));
    return taken;
}

int32_t put(CxShMem* ring, const std::string& bytes) {
    return pmxIPCWriteMessage(ring, reinterpret_cast<const uint8_t*>(bytes.data()),
                              static_cast<uint32_t>(bytes.size()));
}

uint32_t number_at(const std::string& packet, uint32_t offset) {
    return pmxReadInt(reinterpret_cast<const uint8_t*>(packet.data()), offset);
}

// What becomes of other messages in a packet, and of the ring, is the business of
// fuzz/channel_ring.cpp, whose corpus is replayed with these tests.
TEST(Packet, KeepsAMessageThatJustFitsAndReplacesWithinAnIdentifierThatIsCut) {
    Segment segment(kKeptFree + 200);
    const std::string fits(57, 'x');
    for (const auto& [message, sent] :
         {std::pair(fits, fits), {"#_" + fits + "#", "#-" + fits.substr(2) + " (truncated)..."}}) {
        const PacketText text{message.data(), static_cast<uint32_t>(message.size())};
        EXPECT_EQ(pmxSendMessage(&segment.ring, {.message = text}), kSent);
        EXPECT_EQ(take(&segment.ring), packet_bytes({0, "", 0, sent, "", ""}));
    }
}

TEST(Ring, IsNoneWithoutRoomOrMemoryOrLock) {
    Segment small(kKeptFree - 1), other(4096);
    CxShMem closed = other.ring, unlockable = other.ring;
    closed.address = nullptr;
    unlockable.semaphores = -1;
    EXPECT_EQ(put(&unlockable, "x"), CX_SHMEM_NOT_LOCKED);
    for (CxShMem* none : {&small.ring, &closed, static_cast<CxShMem*>(nullptr)}) {
        EXPECT_EQ(put(none, "x"), kNotWritable);
        EXPECT_EQ(pmxSendMessage(none, {}), kNotWritable);
        EXPECT_EQ(pmxIPCGetSize(none), 0U);
    }
    const PacketText huge{"", UINT32_MAX};
    EXPECT_EQ(pmxSendMessage(&other.ring, {.message = huge, .file = huge}), kNotWritable);
}

TEST(Ring, StaysWithinItsDataWhateverTheOtherSideWritesIntoItsHeader) {
    constexpr int32_t kSize = kKeptFree + 64, kBehind = 64;
    Segment segment(kSize + kBehind);
    segment.ring.size = kSize;
    std::jthread scribbler([&](const std::stop_token& end) {
        constexpr int32_t kPlaces[] = {0, 30, kSize - 30, kSize - 1};
        for (std::minstd_rand random(2); !end.stop_requested();) {
            const auto value = static_cast<int32_t>(random());
            const auto set = value / 8 % 2 == 0 ? CxShMemSetWriteOffset : CxShMemSetReadOffset;
            set(&segment.ring, value % 8 == 0 ? -value : kPlaces[value / 16 % 4]);
        }
    });
    size_t sent = 0, refused = 0;
    for (const auto end = Clock::now() + 1s; Clock::now() < end;) {
        const int32_t result = put(&segment.ring, std::string(1 + sent % 64, 'x'));
        sent += result == kSent;
        refused += result == kNotWritable;
    }
    EXPECT_TRUE(sent > 0 && refused > 0);
    const auto* behind = static_cast<char*>(segment.ring.address) + kSize;
    EXPECT_EQ(std::count(behind, behind + kBehind, '\0'), kBehind);
    EXPECT_EQ(semctl(segment.ring.semaphores, 0, GETVAL), 0);  // the lock is free
}

class HVNHandlerTest : public HandlerTest {
  protected:
    void connect(uint32_t size, const std::string& properties = "") {
        segment.emplace(size);
        configure("h.IPCID=" + segment->name + "\n" + properties);
    }
    void configure(const std::string& properties) {
        open_handler(
            "pmx_hvnhandler",
            "log.level=ALL\nh.listenerNames=next\nnext.className=test_handler\n" + properties);
    }
    // The message of the next packet in the ring; "-": there is none.
    std::string received() {
        packet = take(&segment->ring, 4);
        if (packet.empty()) return "-";
        packet += take(&segment->ring, number_at(packet, 0) - 4);
        const uint32_t at = 24 + number_at(packet, 12);
        return packet.substr(at + 4, number_at(packet, at));
    }
    void expect_sent(const std::string& event, const std::string& as) {
        EXPECT_EQ(report_of(event), "");
        EXPECT_EQ(received(), as);
    }
    std::optional<Segment> segment;
    std::string packet;  // that was received last
};

TEST_F(HVNHandlerTest, SendsTheLevelThatTheServerKnows) {
    connect(4096);
    const struct {
        int32_t level, own;
        uint32_t sent;  // 0: nothing, and the listeners get nothing either
    } rows[] = {{INT32_MIN, 0, 1U << 31}, {7000, 0, 7000},     {7001, 0, 7000},
                {PMX_NO_LEVEL, 0, 3000},  {-9999, 3000, 3000}, {-9999, 3001, 0}};
    for (const auto& row : rows) {
        set_gate(handler, 1, row.own);
        PmxEvent event{.level = row.level, .arena = {nullptr, nullptr}};
        PmxHVNHandlerFProcess(handler, &event, 103);
        EXPECT_EQ(received(), row.sent == 0 ? "-" : "");
        EXPECT_EQ(row.sent == 0 ? 0 : number_at(packet, 8), row.sent) << row.level;
        EXPECT_EQ(recorded().empty(), row.sent == 0);
    }
}

TEST_F(HVNHandlerTest, SendsTheTimeAndTheNamesThatItKnows) {
    connect(4096);
    const int64_t before = CxSystemGetTimestamp();
    PmxLogDebugMin(logger, "m.c", "main", 7, "%s", PMX_STRING, "text", PMX_END);
    EXPECT_EQ(received(), "text");
    const auto time_at = [this](uint32_t offset) {
        return pmxReadLong(reinterpret_cast<const uint8_t*>(packet.data()), offset);
    };
    EXPECT_EQ(packet, packet_bytes({3000, "PmxLog", time_at(22), "text", "main", "m.c", 7}));
    EXPECT_TRUE(time_at(22) >= before && time_at(22) <= CxSystemGetTimestamp());
    set("hvnLoggerName", "_my_logger_");
    PmxLogText(logger, nullptr, PMX_PROPERTY, "pmx_prop_srcline", PMX_INT, 5, PMX_END);
    EXPECT_EQ(received(), "");  // a line belongs to a file
    EXPECT_EQ(packet, packet_bytes({3000, "-my-logger-", time_at(27), "", "", "", 5}));
}

TEST_F(HVNHandlerTest, NumbersTheMessagesOfAllHandlersAcrossClosings) {
    int64_t next = 0;
    for (int i = 0; i < 2; ++i) {
        connect(4096,
                "h.traceEnabled=true\nh.listenerNames=other\nother.traceEnabled=true\n"
                "other.className=pmx_hvnhandler\n");
        PmxSetObjProp(get("other"), "IPCID", segment->name.c_str());
        PmxLogText(logger, "x", PMX_END);
        const std::string first = received();
        ASSERT_EQ(first.substr(0, 8), "x seq#=<");
        const int64_t number = std::stoll(first.substr(8));
        EXPECT_TRUE(i == 0 || number == next);
        EXPECT_EQ(received(), "x seq#=<" + std::to_string(number + 1) + ">");
        next = number + 2;
        PmxCloseToolkit();
        add_classes();
    }
}

TEST_F(HVNHandlerTest, DropsAMessageWithAWarningWhenNobodyReadsForHalfASecond) {
    connect(kKeptFree + 99 + 99 + 45);
    const std::string text(57, 'x');  // in 99 bytes
    for (int i = 0; i < 2; ++i) EXPECT_EQ(report_of(text), "");
    signal(SIGALRM, [](int) {});  // a signal does not cut the waiting short
    const itimerval often{{0, 500}, {0, 500}}, never{};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto start = Clock::now();
    EXPECT_EQ(report_of("lost"),  // of 46 bytes
              "PMXWH0094W A message is discarded due to timeout.");
    EXPECT_GE(Clock::now() - start, 500ms);
    setitimer(ITIMER_REAL, &never, nullptr);
    for (const std::string& sent : {text, text, std::string("-")}) EXPECT_EQ(received(), sent);
    EXPECT_EQ(recorded(), "next103:" + text + " next103:" + text + " next103:lost");
}

TEST_F(HVNHandlerTest, ReportsEachEventThatFindsNoChannelUntilThereIsOne) {
    const std::string name = new_name();
    configure("h.IPCID=" + name + "\npmxlog.errorLogger.listenerNames=h pmxlog.stderrHandler\n");
    for (const char* event : {"a", "b"}) {
        EXPECT_EQ(report_of(event),
                  "PMXWH0091E An IPC channel could not be opened. The error code is -250.");
    }
    set("logInternalErrs", "false");
    EXPECT_EQ(report_of("c"), "");
    EXPECT_EQ(recorded(), "next103:a next103:b next103:c");  // and no report
    segment.emplace(4096, name);
    expect_sent("d", "d");
}

TEST_F(HVNHandlerTest, ReportsWhatCannotBeSent) {
    connect(4096);
    set("hvnLoggerName", std::string(5000, 'n'));
    EXPECT_EQ(report_of("x"),
              "PMXWH0090E A message could not be sent to the Halvane Application Server. The error "
              "code is -1.");
    set("logInternalErrs", "false");
    expect_sent("x", "-");
    set("hvnLoggerName", "n");
    PmxHandlerSetFormatter(handler, nullptr);  // it would bind the message
    expect_sent("x", "-");
    EXPECT_EQ(recorded(), "next103:x next103:x next103:x");
}

TEST_F(HVNHandlerTest, OpensTheChannelOfANewNameAtOnce) {
    connect(4096);
    expect_sent("a", "a");
    EXPECT_EQ(report_of("IPCID", new_name()), "");  // there is none of the name
    EXPECT_EQ(report_of("b").substr(0, 10), "PMXWH0091E");
    set("IPCID", segment->name);
    EXPECT_EQ(segment->attached(), 2U);
    expect_sent("c", "c");
    Segment other(4096);
    set("IPCID", other.name);
    EXPECT_EQ(segment->attached() * 10 + other.attached(), 12U);
    expect_sent("d", "-");
    PmxHVNHandlerFClose(handler);
    EXPECT_EQ(other.attached(), 1U);
    EXPECT_EQ(take(&other.ring).size(), 36U + 6 + 1);
}

TEST_F(HVNHandlerTest, FindsTheChannelOfAServerThatWasStartedAgain) {
    constexpr uint32_t kSize = kKeptFree + 300;
    connect(kSize);
    expect_sent("a", "a");
    const std::string name = segment->name, filling(200, 'x');
    segment.reset();
    EXPECT_EQ(report_of("b").substr(0, 10), "PMXWH0090E");
    segment.emplace(kSize, name);
    expect_sent("c", "c");
    for (const bool is_removed : {false, true}) {  // while a message waits for room
        EXPECT_EQ(report_of(filling.substr(0, 157)), "");
        std::thread server([&] {
            std::this_thread::sleep_for(200ms);
            if (is_removed) {
                segment.reset();
                segment.emplace(kSize, name);
            } else {
                CxShMemClose(&segment->ring);
                segment->create(kSize);
            }
        });
        EXPECT_EQ(report_of("waits" + filling.substr(0, 100)), "");
        server.join();
        EXPECT_EQ(received().substr(0, 6), "waitsx");
        EXPECT_EQ(segment->attached(), 2U);
    }
}

}  // namespace
