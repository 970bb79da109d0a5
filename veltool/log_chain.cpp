#include "veltool/log_chain.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "veltool/log_judge.h"
#include "veltool/text.h"
#include "veltool/tool.h"

namespace vel::tool {

namespace {

constexpr size_t kBlockBytes = 1 << 17;
constexpr size_t kAheadBytes = 1 << 22;  // waking a thread up costs as much as to copy some of it
constexpr size_t kGapBytes = 1 << 14;  // before a block that is read ahead: for the end of the last

// So long a record of several lines is waited for to go on, when it may be whole.
constexpr std::chrono::milliseconds kQuiet{50};

bool has_input(int descriptor) {
    pollfd input{descriptor, POLLIN, 0};
    return poll(&input, 1, 0) > 0;
}

}  // namespace

LogChain::LogChain(RolledLog log, std::vector<LogFile> files, bool follows, bool is_only)
    : log_(std::move(log)),
      files_(std::make_move_iterator(files.begin()), std::make_move_iterator(files.end())),
      follows_(follows),
      block_bytes_(is_only ? kAheadBytes : kBlockBytes) {
    begin_file();
}

LogChain::State LogChain::advance(bool is_stopped) {
    drop_record();
    for (;;) {
        const bool are_all = is_over_ || is_stopped;
        if (take_record(are_all)) return State::kRecord;
        if (is_stopped || (is_over_ && !next_file())) return State::kEnd;
        switch (fill()) {
            case Filled::kMore:
                continue;
            case Filled::kNothingYet:
                return take_quiet_record() ? State::kRecord : State::kWaiting;
            case Filled::kEnd:
                is_over_ = true;
        }
    }
}

void LogChain::drop_record() {
    begin_ += std::exchange(record_.bytes, {}).size();
    line_ += std::exchange(record_lines_, 0);
}

bool LogChain::take_record(bool are_all) {
    if (begin_ == end_) return false;
    const std::optional<RecordCutter::Cut> cut = cutter_.cut(bytes(), are_all);
    if (!cut) return false;
    quiet_since_.reset();
    record_ = {cut->form,
               bytes().substr(0, cut->length),
               &files_.front().name,
               line_,
               0,
               cut->fault,
               cut->tag,
               &products_};
    record_lines_ = cut->lines;
    judge(record_, products_);
    return true;
}

// One that could go on, but does not.
bool LogChain::take_quiet_record() {
    if (!cutter_.may_be_whole(end_ - begin_)) return false;
    const auto now = std::chrono::steady_clock::now();
    if (!quiet_since_) quiet_since_ = now;
    return now - *quiet_since_ >= kQuiet && take_record(true);
}

// Goes on to the next file of the log. False: there is none.
bool LogChain::next_file() {
    if (files_.size() == 1) return false;
    ahead_.got = {};  // its end is waited for, as long as the file is open
    files_.pop_front();
    line_ = 1;
    begin_file();
    return true;
}

void LogChain::begin_file() {
    position_ = files_.front().begin;
    if (position_ == 0) telling_ = files_.front().head;
    is_left_ = is_over_ = false;
}

// Whether what has been read last belongs to the file as it was before. This is asked afterwards:
// the file may have been emptied, and have grown again, at any time until then.
bool LogChain::is_unchanged(const LogFile& file) const {
    const off_t place = position_ == 0 ? 0 : position_ - static_cast<off_t>(telling_.size());
    return !telling_.empty() && has_at(file, place, telling_);
}

// The file has been read to its end, which it has had since then.
LogChain::Filled LogChain::at_end() {
    if (!follows_) return Filled::kEnd;
    if (is_left_) return go_behind();
    const std::optional<LogLook> look = look_at(log_.name());
    is_left_ = look && look->identity != files_.front().identity;
    return is_left_ ? Filled::kMore : Filled::kNothingYet;  // to its end once more
}

// The file has been left or emptied: the newer ones are to be read.
LogChain::Filled LogChain::go_behind() {
    std::optional<LogFile> active;
    try {
        active = open_log(log_.name());
    } catch (const Failure&) {
    }
    const Filled nothing = follows_ ? Filled::kNothingYet : Filled::kEnd;
    if (!active || active->is_stream) return nothing;  // until it is there again
    const LogIdentity own = files_.front().identity;
    const bool is_emptied = active->identity == own;
    if (!is_emptied && !std::exchange(is_left_, true)) return Filled::kMore;  // to its end
    if (!is_emptied) log_.know(own);
    std::vector<LogFile> behind = log_.find(std::move(active));
    const bool is_read = position_ > 0;
    if (is_emptied) {
        go_on_in(behind);
    } else if (behind.size() > 1 && !log_.has_seen(own)) {
        complain(shown(log_.name()) + ": old files may have been removed before they were read");
    }
    const bool goes_on = behind.front().begin > 0;
    std::ranges::move(behind, std::back_inserter(files_));
    if (is_read && !goes_on) {
        is_over_ = true;
        return Filled::kMore;
    }
    const uint64_t line = line_;  // a copy has the same lines
    next_file();
    line_ = line;
    return telling_.empty() && is_last() ? nothing : Filled::kMore;
}

// The file has been emptied: among those that are to be read now, finds the copy of it.
void LogChain::go_on_in(std::vector<LogFile>& behind) {
    if (telling_.empty()) return;  // it had nothing yet
    const auto copy =
        std::ranges::find_if(behind, [this](const LogFile& file) { return is_unchanged(file); });
    if (copy == behind.end()) {
        const bool has_old = behind.size() > 1;
        complain(shown(log_.name()) +
                 (has_old ? ": old files have been removed before they were read"
                          : ": has been emptied; what had not been read of it is lost"));
        return;
    }
    copy->begin = position_;
    behind.erase(behind.begin(), copy);
}

// Room for a block behind the bytes that have not been given out.
void LogChain::make_room() {
    if (capacity_ - end_ >= block_bytes_) return;
    const size_t kept = end_ - begin_;
    const size_t most = RecordCutter::kMostBytes + block_bytes_;
    const size_t wanted = std::min(most, std::max(2 * block_bytes_, 2 * kept));
    if (wanted > capacity_) {
        auto larger = std::make_unique_for_overwrite<char[]>(wanted);
        if (kept > 0) memcpy(larger.get(), buffer_.get() + begin_, kept);
        buffer_ = std::move(larger);
        capacity_ = wanted;
    } else {
        memmove(buffer_.get(), buffer_.get() + begin_, kept);
    }
    begin_ = 0;
    end_ = kept;
}

// Reads a block behind the bytes that are there, unless that has been done ahead.
LogChain::Got LogChain::read_block(const LogFile& file) {
    const size_t kept = end_ - begin_;
    if (ahead_.got.valid()) {
        const Got got = ahead_.got.get();
        if (ahead_.position == position_ && kept <= kGapBytes) {
            if (kept > 0) memcpy(ahead_.buffer.get() + kGapBytes - kept, bytes().data(), kept);
            std::swap(buffer_, ahead_.buffer);
            std::swap(capacity_, ahead_.capacity);
            begin_ = kGapBytes - kept;
            end_ = kGapBytes;
            return got;
        }
    }
    make_room();
    char* const to = buffer_.get() + end_;
    const int descriptor = file.descriptor.number();
    const ssize_t count = file.is_stream ? read(descriptor, to, capacity_ - end_)
                                         : pread(descriptor, to, capacity_ - end_, position_);
    return {count, errno};
}

// Copying a file out of the memory of the system takes nearly as long as cutting it into records:
// both are done at the same time. A thread that cannot be had is done without.
void LogChain::read_ahead(const LogFile& file) {
    if (ahead_.capacity < kGapBytes + kAheadBytes) {
        ahead_.capacity = kGapBytes + kAheadBytes;
        ahead_.buffer = std::make_unique_for_overwrite<char[]>(ahead_.capacity);
    }
    ahead_.position = position_;
    ahead_.got = std::async([descriptor = file.descriptor.number(), position = position_,
                             to = ahead_.buffer.get() + kGapBytes]() -> Got {
        const ssize_t count = pread(descriptor, to, kAheadBytes, position);
        return {count, errno};
    });
}

LogChain::Filled LogChain::fill() {
    const LogFile& file = files_.front();
    if (file.blocks && !has_input(file.descriptor.number())) return Filled::kNothingYet;
    const auto [count, error] = read_block(file);
    if (count < 0 && (error == EINTR || error == EAGAIN)) return Filled::kNothingYet;
    if (count < 0) {
        complain(shown(file.name) + ": " + strerror(error));
        has_failed_ = true;
        return Filled::kEnd;
    }
    if (is_last() && !is_left_ && !is_unchanged(file)) return go_behind();
    if (count == 0) return is_last() ? at_end() : Filled::kEnd;
    note_read(static_cast<size_t>(count));
    const bool has_more = static_cast<size_t>(count) >= kAheadBytes;
    if (has_more && !file.is_stream) read_ahead(file);
    return Filled::kMore;
}

void LogChain::note_read(size_t count) {
    if (position_ == 0) telling_.clear();
    const size_t last = std::min(count, kTellingLogBytes);
    telling_.append(buffer_.get() + end_ + count - last, last);
    telling_.erase(0, telling_.size() - std::min(telling_.size(), kTellingLogBytes));
    end_ += count;
    position_ += static_cast<off_t>(count);
    quiet_since_.reset();
}

int64_t LogChain::time() {
    if (const std::optional<int64_t> time = time_of(record_)) time_ = *time;
    return time_;
}

}  // namespace vel::tool
