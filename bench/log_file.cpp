// Records into a rolling file, each of which is handed to the kernel by one write(2) before the
// call returns, beside spdlog, log4cxx, log4cplus, Boost.Log and the least that it can cost; and
// the making of a record alone. All write the same fields, which is checked before anything is
// timed. Only ratios within one run mean anything; bench/report.py makes them.
//
// With the words "write", the name of a library and a number it only writes so many records, for
// strace to count the system calls of each: 1 write of the four peers, statx and write of the
// floor, and none but for the full buffers of what is called "format".
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cxx/helpers/pool.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>
#include <log4cxx/rolling/rollingfileappender.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/log/attributes/clock.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_file_backend.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/log/utility/manipulators/add_value.hpp>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "bench/records.h"
#include "runtime/rak.h"

namespace {

using namespace bench;

constexpr long kFileBytes = 8 << 20;
constexpr int kFiles = 3;  // with the active one

// ---- Ours -----------------------------------------------------------------------------------

struct FileHandler : Files, RecordingToolkit {
    FileHandler() {
        PmxObject* const handler = add_formatting_handler("pmx_filehandler");
        PmxSetObjProp(handler, "fileName", active().c_str());
        PmxSetObjPropInt(handler, "maxFileBytes", kFileBytes);
        PmxSetObjPropInt(handler, "maxFiles", kFiles);
    }
};

// Makes the records, and drops them.
struct Formatting : RecordingToolkit {
    Formatting() {
        PmxAddHandlerClass("bench_handler", nullptr, nullptr, nullptr, PmxBasicHandlerFCfgChange,
                           format, nullptr, nullptr);
        add_formatting_handler("bench_handler");
    }
    std::string read() const { return records_; }

  private:
    static void format(PmxObject* handler, PmxEvent* event, uint32_t) {
        char* const record = pmxIntlHandlerDoFmt(handler, event);
        benchmark::DoNotOptimize(record);
        if (records_.size() < kKept) records_.append(record);
        RakMemoryFree(record);
    }

    static constexpr size_t kKept = 4096;  // for the check
    static inline std::string records_;
};

// ---- The peers ------------------------------------------------------------------------------

template <class Sink>
struct SpdlogTo : Files {
    static void write(int number, const char* text) {
        logger_->log(spdlog::source_loc{kFile, kLine, kFunction}, spdlog::level::info,
                     "reading {} entries of {} from the store", number, text);
    }

  protected:
    ~SpdlogTo() { logger_.reset(); }
    static void set_sink(std::shared_ptr<Sink> sink) {
        logger_ = std::make_shared<spdlog::logger>(kLogger, std::move(sink));
        logger_->set_pattern("%Y-%m-%d %H:%M:%S.%e%z %g %! %# %v");
    }

    static inline std::shared_ptr<spdlog::logger> logger_;
};

struct Spdlog : SpdlogTo<spdlog::sinks::rotating_file_sink_mt> {
    Spdlog() {
        set_sink(std::make_shared<spdlog::sinks::rotating_file_sink_mt>(active(), kFileBytes,
                                                                        kFiles - 1));
        logger_->flush_on(spdlog::level::info);
    }
};

// Its usual buffer is not flushed.
struct BufferedSpdlog : SpdlogTo<spdlog::sinks::basic_file_sink_mt> {
    BufferedSpdlog() {
        set_sink(std::make_shared<spdlog::sinks::basic_file_sink_mt>(active(), true));
    }
    std::string read() const {
        logger_->flush();
        return Files::read();
    }
};

// LOG4CXX_INFO_FMT with the place of above.
struct Log4cxx : Files {
    Log4cxx() {
        log4cxx::helpers::Pool pool;
        appender_->setLayout(
            std::make_shared<log4cxx::PatternLayout>("%d{yyyy-MM-dd HH:mm:ss.SSSZ} %F %M %L %m%n"));
        appender_->setFile(active());
        appender_->setMaximumFileSize(kFileBytes);
        appender_->setMaxBackupIndex(kFiles - 1);
        appender_->setImmediateFlush(true);
        appender_->activateOptions(pool);
        logger_ = log4cxx::Logger::getLogger(kLogger);
        logger_->setLevel(log4cxx::Level::getInfo());
        logger_->addAppender(appender_);
    }
    ~Log4cxx() {
        logger_->removeAppender(appender_);
        appender_->close();
    }
    static void write(int number, const char* text) {
        if (!log4cxx::Logger::isInfoEnabledFor(logger_)) return;
        logger_->forcedLog(log4cxx::Level::getInfo(),
                           fmt::format("reading {} entries of {} from the store", number, text),
                           log4cxx::spi::LocationInfo(kFile, kFile, kFunction, kLine));
    }

