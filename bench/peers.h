// What the benchmarks of logging share: the same calls for every library.
#pragma once

#include <iterator>
#include <stdexcept>
#include <vector>

#include "log/pmx.h"

namespace bench {

inline void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

inline constexpr const char* kWords[] = {
    "console.port", "retry limit", "queue length", "open files",     "connections",  "worker.count",
    "cache size",   "port number", "idle seconds", "free kilobytes", "message rate", "log handler"};

struct Sample {
    int number;
    const char* text;
};
inline const std::vector<Sample> samples = [] {
    std::vector<Sample> made;
    for (const char* const word : kWords) made.push_back({1000 * int(made.size()) + 7, word});
    return made;
}();

inline constexpr const char* kLogger = "bench.logger";
inline PmxObject* pmx = nullptr;

// Open while it lasts, with a logger at PMX_DEBUG_MIN, where each is from the start.
class OpenToolkit {
  public:
    OpenToolkit(const OpenToolkit&) = delete;
    OpenToolkit& operator=(const OpenToolkit&) = delete;

  protected:
    OpenToolkit() {
        require(PmxOpenToolkit(nullptr), "the toolkit does not open");
        pmx = PmxGetObject(kLogger, "pmx_basiclogger");
    }
    ~OpenToolkit() { PmxCloseToolkit(); }

    // An object of the class becomes the logger's listener; it lives as long as the toolkit is
    // open.
    static PmxObject* add_handler(const char* handler_class) {
        PmxObject* const handler = PmxGetObject("bench.handler", handler_class);
        require(PmxAddListener(pmx, handler), "the logger takes no listener");
        PmxReleaseObject(handler);
        return handler;
    }
};

}  // namespace bench
