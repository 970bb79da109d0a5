// The digest of name-based GUIDs: MD5 (RFC 1321) with its 32-bit words held in 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vel::guid {

// Not MD5 as others have it, and kept so: no word is ever reduced to 32 bits between the steps, so
// sums carry into the upper half and a rotation brings it back down. Only the output is cut.
struct MD5_CTX {
    uint64_t state[4];
    uint64_t bits;       // length of the message so far
    uint8_t buffer[64];  // the block that is being filled
};

void MD5Init(MD5_CTX* context);
void MD5Update(MD5_CTX* context, const uint8_t* input, size_t length);

// Ends the message, writes the digest and clears the context.
void MD5Final(uint8_t digest[16], MD5_CTX* context);

}  // namespace vel::guid