  private:
    std::shared_ptr<log4cxx::rolling::RollingFileAppender> appender_ =
        std::make_shared<log4cxx::rolling::RollingFileAppender>();
    static inline log4cxx::LoggerPtr logger_;
};

struct Log4cplus : Files, RecordingLog4cplus {
    Log4cplus()
        : RecordingLog4cplus(log4cplus::SharedAppenderPtr(
              new log4cplus::RollingFileAppender(active(), kFileBytes, kFiles - 1, true))) {}
};

namespace blog = boost::log;

// It has no milliseconds, but microseconds; its clock has no zone, so that of the pattern is fixed.
struct BoostLog : Files {
    BoostLog() {
        namespace expr = blog::expressions;
        namespace key = blog::keywords;
        const auto backend = boost::make_shared<blog::sinks::text_file_backend>(
            key::file_name = active() + "%N", key::open_mode = std::ios::app,
            key::rotation_size = kFileBytes, key::auto_flush = true);
        backend->set_file_collector(blog::sinks::file::make_collector(
            key::target = std::filesystem::path(active()).parent_path().string(),
            key::max_files = kFiles - 1));
        sink_ = boost::make_shared<Sink>(backend);
        sink_->set_formatter(expr::stream << expr::format_date_time<boost::posix_time::ptime>(
                                                 "TimeStamp", "%Y-%m-%d %H:%M:%S.%f+00")
                                          << ' ' << expr::attr<std::string>("File") << ' '
                                          << expr::attr<std::string>("Function") << ' '
                                          << expr::attr<int>("Line") << ' ' << expr::smessage);
        core()->add_global_attribute("TimeStamp", blog::attributes::local_clock());
        core()->set_filter(expr::attr<int>("Severity") >= kInfo);
        core()->add_sink(sink_);
    }
    ~BoostLog() {
        core()->remove_sink(sink_);
        core()->reset_filter();
    }
    static void write(int number, const char* text) {
        BOOST_LOG_SEV(logger(), kInfo)
            << blog::add_value("File", kFile) << blog::add_value("Function", kFunction)
            << blog::add_value("Line", kLine) << "reading " << number << " entries of " << text
            << " from the store";
    }

  private:
    using Sink = blog::sinks::synchronous_sink<blog::sinks::text_file_backend>;
    using Logger = blog::sources::severity_logger_mt<int>;
    static constexpr int kInfo = 2;

    static blog::core_ptr core() { return blog::core::get(); }
    static Logger& logger() {
        static Logger made;
        return made;
    }

