// Records of four processes, and of one, into one rolling file, each of which is handed to the
// kernel before the call returns, beside log4cplus with its lock file and the least that it can
// cost; and packets into the channel to an application server. After each run the files are looked
// through: every record is there once and whole, of the peer as well. Prints nanoseconds of a
// record as JSON; only ratios within one run mean anything, and bench/report.py makes them.
//
// With the words "write", the name of a library and a number it only writes so many records, for
// strace to count the system calls of each.
#include <fcntl.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/initializer.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <string_view>
#include <vector>

#include "bench/records.h"
#include "log/hvn_packet.h"
#include "runtime/cx_os.h"
#include "runtime/cx_shmem.h"

static bool blocks_first = false;  // whoever wants a semaphore queues for it at once

extern "C" {
int __real_semop(int, sembuf*, size_t);
int __wrap_semop(int set, sembuf* operations, size_t count) {
    for (size_t i = 0; blocks_first && i < count; ++i) operations[i].sem_flg &= short(~IPC_NOWAIT);
    return __real_semop(set, operations, count);
}
}

namespace {

using namespace bench;

constexpr int kProcesses = 4;
constexpr int kRecords = 44'000;      // of all processes together, and each one's first besides
constexpr long kFileBytes = 1 << 20;  // as it is where nobody sets it
constexpr int kFiles = 12;            // more than there come to be, so that none is removed
constexpr int kLeastRollOvers = 5;
constexpr int kRuns = 7;  // of each library, in turn
constexpr int kRunsOfChannel = 21, kSends = 20'000;
constexpr unsigned kPatience = 30;  // seconds for a run

constexpr int kFirstNumber = 10'000;  // all have five digits
constexpr const char* kText = "connections";

int64_t now() {
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The lock of all that is ours.
class LockSet {
  public:
    LockSet() {
        while (semget(key_, 0, 0) != -1 || errno != ENOENT) key_ += 1 << 22;  // beyond process ids
        require(CxSemOpen(&set_, key_) == CX_SUCCESS, "no semaphore");
    }
    ~LockSet() { semctl(set_, 0, IPC_RMID); }
    LockSet(const LockSet&) = delete;
    LockSet& operator=(const LockSet&) = delete;

    key_t key() const { return key_; }
    void take() const { require(CxSemLock(set_) == CX_SUCCESS, "no lock"); }
    void give() const { require(CxSemUnlock(set_) == CX_SUCCESS, "no unlocking"); }

  private:
    key_t key_ = getpid();
    CxSem set_ = -1;
};
const LockSet* lock_set = nullptr;

// ---- Who writes -----------------------------------------------------------------------------

struct Ours : RecordingToolkit {
    explicit Ours(const std::string& path) {
        PmxObject* const handler = add_formatting_handler("pmx_multiproc_filehandler");
        PmxSetObjProp(handler, "fileName", path.c_str());
        PmxSetObjPropInt(handler, "maxFileBytes", kFileBytes);
        PmxSetObjPropInt(handler, "maxFiles", kFiles);
        PmxSetObjPropInt(handler, "MPFileSemKey", lock_set->key());
    }
    void write(int number) { RecordingToolkit::write(number, kText); }
};

struct Blocking : Ours {
    explicit Blocking(const std::string& path) : Ours(path) { blocks_first = true; }
};

// Each record is flushed while the lock file is held.
struct Log4cplus : RecordingLog4cplus {
    explicit Log4cplus(const std::string& path)
        : RecordingLog4cplus(
              log4cplus::SharedAppenderPtr(new log4cplus::RollingFileAppender(properties(path)))) {}
    void write(int number) { RecordingLog4cplus::write(number, kText); }

  private:
    static log4cplus::helpers::Properties properties(const std::string& path) {
        log4cplus::helpers::Properties made;
        made.setProperty("File", path);
        made.setProperty("MaxFileSize", std::to_string(kFileBytes));
        made.setProperty("MaxBackupIndex", std::to_string(kFiles - 1));
        made.setProperty("ImmediateFlush", "true");
        made.setProperty("Append", "true");
        made.setProperty("UseLockFile", "true");
        return made;
    }
};

// A record that is ready but for its number is written under the lock after the cheapest look at
// the open file. A full one is copied, flushed and emptied.
class Floor {
  public:
    explicit Floor(std::string path) : path_(std::move(path)), file_(open_for(path_, O_APPEND)) {}
    ~Floor() { close(file_); }
    Floor(const Floor&) = delete;
    Floor& operator=(const Floor&) = delete;

    void write(int number) {
        std::to_chars(record_ + kNumber, record_ + kNumber + 5, number);
        lock_set->take();
        struct statx status;
        require(statx(file_, "", AT_EMPTY_PATH, STATX_SIZE, &status) == 0, "no size");
        if (long(status.stx_size) >= kFileBytes) roll_over();
        require(::write(file_, record_, sizeof record_ - 1) == sizeof record_ - 1, "no writing");
        lock_set->give();
    }

  private:
    static int open_for(const std::string& path, int flags) {
        const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | flags, 0600);
        require(file >= 0, "a file does not open");
        return file;
    }
    std::string backup(int number) const { return path_ + "." + std::to_string(number); }

    void roll_over() const {
        for (int i = kFiles - 2; i > 0; --i) rename(backup(i).c_str(), backup(i + 1).c_str());
        const int copy = open_for(backup(1), 0);
        char block[8192];
        off_t offset = 0;
        for (ssize_t count; (count = pread(file_, block, sizeof block, offset)) > 0;
             offset += count)
            require(::write(copy, block, size_t(count)) == count, "no copying");
        require(fsync(copy) == 0 && close(copy) == 0, "no flushing");
        require(ftruncate(file_, 0) == 0, "no truncation");
    }

    static constexpr int kNumber = 86;  // its place
    std::string path_;
    int file_;
    char record_[131] =
        "2026-01-02 14:03:09.045+01:00 server/connections/pool.cpp open_connection 417 "
        "reading 00000 entries of connections from the store\n";
};

// ---- Processes ------------------------------------------------------------------------------

// What the processes of a run share: after each one's begin the ends of its calls.
struct Shared {
    pthread_barrier_t start;
    int64_t times[kRecords + kProcesses];
};

template <class Library>
void write_records(const std::string& path, int first_number, int count, Shared* shared) {
    Library library(path);
    library.write(first_number);  // what only the first one has to do
    if (shared != nullptr) pthread_barrier_wait(&shared->start);
    int64_t ignored = 0;
    int64_t* time = shared == nullptr ? &ignored : shared->times + (first_number - kFirstNumber);
    *time = now();
    for (int i = 1; i <= count; ++i) {
        library.write(first_number + i);
        if (shared != nullptr) *++time = now();
    }
}

struct Contestant {
    const char* name;
    void (*write)(const std::string& path, int first_number, int count, Shared* shared);
};
constexpr Contestant kContestants[] = {
    {"ours", write_records<Ours>},
    {"blocking", write_records<Blocking>},
    {"log4cplus", write_records<Log4cplus>},
    {"floor", write_records<Floor>},
};

[[noreturn]] void run_child(const Contestant& library, const std::string& path, int self, int count,
                            Shared& shared) {
    try {
        alarm(kPatience);  // should another one not come to the barrier
        library.write(path, kFirstNumber + self * (count + 1), count, &shared);
        _exit(0);
    } catch (const std::exception& failure) {
        fprintf(stderr, "%s: %s\n", library.name, failure.what());
        _exit(1);
    }
}

// Each record, from the one with the first number on, is there once, and nothing else.
void check_files(const Files& files, int count, const char* name) {
    int file_count = 0;
    const std::string text = files.read(&file_count);
    require(file_count > kLeastRollOvers && file_count < kFiles, "not so many files");
    std::vector<bool> seen(size_t(count), false);
    const std::string place =
        std::string(kFile) + ' ' + kFunction + ' ' + std::to_string(kLine) + " reading ";
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = text.find('\n', begin), from = text.find(place, begin);
        require(end != std::string::npos && from < end && from - begin < 32, name);
        const int number = atoi(text.c_str() + from + place.size());
        const std::string_view rest(text.data() + from, end - from);
        require(rest == place + std::to_string(number) + " entries of " + kText + " from the store",
                name);
        const auto index = size_t(number - kFirstNumber);
        require(index < seen.size() && !seen[index], name);
        seen[index] = true;
        begin = end + 1;
    }
    require(std::count(seen.begin(), seen.end(), false) == 0, name);
}

