#include "foundation/TextHash.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {
namespace {

std::span<const uint8_t> Bytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

TEST(TextHash, KnownValues) {
    const struct {
        const char* text;
        uint64_t crc64;
        uint32_t crc32c;
    } rows[] = {
        {"", 0, 0},
        {"a", 0x89048445B4CBFC3C, 0xC1D04330},
        {"123456789", 0x3558E8E979F60D7E, 0xE3069283},
        {"abc", 0x0EF769103FC1FAEB, 0x364B3FB7},
        {"Quillon", 0x4CE5EB99BCF05F98, 0x2977DA5E},
        {"é", 0xE17A6FE03A1E9B8B, 0x1BAB8DDC},
        {"The quick brown fox jumps over the lazy dog, twice and again: 0123456789",
         0x8B1F3242628EB24C, 0xDBA95CBD},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Crc64(Bytes(row.text)), row.crc64);
        EXPECT_EQ(TextHash(row.text), static_cast<int64_t>(row.crc64));
        EXPECT_EQ(Crc32c(Bytes(row.text)), row.crc32c);
    }
}

// Sixteen bytes at a time, or one by one, or in two parts cut anywhere.
TEST(TextHash, PartsGiveTheSameAsTheWhole) {
    std::vector<uint8_t> bytes(67);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 37 + 200);
    const std::span<const uint8_t> all(bytes);
    for (size_t size = 0; size <= all.size(); ++size) {
        uint64_t slow64 = kCrc64Start;
        uint32_t slow32 = kCrc32cStart;
        for (const uint8_t& byte : all.first(size)) {
            slow64 = Crc64Update(slow64, {&byte, 1});
            slow32 = Crc32cUpdate(slow32, {&byte, 1});
        }
        ASSERT_EQ(Crc64(all.first(size)), ~slow64) << size;
        ASSERT_EQ(Crc32c(all.first(size)), ~slow32) << size;
        const uint64_t head = Crc64Update(kCrc64Start, all.first(size));
        ASSERT_EQ(~Crc64Update(head, all.subspan(size)), Crc64(all)) << size;
    }
}

}  // namespace
}  // namespace quillon
