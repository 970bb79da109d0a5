// Time-based GUIDs: the clock, the random numbers, what is unique and what is kept.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include "guid/generator.h"
#include "tests/support/platform_seams.h"

namespace {

using vel::guid::generator;
using vel::guid::Timestamp;
using Guid = std::array<uint8_t, 16>;

const std::vector<seams::Interface> kOneCard = {{"eth0", 1, "\x02\x01\x02\x03\x04\x05"}};

class GuidCreate : public testing::Test {
  protected:
    GuidCreate() {
        new (&generator) vel::guid::Generator;
        seams::now.interfaces = &kOneCard;
    }

    static void set_clock(time_t seconds, suseconds_t micros) {
        seams::now.clock = [=](timeval* time) {
            *time = {seconds, micros};
            return 0;
        };
    }

    static guid_record create() {
        guid_record record;
        memset(&record, 0xEE, sizeof record);
        unsigned long status = 1;
        guid_create(&record, &status);
        EXPECT_EQ(status, 0U);
        return record;
    }

    seams::Restored restored_;
};

int clock_seq(const guid_record& record) {
    return (record.clock_seq_hi_and_reserved & 0x3F) << 8 | record.clock_seq_low;
}

TEST_F(GuidCreate, CountsTheClockFrom1582InHalvesThatAreNotCut) {
    const struct {
        time_t seconds;
        suseconds_t micros;
        uint64_t lo, hi;
    } rows[] = {
        {0, 0, 0x13814000, 0x01B21DD2},         {1100000000, 123456, 0x281B9680, 0x01D93243},
        {429, 496729, 0x113813FFA, 0x01B21DD3},  // a 33rd bit in lo although hi has the carry
        {429, 496730, 0x113814004, 0x01B21DD3}, {4294967295, 999999, 0x113813FF6, 0x024AB452},
    };
    for (const auto& row : rows) {
        set_clock(row.seconds, row.micros);
        Timestamp time;
        vel::guid::uuid__get_os_time(&time);
        EXPECT_EQ(time.lo, row.lo) << row.seconds;
        EXPECT_EQ(time.hi, row.hi) << row.seconds;
    }
}

TEST_F(GuidCreate, DrawsTheLaidDownRandomSequence) {
    generator.s_rand_m = 971;
    generator.s_rand_ia = 11113;
    generator.s_rand_ib = 104322;
    generator.s_rand_irand = 4181;
    uint16_t drawn = 0;
    for (int i = 0; i < 3000; ++i) drawn = vel::guid::true_random();
    EXPECT_EQ(drawn, 0xA0B3);
}

TEST_F(GuidCreate, SeedsFromTheClockAndTheProcess) {
    set_clock(1100000000, 123456);
    create();
    // 0x281B9680 folded into 16 bits, then one step of the sequence.
    const uint64_t irand = 4181 + (0x281B ^ 0x9680) + static_cast<uint64_t>(getpid());
    EXPECT_EQ(generator.s_rand_irand, 978 * irand + 13020 + 178261);
}

TEST_F(GuidCreate, FillsTheRecord) {
    set_clock(1100000000, 123456);
    create();
    generator.s_clock_seq = 0xF2A5;  // only 14 bits of it are taken
    set_clock(1100000000, 123457);
    const guid_record expected = {0x281B968A, 0x3243, 0x11D9, 0xB2, 0xA5, {2, 1, 2, 3, 4, 5}, {}};
    const guid_record record = create();
    EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);
}

TEST_F(GuidCreate, CountsUpWithinOneReadingAndStartsAnewAtTheNext) {
    set_clock(1000, 1);
    create();
    set_clock(1000, 2);
    const guid_record first = create(), second = create(), third = create();
    EXPECT_EQ(second.time_low, first.time_low + 1);
    EXPECT_EQ(third.time_low, first.time_low + 2);
    EXPECT_EQ(clock_seq(second), clock_seq(first));
    set_clock(1000, 3);
    EXPECT_EQ(create().time_low, first.time_low + 10);
}

TEST_F(GuidCreate, CarriesTheAdjustmentIntoTheUpperHalf) {
    create();
    set_clock(1255, 766425);  // six intervals before the upper half counts up
    guid_record record;
    for (int adjust = 0; adjust < 7; ++adjust) record = create();
    EXPECT_EQ(record.time_low, 0x100000000U);
    EXPECT_EQ(record.time_mid, 0x1DD5);
    EXPECT_EQ(record.time_hi_and_version, 0x11B2);
}