struct Costs {
    double time;  // from the first start to the last end, for each record
    double tail;  // of a call, exceeded by one in a thousand
};

Costs costs(const Shared& shared, int processes, int count) {
    std::vector<int64_t> calls;
    int64_t begin = INT64_MAX, end = 0;
    for (int self = 0; self < processes; ++self) {
        const int64_t* const times = shared.times + self * (count + 1);
        begin = std::min(begin, times[0]);
        end = std::max(end, times[count]);
        for (int i = 0; i < count; ++i) calls.push_back(times[i + 1] - times[i]);
    }
    const auto tail = calls.begin() + long(calls.size() * 999 / 1000);
    std::nth_element(calls.begin(), tail, calls.end());
    return {double(end - begin) / double(calls.size()), double(*tail)};
}

Costs run(const Contestant& library, int processes, Shared& shared) {
    pthread_barrierattr_t attributes;
    pthread_barrierattr_init(&attributes);
    pthread_barrierattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_barrier_init(&shared.start, &attributes, unsigned(processes));
    const Files files;
    const int count = kRecords / processes;
    for (int self = 0; self < processes; ++self) {
        const pid_t child = fork();
        require(child != -1, "no process");
        if (child == 0) run_child(library, files.active(), self, count, shared);
    }
    bool good = true;
    for (int status; wait(&status) != -1;) good = good && status == 0;
    require(good, library.name);
    pthread_barrier_destroy(&shared.start);
    check_files(files, processes * (count + 1), library.name);
    return costs(shared, processes, count);
}

