// Reading a catalog file: its directory when it is opened, a set's texts when they are first used.
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>

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
    return {record.set_id,          record.next_set_offset,
            record.messages_offset, record.data_offset,
            record.data_length,     record.message_count,
            /*messages=*/nullptr,   kNotLoaded};
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
    auto* catalog = new (std::nothrow) Catalog(path, flags);
    if (catalog == nullptr) return nullptr;
    if (catalog->file.is_open() && read_directory(*catalog)) return catalog;
    real_catclose(catalog);
    return nullptr;
}

void real_catclose(Catalog* catalog) {
    retire_handle(*catalog);
    for (int32_t i = 0; i < catalog->set_count; ++i) free(catalog->sets[i].messages);
    free(catalog->sets);
    delete catalog;
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

static bool read_whole(const DataFile& file, int64_t offset, void* out, int64_t length) {
    return pread(file.descriptor(), out, static_cast<size_t>(length), offset) == length;
}

// Where the texts of a set go: as they are, in the default code set, in any other.
struct TextAreas {
    const char* data;
    int64_t data_length;
    char* defaults;
    char* conversions;
    int64_t size;      // of each of the last two
    int64_t used = 0;  // of each of them
};

// Puts a message into its places; false: they are not inside.
static bool place_message(const MCMsgTDisk& record, TextAreas& areas, Message& message) {
    if (record.text_offset < 0 || record.text_offset >= areas.data_length) return false;
    const char* text = areas.data + record.text_offset;
    const int64_t room = 2 * static_cast<int64_t>(strlen(text)) + 1;
    if (room > areas.size - areas.used) return false;  // texts that overlap may ask for more
    message = {record.message_id,           text,
               areas.defaults + areas.used, areas.conversions + areas.used,
               record.text_offset,          record.invalid};
    mab_from_utf8(nullptr, text, -1, message.default_text, static_cast<int32_t>(room));
    areas.used += room;
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
    if (!read_whole(catalog.file, set.data_offset, data, set.data_length) ||
        !read_whole(catalog.file, set.messages_offset, records.get(), records_size)) {
        return 0;
    }
    data[set.data_length] = '\0';
    TextAreas areas{data, set.data_length, data + data_room, data + 3 * data_room, 2 * data_room};
    auto* messages = reinterpret_cast<Message*>(block.get());
    for (int64_t i = 0; i < set.message_count; ++i) {
        MCMsgTDisk record = records[static_cast<size_t>(i)];
        ntoh_MCMsgTDisk(record);
        if (!place_message(record, areas, messages[i])) return 0;
    }
    set.messages = messages;
    block.release();
    set.state = kLoaded;
    return 1;
}

}  // namespace vel::i18n
