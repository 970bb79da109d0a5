// Runs a fuzz target over the files of its corpus, and over each of them cut short.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/target.h"

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(in), {}};
            for (size_t size = 0; size <= bytes.size(); ++size) {
                // A copy of just that size, so that reading beyond it is seen.
                const std::string part(bytes, 0, size);
                LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(part.data()), size);
            }
            ++replayed;
        }
    }
    printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
