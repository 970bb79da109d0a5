// Catalog files: written as the library reads them, and read by the library.
#include <algorithm>
#include <memory>

#include "i18n/catalog.h"
#include "veltool/catalog.h"

namespace vel::tool {

namespace {

struct Closer {
    void operator()(i18n::Catalog* catalog) const { i18n::real_catclose(catalog); }
};
using OwnedCatalog = std::unique_ptr<i18n::Catalog, Closer>;

std::string name_of(const i18n::MessageSet& set) { return "set " + std::to_string(set.set_id); }

// The messages of a set. What its number does not lead to, no program would ever see.
CatalogMessages messages_of(i18n::Catalog& catalog, i18n::MessageSet& set) {
    if (i18n::MCGetSet(&catalog, static_cast<int32_t>(set.set_id)) != &set)
        throw Failure(name_of(set) + " is not found by its number");
    if (set.state != i18n::kLoaded) throw Failure(name_of(set) + " is damaged");
    CatalogMessages messages;
    for (int64_t i = 0; i < set.message_count; ++i) {
        const i18n::Message& message = set.messages[i];
        const auto number = static_cast<int32_t>(message.message_id);
        if (i18n::MCGetMsg(&set, number) != &message) {
            throw Failure(name_of(set) + ", message " + std::to_string(number) +
                          " is not found by its number");
        }
        messages[number] = {message.text, 0};
    }
    return messages;
}

int32_t place(size_t offset) {
    if (offset > i18n::kMaxCatalogSize)
        throw Failure("the catalog would be too large: above 64 MiB");
    return static_cast<int32_t>(offset);
}

template <class Record>
void append_record(std::string& image, Record record, void (*to_network)(Record&)) {
    to_network(record);
    image.append(reinterpret_cast<const char*>(&record), sizeof record);
}

}  // namespace

CatalogSets read_catalog_file(const std::string& path) {
    const OwnedCatalog catalog(i18n::read_catalog(path.c_str(), 0));
    if (!catalog) throw Failure(path + ": no message catalog, or a damaged one");
    CatalogSets sets;
    for (int32_t i = 0; i < catalog->set_count; ++i) {
        i18n::MessageSet& set = catalog->sets[i];
        try {
            sets[static_cast<int32_t>(set.set_id)] = messages_of(*catalog, set);
        } catch (const Failure& failure) {
            throw Failure(path + ": " + failure.what());
        }
    }
    return sets;
}

std::string lay_out_catalog(const CatalogSets& sets) {
    if (sets.empty()) throw Failure("there is no message to write");
    i18n::MCHeaderT header{{}, i18n::kCatalogVersion, 0, 0, place(sets.size()), sizeof header};
    std::copy_n(i18n::kCatalogMagic, sizeof header.magic, header.magic);
    std::string directory, body;
    append_record(directory, header, i18n::hton_MCHeaderT);
    const size_t body_offset = sizeof header + sets.size() * sizeof(i18n::MCSetTDisk);
    for (const auto& [number, messages] : sets) {
        std::string records, data;
        for (const auto& [id, message] : messages) {
            append_record(records, {id, place(data.size()), 0}, i18n::hton_MCMsgTDisk);
            data.append(message.text).push_back('\0');
        }
        i18n::MCSetTDisk set{};
        set.set_id = number;
        const size_t next = directory.size() + sizeof set;
        if (next < body_offset) set.next_set_offset = place(next);
        set.messages_offset = place(body_offset + body.size());
        set.data_offset = place(body_offset + body.size() + records.size());
        set.data_length = place(data.size());
        set.message_count = place(messages.size());
        append_record(directory, set, i18n::hton_MCSetTDisk);
        body += records;
        body += data;
        place(body_offset + body.size());
    }
    return directory + body;
}

}  // namespace vel::tool
