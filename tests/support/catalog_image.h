// Catalog files of a test's own making.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

using TestMessages = std::vector<std::pair<int32_t, std::string>>;  // number and text
using TestSets = std::vector<std::pair<int32_t, TestMessages>>;     // number and messages

inline constexpr size_t kTestHeaderSize = 28, kTestSetSize = 28, kTestMessageSize = 12;

// Puts numbers down most significant byte first.
inline void put_numbers(std::string& image, size_t at, const std::vector<size_t>& numbers) {
    for (const size_t number : numbers) {
        for (const unsigned shift : {24U, 16U, 8U, 0U})
            image[at++] = static_cast<char>(number >> shift);
    }
}

// The bytes of a catalog: the header, the set records, then for each set its texts and its
// messages.
inline std::string catalog_image(const TestSets& sets) {
    std::string image(kTestHeaderSize + sets.size() * kTestSetSize, '\0');
    image.replace(0, 8, "*nazgul*");
    put_numbers(image, 8, {1, 0, 0, sets.size(), kTestHeaderSize});
    size_t record = kTestHeaderSize;
    for (const auto& [set, messages] : sets) {
        const size_t data = image.size();
        std::string entries(messages.size() * kTestMessageSize, '\0');
        size_t entry = 0;
        for (const auto& [number, text] : messages) {
            put_numbers(entries, entry, {static_cast<size_t>(number), image.size() - data, 0});
            entry += kTestMessageSize;
            image.append(text.c_str(), text.size() + 1);
        }
        put_numbers(image, record,
                    {static_cast<size_t>(set), record + kTestSetSize, image.size(), data,
                     image.size() - data, messages.size(), 0});
        record += kTestSetSize;
        image += entries;
    }
    return image;
}
