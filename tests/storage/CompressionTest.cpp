#include "storage/compression/Compression.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <string_view>

#include "support/Bytes.h"

namespace quillon {
namespace {

// The bits of a stream as the format's table lists them: '0' and '1' in the order in
// which they are read, everything else is passed over.
Bytes Stream(int literals, int dictionaryBits, std::string_view bits) {
    Bytes stream = {static_cast<uint8_t>(literals), static_cast<uint8_t>(dictionaryBits)};
    unsigned used = 8;
    for (const char bit : bits) {
        if (bit != '0' && bit != '1') continue;
        if (used == 8) {
            stream.push_back(0);
            used = 0;
        }
        if (bit == '1') stream.back() = static_cast<uint8_t>(stream.back() | 1U << used);
        ++used;
    }
    return stream;
}

constexpr std::string_view kEnd = " 1 0000000 11111111";

// Every byte value once, in order, as literal codes.
constexpr std::string_view kEveryLiteralCode =
    "01062009fc811ff0053ec01b78014fe0019718b8033722e00a5c803370028ec001d8033b600b6c80"
    "35b002248125b000e6c00c987a50c20126a000c620874d48000b6c7c291e4c5c090e3616260c0c74"
    "e8d0801148a08105e2c0508c2a12ba2850a108400c4c3e328f8b04a21c360b110cc8a08306229040"
    "1854600011e83b4c06dda6512916082198644327814c531519023c787020054110007a4017e80012"
    "8038200688022280302004080202003fc007f0023c0037c00570021c003bc006b0022c0033c00430"
    "020c003d4007d00234003540055002140039400690022400314004100204003e8007e00238003680"
    "0560026da00534810650076a4015a80065a0041481029007724016c8006920052481041007624014"
    "8800612004048100e0077c8017f0006ec00538010760076c8015b00066c004180103a007748016d0"
    "0018801a4007d000544005a000c80012a004100104001e800314002c000340037240064801280012"
    "8000c001300014000180012000100008f807";

std::string NumberBits(size_t value, unsigned count) {
    std::string bits;
    for (unsigned i = 0; i < count; ++i) bits += (value >> i & 1U) != 0 ? '1' : '0';
    return bits;
}

// Plain literals, one flag bit and eight bits each.
std::string LiteralBits(const Bytes& bytes) {
    std::string bits;
    for (const uint8_t byte : bytes) bits += " 0" + NumberBits(byte, 8);
    return bits;
}

Bytes RandomBytes(size_t size, unsigned seed, unsigned symbols = 256) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() % symbols);
    return bytes;
}

// What statement downloads put into memos, line after line.
Bytes StatementText(size_t size) {
    static constexpr std::array<const char*, 8> kShops = {
        "KROGER",     "SAFEWAY STORE",  "SHELL OIL",    "BOOKS & MORE",
        "CITY WATER", "STREAMING PLUS", "COFFEE HOUSE", "HARDWARE DEPOT"};
    static constexpr std::array<const char*, 5> kTowns = {
        "SEATTLE WA", "SAN JOSE CA", "NEW YORK NY", "AUSTIN TX", "PORTLAND OR"};
    std::mt19937 random(11);
    std::string text;
    while (text.size() < size) {
        text += std::string("POS PURCHASE ") + kShops[random() % kShops.size()] + " #" +
                std::to_string(random() % 10000) + ' ' + kTowns[random() % kTowns.size()] +
                " CARD 4417 REF " + std::to_string(random() % 1000000000) + '\n';
    }
    text.resize(size);
    return Text(text);
}

const std::array<ImplodeOptions, 6> kAllOptions = {{
    {false, 4},
    {false, 5},
    {false, 6},
    {true, 4},
    {true, 5},
    {true, 6},
}};

std::string NameOf(const ImplodeOptions& options) {
    return (options.asciiLiterals ? "ascii " : "binary ") + std::to_string(options.dictionaryBits);
}

// Compresses without a limit that matters and compares what comes back.
void ExpectRoundTrip(const Bytes& in, const ImplodeOptions& options = {}) {
    SCOPED_TRACE(NameOf(options));
    Bytes packed;
    Bytes back;
    ASSERT_TRUE(Implode(in, packed, 2 * in.size() + 100, options));
    ASSERT_TRUE(Explode(packed, in.size(), back));
    EXPECT_TRUE(back == in);
}

size_t PackedSize(const Bytes& in, const ImplodeOptions& options = {}) {
    Bytes packed;
    return Implode(in, packed, 2 * in.size() + 100, options) ? packed.size() : 0;
}