TEST_F(GuidCreate, TakesANewClockSequenceWhenTheClockGoesBack) {
    const struct {
        uint16_t before;
        int after;
    } rows[] = {{5, 6}, {0x3FFE, 0x3FFF}, {0x3FFF, 1}, {0x7FFF, 1}, {0xC004, 5}};
    for (const auto& row : rows) {
        set_clock(1000, 2);
        create();
        create();
        generator.s_clock_seq = row.before;
        set_clock(1000, 1);
        const guid_record record = create();
        EXPECT_EQ(clock_seq(record), row.after) << row.before;
        EXPECT_EQ(record.time_low % 10, 0U) << "no adjustment";
    }
    set_clock(999, 0);
    generator.s_clock_seq = 0;
    EXPECT_NE(clock_seq(create()), 0);
}

// When the 33rd bit of the lower half falls away, the reading compares as earlier than the one
// before.
TEST_F(GuidCreate, TakesTheLossOfTheThirtyThirdBitForAClockSetBack) {
    set_clock(429, 999999);
    create();
    generator.s_clock_seq = 7;
    set_clock(430, 0);
    EXPECT_EQ(clock_seq(create()), 8);
}

TEST_F(GuidCreate, WaitsForTheNextReadingAfterTenGuids) {
    int readings = 0;
    seams::now.clock = [&](timeval* time) {
        *time = {1000, readings++ / 40};
        return 0;
    };
    guid_record last = create();
    for (int i = 0; i < 1000; ++i) {
        const guid_record next = create();
        EXPECT_GT(next.time_low, last.time_low);
        EXPECT_EQ(clock_seq(next), clock_seq(last));
        last = next;
    }
}

// After 32,767 in one reading a call keeps reading the clock, whatever it shows by then.
TEST_F(GuidCreate, DoesNotReturnOnceAReadingIsUsedUp) {
    const auto exhaust = [] {
        long readings_of_the_last = -1;
        seams::now.clock = [&](timeval* time) {
            const bool last = readings_of_the_last >= 0;
            if (last && ++readings_of_the_last > 100'000) _exit(42);
            *time = {1000, readings_of_the_last > 50'000 ? readings_of_the_last : 0};
            return 0;
        };
        for (int i = 0; i < 32767; ++i) {
            const unsigned long made = create().time_low;
            if (made != generator.s_time_last.lo + static_cast<unsigned long>(i) + 1) _exit(1);
        }
        readings_of_the_last = 0;
        create();
        _exit(2);
    };
    EXPECT_EXIT(exhaust(), testing::ExitedWithCode(42), "");
}

TEST_F(GuidCreate, EndsTheProcessWhenTheClockCannotBeRead) {
    seams::now.clock = [](timeval*) {
        errno = EPERM;
        return -1;
    };
    EXPECT_EXIT(create(), testing::ExitedWithCode(255), "^uuid__get_os_time: ");
}

TEST_F(GuidCreate, StartsAfreshInAForkedChild) {
    set_clock(1000, 2);
    create();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    const guid_record made = create();
    if (child == 0) _exit(write(ends[1], &made, sizeof made) == sizeof made ? 0 : 1);
    guid_record theirs;
    ASSERT_EQ(read(ends[0], &theirs, sizeof theirs), static_cast<ssize_t>(sizeof theirs));
    waitpid(child, nullptr, 0);
    EXPECT_NE(memcmp(&made, &theirs, sizeof made), 0);
    EXPECT_NE(clock_seq(made), clock_seq(theirs));
}

TEST_F(GuidCreate, MakesAMillionWithoutARepeatInOneThreadAndInFour) {
    for (const size_t threads : {size_t{1}, size_t{4}}) {
        std::vector<Guid> made(1'000'000);
        std::vector<std::thread> makers;
        const size_t share = made.size() / threads;
        for (size_t t = 0; t < threads; ++t) {
            makers.emplace_back([&, t] {
                for (size_t i = 0; i < share; ++i) vel_guid_generate(made[t * share + i].data());
            });
        }
        for (std::thread& maker : makers) maker.join();
        std::sort(made.begin(), made.end());
        EXPECT_EQ(std::adjacent_find(made.begin(), made.end()), made.end());
        EXPECT_EQ(made.front()[8] & 0xC0, 0x80);
    }
}

}  // namespace
