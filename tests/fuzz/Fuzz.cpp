#include <cstdio>
#include <cstdlib>

#include "Fuzz.h"
#include "foundation/TextHash.h"

namespace quillon::fuzz {

void Fail(const char* what, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::fflush(stderr);
    std::abort();
}

bool IsSpared(std::span<const uint8_t> bytes) {
    return !replaying && Crc64(bytes) % 16 != 0;
}

}  // namespace quillon::fuzz
