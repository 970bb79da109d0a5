// Reading a catalog file: its directory when it is opened, a set's texts when they are first used.
#include <stdlib.h>
#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "i18n/catalog.h"

namespace vel::i18n {

// Reads records through a window on the file, as most stand side by side.
class RecordReader {
  public:
    explicit RecordReader(const DataFile& file) : file_(file) {}

    template <class Record>
    bool read(int64_t offset, Record& record) {
        if (offset < begin_ || offset + static_cast<int64_t>(sizeof record) > end_) move(offset);
        if (offset < begin_ || offset + static_cast<int64_t>(sizeof record) > end_) return false;
        memcpy(&record, window_ + (offset - begin_), sizeof record);
        return true;
    }

  private:
    void move(int64_t offset) {
        begin_ = end_ = std::max<int64_t>(offset, 0);
        const ssize_t got = pread(file_.descriptor(), window_, sizeof window_, begin_);
        if (got > 0) end_ += got;
    }

    const DataFile& file_;
    int64_t begin_ = 0;
    int64_t end_ = 0;
    char window_[1024];
};

static bool is_catalog(const MCHeaderT& header) {
    return memcmp(header.magic, kCatalogMagic, sizeof kCatalogMagic) == 0 &&
           header.major_version == kCatalogVersion && header.set_count >= 1;
}

static MessageSet not_loaded(const MCSetTDisk& record) {
    return {.set_id = record.set_id,
            .next_set_offset = record.next_set_offset,
            .messages_offset = record.messages_offset,
            .data_offset = record.data_offset,
            .data_length = record.data_length,
            .message_count = record.message_count,
            .state = kNotLoaded,
            .messages = nullptr,
            .areas = nullptr,
            .area_size = 0,
            .area_used = 0,
            .default_cs = nullptr};
}

static bool read_directory(Catalog& catalog) {
    const int64_t size = catalog.file.status().st_size;
    if (size > kMaxCatalogSize) return false;
    RecordReader reader(catalog.file);
    MCHeaderT header;
    if (!reader.read(0, header)) return false;
    ntoh_MCHeaderT(header);
    // No chain is longer than the file has room for: one that is has come back to itself.
    int64_t most_records = size / static_cast<int64_t>(sizeof(MCSetTDisk));
    if (!is_catalog(header) || header.set_count > most_records) return false;
    const auto count = static_cast<size_t>(header.set_count);
    catalog.sets = static_cast<MessageSet*>(malloc(count * sizeof(MessageSet)));
    if (catalog.sets == nullptr) return false;
    for (int64_t offset = header.first_set_offset; most_records > 0; --most_records) {
        MCSetTDisk record;
        if (!reader.read(offset, record)) return false;
        ntoh_MCSetTDisk(record);
        offset = record.next_set_offset;
        if (record.invalid != 0) continue;
        catalog.sets[catalog.set_count++] = not_loaded(record);
        if (catalog.set_count == header.set_count) return true;
    }
    return false;
}

Catalog* read_catalog(const char* path, uint32_t flags) {
    void* const place = malloc(sizeof(Catalog));  // as for a handle in code_set.cpp
    if (place == nullptr) return nullptr;
    auto* catalog = new (place) Catalog(path, flags);
    if (catalog->file.is_open() && read_directory(*catalog)) return catalog;
    real_catclose(catalog);
    return nullptr;
}

void real_catclose(Catalog* catalog) {
    retire_handle(*catalog);
    for (int32_t i = 0; i < catalog->set_count; ++i) {
        free(catalog->sets[i].messages);
        mab_cs_free(catalog->sets[i].default_cs);
    }
    free(catalog->sets);
    catalog->~Catalog();
    free(catalog);
}

// ---- A set ----------------------------------------------------------------------------------

namespace {

struct Free {
    void operator()(void* block) const { free(block); }
};
template <class T>
using Block = std::unique_ptr<T[], Free>;

template <class T>
Block<T> allocate(int64_t bytes) {
    return Block<T>(static_cast<T*>(malloc(static_cast<size_t>(bytes))));
}

}  // namespace

static bool lies_inside(const DataFile& file, int64_t offset, int64_t length) {
    return offset >= 0 && length >= 0 && offset + length <= file.status().st_size;
}

// A stretch of the file and where it goes.
struct Stretch {
    int64_t offset;
    void* to;
    int64_t length;
};

static bool read_whole(const DataFile& file, const Stretch& s) {
    return pread(file.descriptor(), s.to, static_cast<size_t>(s.length), s.offset) == s.length;
}

// Reads two stretches, at once when one follows the other.
static bool read_both(const DataFile& file, Stretch first, Stretch second) {
    if (second.offset < first.offset) std::swap(first, second);
    if (first.offset + first.length != second.offset)
        return read_whole(file, first) && read_whole(file, second);
    const iovec parts[] = {{first.to, static_cast<size_t>(first.length)},
                           {second.to, static_cast<size_t>(second.length)}};
    return preadv(file.descriptor(), parts, 2, first.offset) == first.length + second.length;
}

static int64_t room_of(const Message& message) {
    return 2 * static_cast<int64_t>(strlen(message.text)) + 1;
}

// Makes the messages of their records. False: a text begins outside the data, or the places of all
// would not go into the areas. They do when each text begins behind the zero of the one before, as
// in any file that was made by a compiler; it is counted where texts overlap.
static bool take_records(const MCMsgTDisk* records, const char* data, MessageSet& set) {
    bool apart = true;
    int64_t previous = -1;
    for (int64_t i = 0; i < set.message_count; ++i) {
        MCMsgTDisk record = records[i];
        ntoh_MCMsgTDisk(record);
        const int64_t offset = record.text_offset;
        if (offset < 0 || offset >= set.data_length) return false;
        apart = apart && offset > previous && (offset == 0 || data[offset - 1] == '\0');
        previous = offset;
        set.messages[i] = {record.message_id, data + offset, nullptr,
                           nullptr,           offset,        record.invalid};
    }
    int64_t used = 0;
    for (int64_t i = 0; !apart && i < set.message_count; ++i) {
        used += room_of(set.messages[i]);
        if (used > set.area_size) return false;
    }
    return true;
}

int loadSet(const Catalog& catalog, MessageSet& set) {
    const int64_t records_size = set.message_count * static_cast<int64_t>(sizeof(MCMsgTDisk));
    if (!lies_inside(catalog.file, set.data_offset, set.data_length) ||
        !lies_inside(catalog.file, set.messages_offset, records_size)) {
        return 0;
    }
    const int64_t messages_size = set.message_count * static_cast<int64_t>(sizeof(Message));
    const int64_t data_room = set.data_length + 1;  // a zero follows, whatever the last text has
    Block<char> block = allocate<char>(messages_size + 5 * data_room);
    const Block<MCMsgTDisk> records = allocate<MCMsgTDisk>(records_size + 1);  // never of 0 bytes
    if (block == nullptr || records == nullptr) return -1;
    char* data = block.get() + messages_size;
    if (!read_both(catalog.file, {set.data_offset, data, set.data_length},
                   {set.messages_offset, records.get(), records_size})) {
        return 0;
    }
    data[set.data_length] = '\0';
    MessageSet loaded = set;
    loaded.messages = reinterpret_cast<Message*>(block.get());
    loaded.areas = data + data_room;
    loaded.area_size = 2 * data_room;
    loaded.state = kLoaded;
    if (!take_records(records.get(), data, loaded)) return 0;
    loaded.default_cs = mab_dup_handle(nullptr);
    if (loaded.default_cs == nullptr) return -1;
    set = loaded;
    block.release();
    return 1;
}

// Gives a message its places in the areas. They were counted when the set was loaded.
static void place(MessageSet& set, Message& message, int64_t room) {
    message.converted = set.areas + set.area_size + set.area_used;
    set.area_used += room;
}

const char* convert_text(MessageSet& set, Message& message, uc_ch_t* cs) {
    const int64_t room = room_of(message);
    if (message.converted == nullptr) place(set, message, room);
    mab_from_utf8(cs, message.text, -1, message.converted, static_cast<int32_t>(room));
    return message.converted;
}

const char* convert_default(MessageSet& set, Message& message) {
    const int64_t room = room_of(message);
    if (message.converted == nullptr) place(set, message, room);
    message.default_text = message.converted - set.area_size;
    mab_from_utf8(set.default_cs, message.text, -1, message.default_text,
                  static_cast<int32_t>(room));
    return message.default_text;
}

}  // namespace vel::i18n
