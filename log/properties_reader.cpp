#include "log/properties_reader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "log/api_lock.h"
#include "log/config.h"
#include "log/message.h"
#include "log/toolkit.h"
#include "runtime/local_path.h"
#include "runtime/owned.h"
#include "runtime/room.h"
#include "runtime/status.h"

namespace vel::log {
namespace {

constexpr size_t kBlockBytes = 8192;

using State = PropsState;
constexpr size_t kStates = 17;

struct PropsReader {
    CxPropList* list;  // null: the log manager
    char previous = '\0';
    uint32_t code = 0;  // of the escapes that are numbers
    runtime::StringBuff key{};
    runtime::StringBuff value{};
    runtime::StringBuff configuration{};  // of the key
    const PropsWatcher* watcher = nullptr;
};

// What goes wrong is said through the toolkit, under its lock. The log manager has it when it
// reads; whoever reads a list need not.
template <class Say>
void under_lock(const PropsReader& in, Say say) {
    if (in.list == nullptr) return say();
    const ApiLock lock(ApiLock::kMayBeHeld);
    say();
}

void report(const PropsReader& in, CxStatus status) {
    under_lock(in, [status] { pmxIntlReportPlatformErr(status); });
}

bool append(CxStringBuff& buff, const char* bytes, size_t count) {
    char* const room = runtime::room_for(&buff, count);
    if (room == nullptr) return false;
    memcpy(room, bytes, count);
    runtime::extend(&buff, count);
    return true;
}

bool pmxRdprEmitCfg(PropsReader& in) {
    const char* const key = CxStringBuffPeekStr(&in.key);
    // Null until a value of the file has had its first character: empty values are refused before.
    const char* const value = CxStringBuffPeekStr(&in.value);
    if (in.list != nullptr) return CxPropListPutStr(in.list, key, value) != 0;
    if (in.watcher != nullptr && !in.watcher->entry(in.watcher->context, key, value)) return true;
    const char* const dot = RakStringRChr(key, '.');
    if (dot == nullptr) return false;
    CxStringBuffRestart(&in.configuration);
    if (!append(in.configuration, key, static_cast<size_t>(dot - key))) return false;
    return pmxLogMgrAddCfgFromFile(in.configuration.text, dot + 1, value) != 0;
}

// ---- Rows: what each class of bytes does in a state ------------------------------------------

enum class ByteClass : uint8_t { blank, line_end, comment, separator, backslash, other };

constexpr std::array<ByteClass, 256> kClassOf = [] {
    std::array<ByteClass, 256> classes{};
    classes.fill(ByteClass::other);
    const auto set = [&classes](std::string_view bytes, ByteClass c) {
        for (const char byte : bytes) classes[static_cast<uint8_t>(byte)] = c;
    };
    set("\t\v\f ", ByteClass::blank);
    set("\r\n", ByteClass::line_end);
    set("#!", ByteClass::comment);
    set(":=", ByteClass::separator);
    set("\\", ByteClass::backslash);
    return classes;
}();

enum class Act : uint8_t { none, to_key, to_value, emit, bad_escape };

struct Step {
    State next;
    Act act = Act::none;
};
using Row = std::array<Step, 6>;  // by class

constexpr Step kFirst{State::start_line};
constexpr Step kBlanks{State::start_blanks};
constexpr Step kNote{State::comment};
constexpr Step kKey{State::key, Act::to_key};
constexpr Step kKeyEsc{State::key_escape};
constexpr Step kKeyEnd{State::key_end};
constexpr Step kSepar{State::separator};
constexpr Step kValue{State::value, Act::to_value};
constexpr Step kEscape{State::value_escape};
constexpr Step kNext{State::next_line};
constexpr Step kEmit{State::start_line, Act::emit};
constexpr Step kBad{State::failed, Act::bad_escape};
constexpr Step kFail{State::failed};

// A separator, or a backslash, that begins a line belongs to the key; behind blanks only the
// backslash does, and a separator is a fault.
// clang-format off
constexpr Row kRows[] = {
    //                 blank    line end  # or !   : or =   backslash  other
    /* none */        {kFail,   kFail,    kFail,   kFail,   kFail,     kFail},
    /* start_line */  {kBlanks, kFirst,   kNote,   kKey,    kKey,      kKey},
    /* start_blanks */{kBlanks, kFirst,   kNote,   kFail,   kKey,      kKey},
    /* comment */     {kNote,   kFirst,   kNote,   kNote,   kNote,     kNote},
    /* key */         {kKeyEnd, kFail,    kKey,    kSepar,  kKeyEsc,   kKey},
    /* key_escape */  {kKey,    kFail,    kFail,   kKey,    kKey,      kFail},
    /* key_end */     {kKeyEnd, kFail,    kValue,  kSepar,  kEscape,   kValue},
    /* separator */   {kSepar,  kEmit,    kValue,  kValue,  kEscape,   kValue},
    /* value */       {kValue,  kEmit,    kValue,  kValue,  kEscape,   kValue},
    /* value_escape */{kValue,  kNext,    kBad,    kBad,    kValue,    kBad},
    /* next_line */   {kNext,   kEmit,    kValue,  kValue,  kEscape,   kValue},
};
// clang-format on

constexpr size_t index_of(State state) { return static_cast<size_t>(state); }
constexpr size_t index_of(ByteClass c) { return static_cast<size_t>(c); }
constexpr ByteClass class_of(char byte) { return kClassOf[static_cast<uint8_t>(byte)]; }
constexpr bool is_line_end(char byte) { return class_of(byte) == ByteClass::line_end; }

bool perform(Act act, const char* bytes, size_t count, PropsReader& in) {
    switch (act) {
        case Act::none:
            return true;
        case Act::to_key:
            return append(in.key, bytes, count);
        case Act::to_value:
            return append(in.value, bytes, count);
        case Act::emit:
            return pmxRdprEmitCfg(in);
        case Act::bad_escape:
            if (in.watcher != nullptr) return true;  // who tells it himself
            under_lock(in, [&] { print_error(text_of(Msg::bad_value_escape), in.key.text); });
            return true;
    }
    return false;
}

State take(State state, char byte, PropsReader& in) {
    const Step step = kRows[index_of(state)][index_of(class_of(byte))];
    return perform(step.act, &byte, 1, in) ? step.next : State::failed;
}

// ---- States ----------------------------------------------------------------------------------

State pmxRdprDoStartLineState(char byte, PropsReader& in) {
    // Only here, with the first byte of the next line: when none comes, the last entry is still
    // there at the end of the file, and is emitted twice. The value keeps its memory, thus is empty
    // from now on, and not absent.
    CxStringBuffRestart(&in.key);
    CxStringBuffRestart(&in.value);
    return take(State::start_line, byte, in);
}

State pmxRdprDoStartLineBlanksState(char byte, PropsReader& in) {
    return take(State::start_blanks, byte, in);
}

State pmxRdprDoCommentLineState(char byte, PropsReader& in) {
    return take(State::comment, byte, in);
}

State pmxRdprDoKeyCharsState(char byte, PropsReader& in) { return take(State::key, byte, in); }

State pmxRdprDoKeyCharEscapeState(char byte, PropsReader& in) {
    return take(State::key_escape, byte, in);
}

State pmxRdprDoKeyEndBlanksFirstState(char byte, PropsReader& in) {
    return take(State::key_end, byte, in);
}

State pmxRdprDoKeyEndBlanksFinalState(char byte, PropsReader& in) {
    return take(State::separator, byte, in);
}

State pmxRdprDoValCharsState(char byte, PropsReader& in) { return take(State::value, byte, in); }

State pmxRdprDoValEscapeState(char byte, PropsReader& in) {
    if (byte == 'u' || byte == 'U') return State::unicode_0;
    const bool quote = byte == '"' || byte == '\'';
    return take(quote ? State::value : State::value_escape, byte, in);
}

State pmxRdprDoMultiLineValState(char byte, PropsReader& in) {
    return take(State::next_line, byte, in);
}

// -1: no digit.
int32_t pmxRdprHexConv(char byte) {
    if (byte >= '0' && byte <= '9') return byte - '0';
    // Letters count from 0, not from 10: that is how these files are read.
    if (byte >= 'a' && byte <= 'f') return byte - 'a';
    if (byte >= 'A' && byte <= 'F') return byte - 'A';
    return -1;
}

State add_digit(char byte, uint32_t weight, State next, PropsReader& in) {
    const int32_t digit = pmxRdprHexConv(byte);
    if (digit < 0) return State::failed;
    // Never cleared: each escape of a file adds to the code of the one before.
    in.code += static_cast<uint32_t>(digit) * weight;
    return next;
}

State pmxRdprDoUU0State(char byte, PropsReader& in) {
    return add_digit(byte, 4096, State::unicode_1, in);
}

State pmxRdprDoUU1State(char byte, PropsReader& in) {
    return add_digit(byte, 256, State::unicode_2, in);
}

State pmxRdprDoUU2State(char byte, PropsReader& in) {
    return add_digit(byte, 16, State::unicode_3, in);
}

State pmxRdprDoUU3State(char byte, PropsReader& in) {
    if (add_digit(byte, 1, State::value, in) == State::failed) return State::failed;
    const auto code = static_cast<int32_t>(in.code);
    if (in.watcher != nullptr) in.watcher->code(in.watcher->context, code);
    return CxStringBuffAppendUTF32Char(&in.value, code) ? State::value : State::failed;
}

using Handler = State (*)(char byte, PropsReader& in);
constexpr Handler kHandlers[kStates] = {nullptr,
                                        pmxRdprDoStartLineState,
                                        pmxRdprDoStartLineBlanksState,
                                        pmxRdprDoCommentLineState,
                                        pmxRdprDoKeyCharsState,
                                        pmxRdprDoKeyCharEscapeState,
                                        pmxRdprDoKeyEndBlanksFirstState,
                                        pmxRdprDoKeyEndBlanksFinalState,
                                        pmxRdprDoValCharsState,
                                        pmxRdprDoValEscapeState,
                                        pmxRdprDoMultiLineValState,
                                        pmxRdprDoUU0State,
                                        pmxRdprDoUU1State,
                                        pmxRdprDoUU2State,
                                        pmxRdprDoUU3State,
                                        nullptr,
                                        nullptr};

// ---- The file --------------------------------------------------------------------------------

// The bytes that leave a state as it is, by a bit for each class, and what they do there. Line ends
// are not among them: the byte before them counts.
struct Run {
    uint8_t classes = 0;
    Act act = Act::none;
};
constexpr std::array<Run, kStates> kRuns = [] {
    std::array<Run, kStates> runs{};
    for (size_t state = 0; state < std::size(kRows); ++state) {
        for (size_t c = 0; c < kRows[state].size(); ++c) {
            const Step step = kRows[state][c];
            if (index_of(step.next) != state || c == index_of(ByteClass::line_end)) continue;
            runs[state].classes = static_cast<uint8_t>(runs[state].classes | 1U << c);
            runs[state].act = step.act;
        }
    }
    return runs;
}();

// Takes the bytes up to the first that may change the state together; returns where that is, or
// null.
const char* take_run(const char* begin, const char* end, State state, PropsReader& in) {
    const Run run = kRuns[index_of(state)];
    const char* at = begin;
    while (at < end && (run.classes >> index_of(class_of(*at)) & 1U) != 0) ++at;
    if (at == begin) return at;
    in.previous = at[-1];
    return perform(run.act, begin, static_cast<size_t>(at - begin), in) ? at : nullptr;
}

State take_block(const char* at, const char* end, State state, PropsReader& in) {
    while (at < end && state < State::done) {
        const char byte = *at++;
        const char before = std::exchange(in.previous, byte);
        // A line end behind a line end, of whatever kinds, does nothing.
        if (is_line_end(byte) && is_line_end(before)) continue;
        state = kHandlers[index_of(state)](byte, in);
        at = take_run(at, end, state, in);
        if (at == nullptr) return State::failed;
    }
    return state;
}

State at_end(PropsReader& in) {
    return in.key.length == 0 || pmxRdprEmitCfg(in) ? State::done : State::failed;
}

State read_file(CxFile file, PropsReader& in) {
    char block[kBlockBytes];
    State state = State::start_line;
    while (state < State::done) {
        int64_t count = 0;
        const CxStatus status = CxFileRead(file, block, sizeof block, &count);
        if (!runtime::is_ok(status)) {
            report(in, status);
            return State::failed;
        }
        state = count == 0 ? at_end(in) : take_block(block, block + count, state, in);
    }
    return state;
}

CxStatus regular(const struct stat& found) {
    if (S_ISREG(found.st_mode)) return runtime::ok();
    return runtime::failed(S_ISDIR(found.st_mode) ? EISDIR : EINVAL);
}

// Only regular files: others may have no end, or wait for somebody. They are looked at before,
// since opening a device can have effects; and after, as it may be another one then.
CxStatus open_regular(const char* path, CxFile* file) {
    struct stat found {};
    const runtime::LocalPath local(path);
    CxStatus status = runtime::ok();
    if (local.get() != nullptr && stat(local.get(), &found) == 0) status = regular(found);
    if (runtime::is_ok(status)) status = CxFileOpen(file, path, O_RDONLY | O_NONBLOCK);
    if (runtime::is_ok(status)) status = runtime::status_of(fstat(*file, &found));
    return runtime::is_ok(status) ? regular(found) : status;
}

}  // namespace

// Byte by byte, so that the runs of ordinary reading need not know of it.
bool read_watched_props(std::string_view text, const PropsWatcher& watcher) {
    PropsReader in{.list = nullptr, .watcher = &watcher};
    State state = State::start_line;
    for (size_t at = 0; at < text.size() && state < State::done; ++at) {
        const char before = std::exchange(in.previous, text[at]);
        if (is_line_end(text[at]) && is_line_end(before)) continue;
        const State from = std::exchange(state, kHandlers[index_of(state)](text[at], in));
        if (state != from) watcher.step(watcher.context, from, state, at);
    }
    if (state == State::failed) return false;
    const State last = std::exchange(state, at_end(in));
    watcher.step(watcher.context, last, state, text.size());
    return state == State::done;
}

}  // namespace vel::log

using namespace vel::log;

int pmxDoReadProps(const char* path, CxPropList* list) {
    PropsReader in{.list = list};
    CxFile file = -1;
    CxStatus status = open_regular(path, &file);
    const bool opened = vel::runtime::is_ok(status);
    if (!opened) report(in, status);
    const bool read = opened && read_file(file, in) == State::done;
    if (file < 0) return 0;
    status = CxFileClose(&file);
    if (!vel::runtime::is_ok(status)) report(in, status);
    return read;
}

int CxPropListRead(CxPropList* list, const char* file_name) {
    return list != nullptr && file_name != nullptr && pmxDoReadProps(file_name, list);
}