// ---- The channel ----------------------------------------------------------------------------

constexpr std::string_view kMessage =
    "The connection to the server of the second machine room was closed while 5007 entries were "
    "waiting..";
static_assert(kMessage.size() == 100);

// A segment whose reader is never behind.
class Channel {
  public:
    Channel() { require(CxShMemCreate(name_.c_str(), kSize, &segment_) == 0, "no segment"); }
    ~Channel() {
        CxShMemDestroy(&segment_);
        unlink(("/tmp/" + name_).c_str());
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    const char* name() const { return name_.c_str(); }
    CxShMem* segment() { return &segment_; }
    uint32_t written() const { return uint32_t(CxShMemGetWriteOffset(&segment_)); }
    void read_all() { CxShMemSetReadOffset(&segment_, CxShMemGetWriteOffset(&segment_)); }

    // What is there least: the offsets, and the copy around the end.
    void put_by_hand(const char* packet, uint32_t length) {
        require(CxShMemLock(&segment_) == 0, "no lock");
        char* const data = static_cast<char*>(CxShMemGetAddress(&segment_));
        const uint32_t place = written(), first = std::min(length, kSize - place);
        memcpy(data + place, packet, first);
        memcpy(data, packet + first, length - first);
        CxShMemSetWriteOffset(&segment_, int32_t((place + length) % kSize));
        require(CxShMemUnlock(&segment_) == 0, "no unlocking");
    }

  private:
    static constexpr uint32_t kSize = 1 << 16;
    std::string name_ = "vel_bench_" + std::to_string(getpid());
    CxShMem segment_{};
};

// The handler of the channel, and a formatter that binds its messages.
struct ChannelToolkit : RecordingToolkit {
    explicit ChannelToolkit(const Channel& channel) {
        PmxSetObjProp(add_formatting_handler("pmx_hvnhandler"), "IPCID", channel.name());
    }
    static void write() { PmxLogDebugMin(pmx, kFile, kFunction, kLine, kMessage.data(), PMX_END); }
};

vel::log::PacketText packet_text(std::string_view text) {
    return {text.data(), uint32_t(text.size())};
}

void send(Channel& channel) {
    const vel::log::PacketFields fields{.level = PMX_DEBUG_MIN,
                                        .logger = packet_text(kLogger),
                                        .time = now() / 1'000'000,
                                        .message = packet_text(kMessage),
                                        .sequence = {},
                                        .function = packet_text(kFunction),
                                        .file = packet_text(kFile),
                                        .line = uint32_t(kLine)};
    require(vel::log::pmxSendMessage(channel.segment(), fields) == vel::log::kSent, "not sent");
}

// ---- Running --------------------------------------------------------------------------------

using Results = std::map<std::string, std::vector<double>>;

void measure_files(Results& results) {
    void* const place =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(place != MAP_FAILED, "no memory");
    auto& shared = *static_cast<Shared*>(place);
    for (int i = 0; i < kRuns; ++i) {
        for (const Contestant& library : kContestants) {
            const Costs four = run(library, kProcesses, shared), one = run(library, 1, shared);
            results["four:" + std::string(library.name)].push_back(four.time);
            results["four tail:" + std::string(library.name)].push_back(four.tail);
            results["one:" + std::string(library.name)].push_back(one.time);
        }
    }
}

template <class Send>
double time_to_send(Channel& channel, Send send_one) {
    const int64_t begin = now();
    for (int i = 0; i < kSends; ++i) {
        send_one();
        channel.read_all();
    }
    return double(now() - begin) / kSends;
}

void measure_channel(Results& results) {
    Channel channel;
    const ChannelToolkit toolkit(channel);
    send(channel);
    const uint32_t length = channel.written();
    const std::string packet(static_cast<char*>(CxShMemGetAddress(channel.segment())), length);
    ChannelToolkit::write();
    require(channel.written() > length + kMessage.size(), "the handler sends nothing");
    for (int i = 0; i < kRunsOfChannel; ++i) {
        results["channel:send"].push_back(time_to_send(channel, [&] { send(channel); }));
        results["channel:floor"].push_back(
            time_to_send(channel, [&] { channel.put_by_hand(packet.data(), length); }));
        results["channel:handler"].push_back(
            time_to_send(channel, [] { ChannelToolkit::write(); }));
    }
}

void print_medians(Results& results) {
    const char* before = "{";
    for (auto& [name, values] : results) {
        const auto middle = values.begin() + long(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        printf("%s\"%s\": %.1f", before, name.c_str(), *middle);
        before = ", ";
    }
    puts("}");
}

void write_alone(const char* name, int count) {
    const Files files;
    for (const Contestant& each : kContestants)
        if (strcmp(each.name, name) == 0)
            return each.write(files.active(), kFirstNumber, count, nullptr);
    throw std::runtime_error("no such library");
}

}  // namespace

int main(int argc, char** argv) try {
    const log4cplus::Initializer log4cplus_runs;  // its threads are not in the children
    const LockSet lock;
    lock_set = &lock;
    if (argc == 4 && strcmp(argv[1], "write") == 0) {
        write_alone(argv[2], atoi(argv[3]));
        return 0;
    }
    Results results;
    measure_files(results);
    measure_channel(results);  // in this process, so no other may be made from it any more
    print_medians(results);
} catch (const std::exception& failure) {  // and semaphores and segments are gone
    fprintf(stderr, "multiprocess: %s\n", failure.what());
    return 1;
}