    boost::shared_ptr<Sink> sink_;
};

// A record that is ready is written after the cheapest look at what the path names.
struct Floor : Files {
    Floor() {
        path_ = active().c_str();
        file_ = open(path_, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        require(file_ >= 0, "the file does not open");
    }
    ~Floor() { close(file_); }
    static void write(int, const char*) {
        struct statx status;
        const int looked = statx(AT_FDCWD, path_, 0, STATX_TYPE | STATX_INO | STATX_SIZE, &status);
        require(looked == 0 && S_ISREG(status.stx_mode), "no file");
        if (long(status.stx_size) >= kFileBytes) require(ftruncate(file_, 0) == 0, "no truncation");
        require(::write(file_, kRecord, sizeof kRecord - 1) > 0, "no writing");
    }

  private:
    static constexpr char kRecord[] =
        "2026-01-02 14:03:09.045+01:00 server/connections/pool.cpp open_connection 417 "
        "reading 5007 entries of worker.count from the store\n";
    static inline const char* path_;
    static inline int file_;
};

// ---- Running --------------------------------------------------------------------------------

// Of several threads the first has the library, and the others begin and end their loops with it.
template <class Library>
void run(benchmark::State& state) {
    static std::optional<Library> library;
    if (state.thread_index() == 0) {
        library.emplace();
        Library::write(0, kWords[0]);  // what only the first one has to do
    }
    for (auto _ : state)
        for (const Sample& sample : samples) Library::write(sample.number, sample.text);
    state.SetItemsProcessed(state.iterations() * int64_t(samples.size()));
    if (state.thread_index() == 0) library.reset();
}

// So many records, and what is in the files then.
template <class Library>
std::string write_records(long count) {
    const Library library;
    for (long i = 0; i < count; ++i) {
        const Sample& sample = samples[size_t(i) % samples.size()];
        Library::write(sample.number, sample.text);
    }
    return library.read();
}

struct Contestant {
    const char* name;
    void (*run)(benchmark::State&);
    std::string (*write)(long count);
};
template <class Library>
constexpr Contestant contestant(const char* name) {
    return {name, run<Library>, write_records<Library>};
}
constexpr Contestant kContestants[] = {
    contestant<FileHandler>("file"),     contestant<Spdlog>("file_spdlog"),
    contestant<Log4cxx>("file_log4cxx"), contestant<Log4cplus>("file_log4cplus"),
    contestant<BoostLog>("file_boost"),  contestant<Floor>("file_floor"),
    contestant<Formatting>("format"),    contestant<BufferedSpdlog>("format_spdlog"),
};

// The fields after the date, of all records.
std::string without_dates(const std::string& records) {
    std::string rest;
    for (size_t begin = 0; begin < records.size();) {
        const size_t end = records.find('\n', begin) + 1;
        const size_t place = records.find(kFile, begin);
        require(end != 0 && place < end, "not a record");
        rest.append(records, place, end - place);
        begin = end;
    }
    return rest;
}

void check_records() {
    constexpr size_t kSlack = 6;  // bytes of a record, for the zone has several forms
    const auto count = long(samples.size());
    const std::string expected = kContestants[0].write(count);
    for (const Contestant& each : kContestants) {
        if (each.run == run<Floor>) continue;  // has but one record
        const std::string records = each.write(count);
        const auto difference = long(records.size()) - long(expected.size());
        require(without_dates(records) == without_dates(expected), each.name);
        require(size_t(std::abs(difference)) <= kSlack * samples.size(), each.name);
    }
}

const Contestant& named(const char* name) {
    for (const Contestant& each : kContestants)
        if (strcmp(each.name, name) == 0) return each;
    throw std::runtime_error("no such library");
}

void add_benchmarks() {
    for (const Contestant& each : kContestants) {
        benchmark::RegisterBenchmark(each.name, each.run);
        if (each.run == run<Floor> || strncmp(each.name, "file", 4) != 0) continue;
        const std::string name = std::string(each.name).replace(0, 4, "four");
        benchmark::RegisterBenchmark(name.c_str(), each.run)->Threads(4)->UseRealTime();
    }
}

}  // namespace

int main(int argc, char** argv) {
    const log4cplus::Initializer log4cplus_runs;
    if (argc == 4 && strcmp(argv[1], "write") == 0) {
        named(argv[2]).write(atol(argv[3]));
        return 0;
    }
    check_records();
    add_benchmarks();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
