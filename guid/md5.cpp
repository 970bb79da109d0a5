#include "guid/md5.h"

#include <string.h>

#include <algorithm>
#include <array>
#include <utility>

namespace vel::guid {
namespace {

constexpr size_t kBlockBytes = 64;
constexpr size_t kLengthBytes = 8;

void MD5_memcpy(uint8_t* output, const uint8_t* input, size_t length) {
    if (length != 0) memcpy(output, input, length);
}

// A clearing that the compiler does not leave out, though nobody reads the bytes again.
void MD5_memset(void* output, size_t length) { explicit_bzero(output, length); }

// Writes the low 32 bits of each word, least significant byte first.
void Encode(uint8_t* output, const uint64_t* input, size_t words) {
    for (size_t i = 0; i < words; ++i, output += 4) {
        output[0] = static_cast<uint8_t>(input[i]);
        output[1] = static_cast<uint8_t>(input[i] >> 8);
        output[2] = static_cast<uint8_t>(input[i] >> 16);
        output[3] = static_cast<uint8_t>(input[i] >> 24);
    }
}

// Reads a word of 32 bits, least significant byte first.
uint64_t decode(const uint8_t* at) {
    return static_cast<uint64_t>(at[0]) | static_cast<uint64_t>(at[1]) << 8 |
           static_cast<uint64_t>(at[2]) << 16 | static_cast<uint64_t>(at[3]) << 24;
}

uint64_t F(uint64_t x, uint64_t y, uint64_t z) { return z ^ (x & (y ^ z)); }
uint64_t G(uint64_t x, uint64_t y, uint64_t z) { return (x & z) + (y & ~z); }
uint64_t H(uint64_t x, uint64_t y, uint64_t z) { return x ^ y ^ z; }
uint64_t I(uint64_t x, uint64_t y, uint64_t z) { return y ^ (x | ~z); }

uint64_t rotate_left(uint64_t x, int s) { return (x << s) | (x >> (32 - s)); }

// A round: its function, its shift amounts and the places of the words it takes.
struct Round {
    uint64_t (*mix)(uint64_t, uint64_t, uint64_t);
    int shift[4];
    size_t first_word;
    size_t word_step;
};

constexpr Round kRounds[4] = {
    {F, {7, 12, 17, 22}, 0, 1},
    {G, {5, 9, 14, 20}, 1, 5},
    {H, {4, 11, 16, 23}, 5, 3},
    {I, {6, 10, 15, 21}, 0, 7},
};

// The integer part of 2^32 times |sin(i + 1)|.
constexpr uint64_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// One step of a round; the words turn by one place from step to step, which the indices do.
template <size_t kStep>
[[gnu::always_inline]] inline void step(uint64_t (&s)[4], const uint64_t (&words)[16]) {
    constexpr const Round& round = kRounds[kStep / 16];
    constexpr size_t kWord = (round.first_word + kStep * round.word_step) % 16;
    uint64_t& a = s[(64 - kStep) % 4];
    const uint64_t b = s[(65 - kStep) % 4], c = s[(66 - kStep) % 4], d = s[(67 - kStep) % 4];
    const uint64_t ready = a + words[kWord] + kSines[kStep];  // while b is still to come
    a = rotate_left(ready + round.mix(b, c, d), round.shift[kStep % 4]) + b;
}

template <size_t... kStep>
void run_steps(uint64_t (&s)[4], const uint64_t (&words)[16], std::index_sequence<kStep...>) {
    (step<kStep>(s, words), ...);
}

void MD5Transform(uint64_t (&state)[4], const uint8_t* block) {
    uint64_t words[16];
    for (size_t i = 0; i < 16; ++i) words[i] = decode(block + 4 * i);
    uint64_t s[4] = {state[0], state[1], state[2], state[3]};
    run_steps(s, words, std::make_index_sequence<64>());
    for (size_t i = 0; i < 4; ++i) state[i] += s[i];
}

size_t filled(const MD5_CTX& context) { return (context.bits / 8) % kBlockBytes; }

}  // namespace

void MD5Init(MD5_CTX* context) {
    *context = {{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, 0, {}};
}

void MD5Update(MD5_CTX* context, const uint8_t* input, size_t length) {
    while (length != 0) {
        const size_t at = filled(*context);
        const size_t part = std::min(length, kBlockBytes - at);
        MD5_memcpy(context->buffer + at, input, part);
        context->bits += 8 * static_cast<uint64_t>(part);
        input += part;
        length -= part;
        if (at + part == kBlockBytes) MD5Transform(context->state, context->buffer);
    }
}

void MD5Final(uint8_t digest[16], MD5_CTX* context) {
    constexpr size_t kRoom = kBlockBytes - kLengthBytes;
    uint8_t* const buffer = context->buffer;
    size_t at = filled(*context);
    buffer[at++] = 0x80;
    if (at > kRoom) {
        memset(buffer + at, 0, kBlockBytes - at);
        MD5Transform(context->state, buffer);
        at = 0;
    }
    memset(buffer + at, 0, kRoom - at);
    const uint64_t bits[2] = {context->bits, context->bits >> 32};
    Encode(buffer + kRoom, bits, 2);
    MD5Transform(context->state, buffer);
    Encode(digest, context->state, 4);
    MD5_memset(context, sizeof *context);
}

}  // namespace vel::guid
