#include "veltool/log_source.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <optional>
#include <queue>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "veltool/log_chain.h"
#include "veltool/log_file.h"
#include "veltool/log_wait.h"
#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

// All files of a log are open before the first is read: it may roll over meanwhile.
void allow_many_files() {
    struct rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

class LogSource::Implementation {
  public:
    Implementation(std::span<const std::string> names, const Options& options);

    const LogRecord* next();
    bool has_failed() const;
    void on_idle(std::function<void(bool)> call) { idle_ = std::move(call); }

  private:
    void add_log(const std::string& name, bool has_old);
    std::optional<LogFile> open_active(const std::string& name);
    void look_for_missing();
    void advance(size_t chain);
    void look_at_waiting();
    void wait();
    const LogRecord* take_first();
    const LogRecord* next_of_only();

    Options options_;
    bool has_failed_ = false;
    std::vector<std::string> names_;  // as they were given, each once
    std::vector<std::string> missing_;
    std::set<LogIdentity> taken_;
    std::deque<LogChain> chains_;

    // By time; at the same time, by the order of the logs.
    using Ready = std::pair<int64_t, size_t>;
    std::priority_queue<Ready, std::vector<Ready>, std::greater<>> ready_;
    std::vector<size_t> waiting_;
    std::optional<size_t> current_;  // whose record was given out last
    unsigned since_look_ = 0;
    std::function<void(bool)> idle_;
    LogWait wait_;
};

LogSource::Implementation::Implementation(std::span<const std::string> names,
                                          const Options& options)
    : options_(options) {
    allow_many_files();
    for (const std::string& name : names) {
        if (std::ranges::find(names_, name) == names_.end()) names_.push_back(name);
    }
    if (names_.empty()) names_.emplace_back("-");
    std::vector<std::pair<LogName, std::string>> old;
    for (const std::string& name : names_) {
        LogName parts = take_apart(name);
        if (parts.number == 0) {
            add_log(name, true);
        } else {
            old.emplace_back(std::move(parts), name);
        }
    }
    // An old file that belongs to none of these is a log of its own; where times do not tell, the
    // older one is first.
    std::ranges::stable_sort(old, [](const auto& one, const auto& other) {
        return std::tie(one.first.stem, one.first.tail, other.first.number) <
               std::tie(other.first.stem, other.first.tail, one.first.number);
    });
    for (const auto& [parts, name] : old) add_log(name, false);
}

// Adds those files of a log that have not been taken.
void LogSource::Implementation::add_log(const std::string& name, bool has_old) {
    std::optional<LogFile> active = open_active(name);
    // Its old files come with it: one of them may be a copy of all that it is going to have.
    if (std::ranges::find(missing_, name) != missing_.end()) return;
    const bool is_stream = active && active->is_stream;
    const std::optional<LogIdentity> own = active ? std::optional(active->identity) : std::nullopt;
    RolledLog log(name, has_old && !is_stream);
    std::vector<LogFile> files = log.find(std::move(active));
    std::erase_if(files, [&](const LogFile& file) {
        const bool is_wanted = options_.with_rolled || file.identity == own ||
                               std::ranges::find(names_, file.name) != names_.end();
        return !is_wanted || !taken_.insert(file.identity).second;
    });
    has_failed_ |= log.has_failed();
    if (files.empty()) return;
    const bool follows = options_.follow && files.back().identity == own;
    chains_.emplace_back(std::move(log), std::move(files), follows, names_.size() == 1);
    waiting_.push_back(chains_.size() - 1);
}

std::optional<LogFile> LogSource::Implementation::open_active(const std::string& name) {
    if (options_.follow && name != "-" && !look_at(name) && errno == ENOENT) {
        complain(shown(name) + ": is not there; waiting for it");
        missing_.push_back(name);
        return std::nullopt;
    }
    try {
        return open_log(name);
    } catch (const Failure& failure) {
        complain(shown(name) + ": " + failure.what());
        has_failed_ = true;
        return std::nullopt;
    }
}

// Adds the files that were missing and are there now; they may have rolled over already.
void LogSource::Implementation::look_for_missing() {
    for (const std::string& name : std::exchange(missing_, {})) {
        if (look_at(name)) {
            add_log(name, take_apart(name).number == 0);
        } else {
            missing_.push_back(name);
        }
    }
}

void LogSource::Implementation::advance(size_t number) {
    LogChain& chain = chains_[number];
    switch (chain.advance(LogWait::is_stopped())) {
        case LogChain::State::kRecord:
            return ready_.emplace(chain.time(), number);
        case LogChain::State::kWaiting:
            return waiting_.push_back(number);
        case LogChain::State::kEnd:
            break;
    }
}

void LogSource::Implementation::look_at_waiting() {
    since_look_ = 0;
    look_for_missing();
    for (const size_t number : std::exchange(waiting_, {})) advance(number);
}

void LogSource::Implementation::wait() {
    std::vector<LogChain*> chains;
    for (const size_t number : waiting_) chains.push_back(&chains_[number]);
    const auto may_have_more = [](const LogChain* chain) {
        return chain->is_in_doubt() || chain->file().is_stream;
    };
    if (idle_) idle_(ready_.empty() && std::ranges::none_of(chains, may_have_more));
    wait_.wait(chains, options_.follow);
}

const LogRecord* LogSource::Implementation::take_first() {
    current_ = ready_.top().second;
    ready_.pop();
    ++since_look_;
    return &chains_[*current_].record();
}

// One log needs no order.
const LogRecord* LogSource::Implementation::next_of_only() {
    LogChain& chain = chains_.front();
    for (;;) {
        switch (chain.advance(LogWait::is_stopped())) {
            case LogChain::State::kRecord:
                return &chain.record();
            case LogChain::State::kEnd:
                return nullptr;
            case LogChain::State::kWaiting:
                waiting_.assign(1, 0);
                wait();
        }
    }
}

// Following, the records that are there do not wait for those of other logs; what these have got
// meanwhile is seen from time to time.
const LogRecord* LogSource::Implementation::next() {
    constexpr unsigned kRecordsBetweenLooks = 1024;
    if (chains_.size() == 1 && missing_.empty()) return next_of_only();
    if (current_) advance(*std::exchange(current_, std::nullopt));
    for (;;) {
        if (!waiting_.empty() &&
            (ready_.empty() || !options_.follow || since_look_ >= kRecordsBetweenLooks)) {
            look_at_waiting();
        }
        const bool is_complete = waiting_.empty() || options_.follow;
        if (is_complete && !ready_.empty()) return take_first();
        const bool may_come = !waiting_.empty() || !missing_.empty();
        if (!may_come || (LogWait::is_stopped() && ready_.empty())) return nullptr;
        wait();
        if (waiting_.empty()) look_at_waiting();
    }
}

bool LogSource::Implementation::has_failed() const {
    return has_failed_ || std::ranges::any_of(chains_, &LogChain::has_failed);
}

LogSource::LogSource(std::span<const std::string> names, const Options& options)
    : implementation_(std::make_unique<Implementation>(names, options)) {}
LogSource::~LogSource() = default;
const LogRecord* LogSource::next() { return implementation_->next(); }
bool LogSource::has_failed() const { return implementation_->has_failed(); }
void LogSource::stop() { LogWait::stop(); }
void LogSource::on_idle(std::function<void(bool)> call) {
    implementation_->on_idle(std::move(call));
}

}  // namespace vel::tool
