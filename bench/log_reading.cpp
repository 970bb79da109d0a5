// Makes logs for bench/report.py to read: log_reading CLASS FILE MIB writes records by a formatter
// of the class into the file, until it is so large. One of 64 records is an error.
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "bench/peers.h"

namespace {

using namespace bench;

constexpr int kRecordsBetweenErrors = 64;
constexpr int kBlock = 1024;  // records between two looks at the size

class LogWriter : OpenToolkit {
  public:
    LogWriter(const char* formatter_class, const char* file) {
        logger_ = PmxGetObject("bench.origin", "pmx_pdlogger");
        PmxSetObjProp(logger_, "level", "DEBUG_MAX");
        PmxSetObjProp(logger_, "server", "host.example.com");
        PmxSetObjProp(logger_, "product", "Bench");
        PmxSetObjProp(logger_, "component", "pool");
        PmxObject* const handler = PmxGetObject("bench.file", "pmx_filehandler");
        PmxObject* const formatter = PmxGetObject("bench.formatter", formatter_class);
        PmxHandlerSetFormatter(handler, formatter);
        PmxReleaseObject(formatter);
        PmxSetObjProp(handler, "fileName", file);
        PmxSetObjPropInt(handler, "maxFiles", 1);
        require(PmxAddListener(logger_, handler), "the logger takes no listener");
        PmxReleaseObject(handler);
    }
    ~LogWriter() { PmxReleaseObject(logger_); }

    void write(int number) {
        const Sample& sample = samples[static_cast<size_t>(number) % samples.size()];
        if (number % kRecordsBetweenErrors == 0) {
            PmxLogError(logger_, "bench", 1, 1, "BENCH0001E The %1$s is %2$d.", PMX_STRING,
                        sample.text, PMX_INT, number, PMX_END);
        } else {
            PmxLogDebugMin(logger_, "server/connections/pool.cpp", "open_connection", 417,
                           "reading %1$d entries of %2$s from the store", PMX_INT, number,
                           PMX_STRING, sample.text, PMX_END);
        }
    }

  private:
    PmxObject* logger_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return EXIT_FAILURE;
    const auto bytes = strtoull(argv[3], nullptr, 10) << 20;
    LogWriter log(argv[1], argv[2]);
    int number = 0;
    do {
        for (int count = 0; count < kBlock; ++count) log.write(number++);
    } while (std::filesystem::file_size(argv[2]) < bytes);
    return EXIT_SUCCESS;
}
