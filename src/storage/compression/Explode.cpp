#include <algorithm>
#include <cstring>

#include "storage/compression/Compression.h"
#include "storage/compression/ImplodeFormat.h"

namespace quillon {
namespace {

using namespace implode;

// Decoding tables, indexed by the next bits of the stream.
struct LengthEntry {
    uint16_t baseLength;
    uint8_t codeBits;
    uint8_t extraBits;
};
struct SymbolEntry {
    uint8_t symbol;
    uint8_t codeBits;
};

constexpr auto MakeLengthTable() {
    std::array<LengthEntry, size_t{1} << kMaxLengthCode> table{};
    const auto codes = AssignCodes(kLengthCodeLengths);
    for (size_t symbol = 0; symbol < codes.size(); ++symbol) {
        const LengthSymbol& meaning = kLengthSymbols[symbol];
        const size_t step = size_t{1} << codes[symbol].length;
        for (size_t i = codes[symbol].bits; i < table.size(); i += step) {
            table[i] = {meaning.baseLength, codes[symbol].length, meaning.extraBits};
        }
    }
    return table;
}

template <unsigned kBits, size_t N>
constexpr auto MakeSymbolTable(const std::array<uint8_t, N>& lengths) {
    std::array<SymbolEntry, size_t{1} << kBits> table{};
    const auto codes = AssignCodes(lengths);
    for (size_t symbol = 0; symbol < N; ++symbol) {
        const size_t step = size_t{1} << codes[symbol].length;
        for (size_t i = codes[symbol].bits; i < table.size(); i += step) {
            table[i] = {static_cast<uint8_t>(symbol), codes[symbol].length};
        }
    }
    return table;
}

constexpr auto kLengthTable = MakeLengthTable();
constexpr auto kDistanceTable = MakeSymbolTable<kMaxDistanceCode>(kDistanceCodeLengths);
constexpr auto kLiteralTable = MakeSymbolTable<kMaxLiteralCode>(kLiteralCodeLengths);

// The longest token: flag, length code, extra bits, distance code, low distance bits.
constexpr int kMaxTokenBits = 1 + 7 + 8 + 8 + 6;
// The cheapest token per byte it yields: 518 bytes for flag, 7 + 8, 2 + 4 bits. No
// stream expands faster, whatever it holds.
constexpr size_t kBestMatchBits = 1 + 7 + 8 + 2 + 4;

// Hands out the bits of a stream. Behind its end come zeros, and Overrun() tells.
class CBitReader {
public:
    explicit CBitReader(std::span<const uint8_t> bytes)
        : m_next(bytes.data()), m_end(bytes.data() + bytes.size()) {}

    // After this a whole token can be taken, or as much of one as the stream still holds.
    void Refill() {
        if (m_count >= kMaxTokenBits) return;
        if (m_end - m_next >= 8) {
            // Whole bytes only; the bits of a byte cut off here come again next time.
            m_bits |= LoadWord(m_next) << m_count;
            m_next += (63 - m_count) / 8;
            m_count |= 56;
            return;
        }
        for (; m_count <= 48 && m_next != m_end; m_count += 8) {
            m_bits |= uint64_t{*m_next++} << m_count;
        }
    }

    // The next bits, first one lowest; the caller masks what it wants.
    size_t Peek() const { return static_cast<size_t>(m_bits); }
    void Drop(unsigned count) {
        m_bits >>= count;
        m_count -= static_cast<int>(count);
    }
    size_t Take(unsigned count) {
        const size_t value = Peek() & ((size_t{1} << count) - 1);
        Drop(count);
        return value;
    }
    // More was taken than there was.
    bool Overrun() const { return m_count < 0; }

private:
    const uint8_t* m_next;
    const uint8_t* m_end;
    uint64_t m_bits = 0;
    int m_count = 0;  // valid bits in m_bits; negative once overrun
};

// Copies a match that may overlap itself. May write up to 7 bytes past its end.
void CopyMatch(uint8_t* to, size_t distance, size_t length) {
    const uint8_t* from = to - distance;
    if (distance >= 8) {
        for (size_t i = 0; i < length; i += 8) std::memcpy(to + i, from + i, 8);
    } else if (distance == 1) {
        std::memset(to, *from, length);
    } else {
        for (size_t i = 0; i < length; ++i) to[i] = from[i];
    }
}

// Decodes one stream into a buffer that grows with what has been decoded.
class CExploder {
public:
    CExploder(CBitReader reader, unsigned dictionaryBits, size_t expectedSize,
              std::vector<uint8_t>& out)
        : m_reader(reader),
          m_dictionaryBits(dictionaryBits),
          m_expectedSize(expectedSize),
          m_out(out) {}