TEST(Explode, ReadsStreamsWrittenByHand) {
    Bytes allBytes(256);
    std::iota(allBytes.begin(), allBytes.end(), uint8_t{0});
    const struct {
        const char* name;
        Bytes stream;
        Bytes text;
    } rows[] = {
        {"literals and a match over itself", FromHex("00 04 82 24 25 8f 80 7f"),
         Text("AIAIAIAIAIAIA")},
        {"nothing but the end", FromHex("00 06 01 ff"), {}},
        {"bytes behind the end", FromHex("00 06 01 ff 12 34 56 78 9a bc"), {}},
        {"one literal", FromHex("00 06 82 02 fe 01"), Text("A")},
        {"literal codes of 4 to 13 bits",
         Stream(1, 6,
                "0 11100  0 10100  0 11011  0 1111  0 100101  0 0100011  0 11101"
                "0 0000000000000" +
                    std::string(kEnd)),
         Join(Text("ate -\nE"), {0xFF})},
        {"every literal code", FromHex(kEveryLiteralCode), allBytes},
        {"literal codes and a match",
         Stream(1, 4, "0 11011  0 1111  1 0101 11 1000" + std::string(kEnd)), Text("e e e e ")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bytes out = Text("old");
        EXPECT_TRUE(Explode(row.stream, row.text.size(), out));
        EXPECT_EQ(out, row.text);
    }
}

TEST(Explode, KnowsEveryLengthCode) {
    const struct {
        const char* code;
        size_t first;
        unsigned extraBits;
    } rows[] = {
        {"101", 2, 0},     {"11", 3, 0},      {"100", 4, 0},       {"011", 5, 0},
        {"0101", 6, 0},    {"0100", 7, 0},    {"0011", 8, 0},      {"00101", 9, 0},
        {"00100", 10, 1},  {"00011", 12, 2},  {"00010", 16, 3},    {"000011", 24, 4},
        {"000010", 40, 5}, {"000001", 72, 6}, {"0000001", 136, 7}, {"0000000", 264, 8},
    };
    for (const auto& row : rows) {
        const size_t count = size_t{1} << row.extraBits;
        for (const size_t extra : {size_t{0}, count / 2, count - 1}) {
            const size_t length = row.first + extra;
            if (length == 519) continue;  // the end code
            SCOPED_TRACE(length);
            // "A", then a match one byte back: distance code 11 and zero low bits.
            const Bytes stream = Stream(0, 6,
                                        LiteralBits(Text("A")) + " 1 " + row.code +
                                            NumberBits(extra, row.extraBits) + " 11 " +
                                            (length == 2 ? "00" : "000000") + std::string(kEnd));
            Bytes out;
            EXPECT_TRUE(Explode(stream, 1 + length, out));
            EXPECT_EQ(out, Bytes(1 + length, 'A'));
        }
    }
}

TEST(Explode, KnowsDistanceCodesInEveryDictionary) {
    const struct {
        size_t symbol;
        const char* code;
    } rows[] = {
        {0, "11"},       {1, "1011"},      {2, "1010"},      {3, "10011"},
        {6, "10000"},    {7, "011111"},    {21, "010001"},   {22, "0100001"},
        {47, "0001000"}, {48, "00001111"}, {62, "00000001"}, {63, "00000000"},
    };
    const Bytes before = RandomBytes(4096, 5);
    const std::string beforeBits = LiteralBits(before);
    for (const auto& row : rows) {
        for (const unsigned low : {2U, 4U, 5U, 6U}) {
            for (const size_t lowValue : {size_t{0}, (size_t{1} << low) - 1}) {
                const size_t distance = (row.symbol << low) + lowValue + 1;
                SCOPED_TRACE(distance);
                // Two low bits belong to matches of two bytes; others are of three here.
                const size_t length = low == 2 ? 2 : 3;
                const Bytes stream =
                    Stream(0, low == 2 ? 6 : static_cast<int>(low),
                           beforeBits + (length == 2 ? " 1 101 " : " 1 11 ") + row.code +
                               NumberBits(lowValue, low) + std::string(kEnd));
                Bytes expected = before;
                for (size_t i = 0; i < length; ++i) {
                    expected.push_back(expected[expected.size() - distance]);
                }
                Bytes out;
                EXPECT_TRUE(Explode(stream, expected.size(), out));
                EXPECT_TRUE(out == expected);
            }
        }
    }
}

TEST(Explode, RefusesWhatIsNotSound) {
    const Bytes good = FromHex("00 04 82 24 25 8f 80 7f");
    const std::string ab = LiteralBits(Text("ab"));
    const struct {
        const char* name;
        Bytes stream;
        size_t expectedSize;
    } rows[] = {
        {"no bytes", {}, 0},
        {"half a header", {0}, 0},
        {"a header only", {0, 6}, 0},
        {"literal mode 2", WithByte(good, 0, 2), 13},
        {"dictionary of 512 bytes", WithByte(good, 1, 3), 13},
        {"dictionary of 8,192 bytes", WithByte(good, 1, 7), 13},
        {"no end code", Stream(0, 6, ab), 2},
        {"end code cut", Stream(0, 6, ab + " 1 0000000 111111"), 2},
        {"match before any byte", Stream(0, 6, "1 101 11 00" + std::string(kEnd)), 2},
        {"match one byte too far back", Stream(0, 6, ab + " 1 101 11 01" + std::string(kEnd)), 4},
        {"match far too far back", Stream(0, 6, ab + " 1 11 00000000 111111" + std::string(kEnd)),
         5},
        {"one byte more than expected", good, 12},
        {"one byte less than expected", good, 14},
        {"nothing expected", good, 0},
        {"more than the bytes could ever hold", good, 4096},
        {"the largest size", good, SIZE_MAX},
        {"a match past the expected end",
         Stream(0, 6, ab + " 1 0000000 01111111 11 000000" + std::string(kEnd)), 100},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bytes out = Text("old");
        EXPECT_FALSE(Explode(row.stream, row.expectedSize, out));
        EXPECT_TRUE(out.empty());
    }
    Bytes out;  // what the rows are derived from is sound
    EXPECT_TRUE(Explode(good, 13, out));
    EXPECT_TRUE(Explode(Stream(0, 6, ab + " 1 101 11 10" + std::string(kEnd)), 4, out));
}

// A size that a damaged file claims costs no more memory than the stream can back.
TEST(Explode, MemoryFollowsTheStream) {
    Bytes stream = FromHex("00 06 82 02 fe 01");
    stream.resize(1 << 20);
    Bytes out;
    EXPECT_FALSE(Explode(stream, 150 << 20, out));
    EXPECT_LT(out.capacity(), size_t{5} << 20);

    Bytes none;
    EXPECT_FALSE(Explode(Prefix(stream, 6), size_t{1} << 40, none));
    EXPECT_EQ(none.capacity(), 0U);

    // The other way round: a stream that yields far more than its size promises.
    Bytes bomb;
    ASSERT_TRUE(Implode(Zeros(10 << 20), bomb, 10 << 20));
    Bytes little;
    EXPECT_FALSE(Explode(bomb, 1000, little));
    EXPECT_LT(little.capacity(), 4096U);
}

TEST(Implode, WritesStreamsOfTheFormat) {
    const struct {
        const char* name;
        Bytes text;
        ImplodeOptions options;
        Bytes stream;
    } rows[] = {
        {"a match over itself",
         Text("AIAIAIAIAIAIA"),
         {false, 4},
         FromHex("00 04 82 24 25 8f 80 7f")},
        {"one literal", Text("A"), {}, FromHex("00 06 82 02 fe 01")},
        {"literal codes",
         Text("e e e e "),
         {true, 4},
         Stream(1, 4, "0 11011  0 1111  1 0101 11 1000" + std::string(kEnd))},
        {"the longest match",
         Bytes(519, 'A'),
         {},
         Stream(0, 6,
                LiteralBits(Text("A")) + " 1 0000000 01111111 11 000000" + std::string(kEnd))},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bytes out;
        EXPECT_TRUE(Implode(row.text, out, 100, row.options));
        EXPECT_EQ(out, row.stream);
    }
}

TEST(Implode, ShrinksOrSaysNo) {
    const Bytes text = StatementText(3000);
    const size_t size = PackedSize(text);
    ASSERT_GT(size, 0U);
    const struct {
        const char* name;
        Bytes in;
        size_t maxOut;
        ImplodeOptions options;
        bool shrinks;
    } rows[] = {
        {"room for one byte more", text, size + 1, {}, true},
        {"no shorter than allowed", text, size, {}, false},
        {"no room", text, 0, {}, false},
        {"room for a header", text, 2, {}, false},
        {"unlimited", text, SIZE_MAX, {}, true},
        {"empty", {}, 100, {}, false},
        {"dictionary too small", text, SIZE_MAX, {false, 3}, false},
        {"dictionary too large", text, SIZE_MAX, {false, 7}, false},
        {"random bytes", RandomBytes(100000, 1), 100000, {}, false},
        {"a text without repeats", Text("Sphinx of black quartz, judge my vow!"), 37, {}, false},
        {"a text with repeats",
         Text("Rent for May, flat and garage; rent for June, flat and garage."),
         62,
         {},
         true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Bytes out = Text("old");
        EXPECT_EQ(Implode(row.in, out, row.maxOut, row.options), row.shrinks);
        EXPECT_EQ(out.empty(), !row.shrinks);
        EXPECT_TRUE(!row.shrinks || out.size() < row.maxOut);
    }
}

TEST(Compression, RoundTripsEveryKindOfInput) {
    Bytes nearMisses;  // long candidates everywhere, none of which goes on
    for (unsigned i = 0; nearMisses.size() < 60000; ++i) {
        nearMisses.insert(nearMisses.end(), 1 + i * 37 % 190, 'a');
        nearMisses.push_back(static_cast<uint8_t>(i * 101 >> 3));
    }
    Bytes allBytes;
    for (int i = 0; i < 1024; ++i) allBytes.push_back(static_cast<uint8_t>(i * 7));
    const struct {
        const char* name;
        Bytes in;
    } rows[] = {
        {"one byte", {0}},
        {"two bytes", {7, 7}},
        {"three bytes", {1, 2, 3}},
        {"every byte value", allBytes},
        {"statement lines", StatementText(200000)},
        {"random", RandomBytes(70000, 2)},
        {"random bits", RandomBytes(70000, 3, 2)},
        {"few symbols", RandomBytes(140000, 4, 5)},
        {"zeros", Zeros(200000)},
        {"near misses", nearMisses},
        {"noise, then zeros past 65,536", Join(RandomBytes(66000, 6), Zeros(70000))},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (const ImplodeOptions& options : kAllOptions) ExpectRoundTrip(row.in, options);
    }
}

// Repeats of each length that has a code, and of those that need several matches.
TEST(Compression, RoundTripsEveryLength) {
    const Bytes block = RandomBytes(600, 7);
    for (size_t length = 2; length <= block.size(); ++length) {
        SCOPED_TRACE(length);
        ExpectRoundTrip(Join(block, {block[599]}, Prefix(block, length), RandomBytes(5, 8)));
        ExpectRoundTrip(Bytes(length, 'x'));
    }
}

// A repeat is used as far back as the dictionary reaches and not a byte further.
TEST(Compression, UsesTheWholeDictionary) {
    const Bytes block = RandomBytes(100, 9);
    for (const ImplodeOptions& options : kAllOptions) {
        const size_t reach = size_t{64} << options.dictionaryBits;
        for (const size_t distance : {reach - 1, reach, reach + 1}) {
            SCOPED_TRACE(distance);
            const Bytes in = Join(block, RandomBytes(distance - block.size(), 10), block);
            ExpectRoundTrip(in, options);
            const size_t without = PackedSize(Prefix(in, distance), options);
            const size_t cost = PackedSize(in, options) - without;
            if (distance <= reach) {
                EXPECT_LT(cost, 10U);
            } else {
                EXPECT_GT(cost, 90U);
            }
        }
    }
}

// Sizes that a match search changed for the worse would miss. The bounds lie a little
// above what an exhaustive choice of matches gives: 21.1 % for the lines, and 63, 62 and
// 93 bytes for the memos.
TEST(Compression, RatioHolds) {
    const Bytes lines = StatementText(1 << 20);
    EXPECT_LT(PackedSize(lines), lines.size() * 221 / 1000);
    EXPECT_LT(PackedSize(lines, {true, 6}), PackedSize(lines));
    EXPECT_GT(PackedSize(lines, {false, 4}), PackedSize(lines, {false, 5}));
    EXPECT_GT(PackedSize(lines, {false, 5}), PackedSize(lines, {false, 6}));
    // 22 or 24 bits for each 518 bytes.
    EXPECT_LT(PackedSize(Zeros(1 << 20)), size_t{(1 << 20) / 518 * 3 + 16});

    // Single memos are what the store mostly holds.
    const struct {
        std::string_view memo;
        size_t most;
    } rows[] = {
        {"Monthly transfer to savings account; monthly transfer from checking account.", 64},
        {"Dinner with Anna and Paul. Dinner was 84.50, tip was 12.50, taxi was 12.50.", 63},
        {"Insurance: car 312.40, house 512.40, travel 112.40. Insurance is paid yearly, in "
         "January; travel insurance is paid in June.",
         95},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.memo);
        EXPECT_LE(PackedSize(Text(row.memo)), row.most);
    }
}

}  // namespace
}  // namespace quillon