    template <bool kAscii>
    bool Run(size_t firstGuess) {
        Grow(firstGuess);
        for (;;) {
            m_reader.Refill();
            if (m_out.size() - m_written < kRoom) Grow(2 * m_written);
            if (m_reader.Take(1) == 0) {
                m_out[m_written++] = TakeLiteral<kAscii>();
            } else {
                const size_t length = TakeLength();
                if (length == kEndLength) break;
                const size_t distance = TakeDistance(length);
                if (distance > m_written) return false;
                CopyMatch(m_out.data() + m_written, distance, length);
                m_written += length;
            }
            if (m_reader.Overrun() || m_written > m_expectedSize) return false;
        }
        // No overrun here: an end code closes with a one, and missing bits read as zeros.
        if (m_written != m_expectedSize) return false;
        m_out.resize(m_written);
        return true;
    }

private:
    // Room for one token and what CopyMatch() writes past it.
    static constexpr size_t kRoom = kMaxMatch + 8;

    void Grow(size_t size) { m_out.resize(std::min(m_expectedSize, size) + kRoom); }

    template <bool kAscii>
    uint8_t TakeLiteral() {
        if constexpr (!kAscii) return static_cast<uint8_t>(m_reader.Take(8));
        const SymbolEntry entry = kLiteralTable[m_reader.Peek() & (kLiteralTable.size() - 1)];
        m_reader.Drop(entry.codeBits);
        return entry.symbol;
    }

    size_t TakeLength() {
        const LengthEntry entry = kLengthTable[m_reader.Peek() & (kLengthTable.size() - 1)];
        m_reader.Drop(entry.codeBits);
        return entry.baseLength + m_reader.Take(entry.extraBits);
    }

    size_t TakeDistance(size_t length) {
        const SymbolEntry entry = kDistanceTable[m_reader.Peek() & (kDistanceTable.size() - 1)];
        m_reader.Drop(entry.codeBits);
        const unsigned low = length == kMinMatch ? kShortMatchDistanceBits : m_dictionaryBits;
        return (size_t{entry.symbol} << low | m_reader.Take(low)) + 1;
    }

    CBitReader m_reader;
    const unsigned m_dictionaryBits;
    const size_t m_expectedSize;
    std::vector<uint8_t>& m_out;
    size_t m_written = 0;  // bytes of m_out that are decoded; the rest is room
};

bool ExplodeStream(std::span<const uint8_t> in, size_t expectedSize, std::vector<uint8_t>& out) {
    if (in.size() < kHeaderSize) return false;
    const uint8_t literals = in[0];
    const unsigned dictionaryBits = in[1];
    if (literals != kBinaryLiterals && literals != kAsciiLiterals) return false;
    if (dictionaryBits < kMinDictionaryBits || dictionaryBits > kMaxDictionaryBits) return false;

    const std::span<const uint8_t> tokens = in.subspan(kHeaderSize);
    if (expectedSize / kMaxMatch > tokens.size() / kBestMatchBits * 8 + 8) return false;
    CExploder exploder(CBitReader(tokens), dictionaryBits, expectedSize, out);
    const size_t firstGuess = 4 * in.size();
    return literals == kAsciiLiterals ? exploder.Run<true>(firstGuess)
                                      : exploder.Run<false>(firstGuess);
}

}  // namespace

bool Explode(std::span<const uint8_t> in, size_t expectedSize, std::vector<uint8_t>& out) {
    out.clear();
    if (ExplodeStream(in, expectedSize, out)) return true;
    out.clear();
    return false;
}

}  // namespace quillon
